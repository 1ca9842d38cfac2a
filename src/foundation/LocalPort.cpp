#include <rkcore/LocalPort.h>

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

#include <atomic>
#include <deque>
#include <mutex>
#include <utility>

// Messages travel in the channel's queue under a std::mutex; the Qt event
// posted for each one only wakes the receiver. Keeping the hand-over in our own
// lock (not inside the posted event) lets ThreadSanitizer see it.

namespace rk {

namespace {

const QEvent::Type kPortWakeEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

class PortReceiver;

} // namespace

struct LocalPort::Sender::Channel {
    std::mutex mutex;
    PortReceiver *receiver = nullptr; // null once the port is gone
    std::deque<QVariant> messages;    // one per wake event queued for the receiver
};

namespace {

// Lives in the creating thread; Qt queues one wake event per message for it
// and drops those still queued when it is deleted.
class PortReceiver final : public QObject {
public:
    PortReceiver(std::shared_ptr<LocalPort::Sender::Channel> channel, LocalPort::Handler handler)
        : m_channel(std::move(channel)), m_handler(std::move(handler))
    {
    }

    void close() { m_open.store(false); }
    bool delivering() const { return m_delivering; }

protected:
    // Only the wake events are custom events for this object.
    void customEvent(QEvent * /*event*/) override
    {
        QVariant message;
        {
            const std::lock_guard lock(m_channel->mutex);
            if (m_channel->messages.empty()) return;
            message = std::move(m_channel->messages.front());
            m_channel->messages.pop_front();
        }
        if (!m_open.load() || !m_handler) return;
        m_delivering = true;
        m_handler(message);
        m_delivering = false;
    }

private:
    std::shared_ptr<LocalPort::Sender::Channel> m_channel;
    LocalPort::Handler m_handler;
    std::atomic<bool> m_open{true};
    bool m_delivering = false; // only touched on the receiver's thread
};

} // namespace

LocalPort::Sender::Sender(std::shared_ptr<Channel> channel) : m_channel(std::move(channel)) {}

void LocalPort::Sender::send(const QVariant &message) const
{
    if (!m_channel) return;
    // Under the lock: the port cannot delete the receiver in between, and the
    // queue keeps the order of the wake events.
    const std::lock_guard lock(m_channel->mutex);
    if (m_channel->receiver == nullptr) return;
    m_channel->messages.push_back(message);
    QCoreApplication::postEvent(m_channel->receiver, new QEvent(kPortWakeEvent));
}

LocalPort::LocalPort(Handler handler) : m_channel(std::make_shared<Sender::Channel>())
{
    m_channel->receiver = new PortReceiver(m_channel, std::move(handler));
}

LocalPort::~LocalPort()
{
    PortReceiver *receiver = nullptr;
    std::deque<QVariant> dropped;
    {
        const std::lock_guard lock(m_channel->mutex);
        receiver = std::exchange(m_channel->receiver, nullptr);
        dropped.swap(m_channel->messages);
    }
    receiver->close();
    // Deleting the receiver drops its queued wake events. From inside its own
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
