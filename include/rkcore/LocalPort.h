// rk::LocalPort: a mailbox in the creating thread's Qt event loop. Any thread
// may send; the handler runs later on the creating thread, one call per message,
// in the order the messages were sent (per sending thread). The creating thread
// must run a Qt event loop (QCoreApplication::exec, QEventLoop or
// QThread::exec) for messages to be handled.
//
// Lifetime: destroy the port on its creating thread. Messages still queued then
// are dropped, never handled. A Sender may outlive its port: sending through it
// afterwards does nothing, so a worker thread holding a Sender needs no
// coordination with the port's owner.
#pragma once

#include <QVariant>

#include <functional>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

class RKCORE_EXPORT LocalPort final {
public:
    using Handler = std::function<void(const QVariant &message)>;

    // A cheap, copyable handle for sending from other threads.
    class RKCORE_EXPORT Sender {
    public:
        Sender() = default;
        // Queues `message` (may be empty) for the port's handler; does nothing
        // when the port is gone or the handle is default-made. Any thread.
        void send(const QVariant &message = {}) const;

        struct Channel; // opaque: the queue shared by the port and its senders

    private:
        friend class LocalPort;
        explicit Sender(std::shared_ptr<Channel> channel);
        std::shared_ptr<Channel> m_channel;
    };

    // A port in the calling thread whose messages go to `handler`.
    explicit LocalPort(Handler handler);
    ~LocalPort();
    LocalPort(const LocalPort &) = delete;
    LocalPort &operator=(const LocalPort &) = delete;

    // Same as sender().send(message). Any thread.
    void send(const QVariant &message = {}) const;

    // A handle that can be given to another thread.
    Sender sender() const;

private:
    std::shared_ptr<Sender::Channel> m_channel;
};

} // namespace rk
