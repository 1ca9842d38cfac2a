#include <rkcore/LocalPort.h>

#include <QCoreApplication>
#include <QEvent>
#include <QMutex>
#include <QMutexLocker>
#include <QObject>
#include <QThread>

#include <atomic>
#include <utility>

namespace rk {

namespace {

const QEvent::Type kPortMessageEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

class PortMessage final : public QEvent {
public:
    explicit PortMessage(QVariant message) : QEvent(kPortMessageEvent), m_message(std::move(message)) {}
    const QVariant &message() const { return m_message; }

private:
    QVariant m_message;
};

// Lives in the creating thread; Qt queues the posted messages for it and drops
// those still queued when it is deleted.
class PortReceiver final : public QObject {
public:
    explicit PortReceiver(LocalPort::Handler handler) : m_handler(std::move(handler)) {}

    void close() { m_open.store(false); }
    bool delivering() const { return m_delivering; }

protected:
    bool event(QEvent *event) override
    {
        if (event->type() != kPortMessageEvent) return QObject::event(event);
        if (m_open.load() && m_handler) {
            m_delivering = true;
            m_handler(static_cast<PortMessage *>(event)->message());
            m_delivering = false;
        }
        return true;
    }

private:
    LocalPort::Handler m_handler;
    std::atomic<bool> m_open{true};
    bool m_delivering = false; // only touched on the receiver's thread
};

} // namespace

struct LocalPort::Sender::Channel {
    QMutex mutex;
    PortReceiver *receiver = nullptr; // null once the port is gone
};

LocalPort::Sender::Sender(std::shared_ptr<Channel> channel) : m_channel(std::move(channel)) {}

void LocalPort::Sender::send(const QVariant &message) const
{
    if (!m_channel) return;
    // Posting under the lock: the port cannot delete the receiver in between.
    const QMutexLocker lock(&m_channel->mutex);
    if (m_channel->receiver != nullptr) QCoreApplication::postEvent(m_channel->receiver, new PortMessage(message));
}

LocalPort::LocalPort(Handler handler) : m_channel(std::make_shared<Sender::Channel>())
{
    m_channel->receiver = new PortReceiver(std::move(handler));
}

LocalPort::~LocalPort()
{
    PortReceiver *receiver = nullptr;
    {
        const QMutexLocker lock(&m_channel->mutex);
        receiver = std::exchange(m_channel->receiver, nullptr);
    }
    receiver->close();
    // Deleting the receiver drops its queued messages. From inside its own
    // handler, or from another thread, it has to wait for its event loop.
    if (receiver->thread() == QThread::currentThread() && !receiver->delivering()) {
        delete receiver;
    } else {
        receiver->deleteLater();
    }
}

void LocalPort::send(const QVariant &message) const
{
    sender().send(message);
}

LocalPort::Sender LocalPort::sender() const
{
    return Sender(m_channel);
}

} // namespace rk
