#include <rkcore/LocalPort.h>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

using rk::LocalPort;

namespace {

// Runs the current thread's event loop until `done` holds or five seconds pass.
bool spinUntil(const std::function<bool()> &done)
{
    QDeadlineTimer deadline(5000);
    while (!done()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

void drainEvents()
{
    QCoreApplication::sendPostedEvents(nullptr, 0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

TEST(LocalPort, DeliversOnTheCreatingThreadInSendOrder)
{
    std::vector<int> received;
    bool allOnCreatingThread = true;
    QThread *const creator = QThread::currentThread();
    LocalPort port([&](const QVariant &message) {
        allOnCreatingThread = allOnCreatingThread && QThread::currentThread() == creator;
        received.push_back(message.toInt());
    });
    constexpr int kMessages = 1000;
    std::thread worker([sender = port.sender()] {
        for (int i = 0; i < kMessages; ++i)
            sender.send(i);
    });
    worker.join();
    EXPECT_TRUE(received.empty()) << "nothing is handled before the event loop runs";
    ASSERT_TRUE(spinUntil([&] { return received.size() == kMessages; }));
    EXPECT_TRUE(allOnCreatingThread);
    for (int i = 0; i < kMessages; ++i)
        ASSERT_EQ(received[static_cast<size_t>(i)], i) << "position " << i;
}

TEST(LocalPort, KeepsEachSendersOrderAcrossSeveralThreads)
{
    constexpr int kThreads = 3;
    constexpr int kMessages = 300;
    std::vector<int> lastSeen(kThreads, -1);
    int total = 0;
    bool ordered = true;
    LocalPort port([&](const QVariant &message) {
        const QList<QVariant> pair = message.toList();
        const auto thread = static_cast<size_t>(pair.at(0).toInt());
        ordered = ordered && pair.at(1).toInt() == lastSeen[thread] + 1;
        lastSeen[thread] = pair.at(1).toInt();
        ++total;
    });
    std::vector<std::thread> workers;
    workers.reserve(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        workers.emplace_back([sender = port.sender(), t] {
            for (int i = 0; i < kMessages; ++i)
                sender.send(QVariantList{t, i});
        });
    }
    ASSERT_TRUE(spinUntil([&] { return total == kThreads * kMessages; }));
    for (std::thread &worker : workers)
        worker.join();
    EXPECT_TRUE(ordered);
}

TEST(LocalPort, DestroyedWithMessagesInFlight)
{
    std::atomic<int> handled{0};
    std::atomic<bool> stop{false};
    std::atomic<int> sentAfterDestruction{0};
    auto port = std::make_unique<LocalPort>([&](const QVariant &) { ++handled; });
    std::atomic<bool> portGone{false};
    std::thread worker([&, sender = port->sender()] {
        while (!stop.load()) {
            sender.send();
            if (portGone.load()) ++sentAfterDestruction;
        }
    });
    ASSERT_TRUE(spinUntil([&] { return handled.load() > 10; }));
    port.reset(); // the worker is still sending, and messages are queued
    portGone = true;
    const int handledAtDestruction = handled.load();
    ASSERT_TRUE(spinUntil([&] { return sentAfterDestruction.load() > 100; }));
    stop = true;
    worker.join();
    drainEvents();
    EXPECT_EQ(handled.load(), handledAtDestruction) << "no message is handled after the port is gone";
}

TEST(LocalPort, QueuedMessagesAreDroppedWhenThePortGoesFirst)
{
    int handled = 0;
    auto port = std::make_unique<LocalPort>([&](const QVariant &) { ++handled; });
    for (int i = 0; i < 10; ++i)
        port->send(i);
    LocalPort::Sender sender = port->sender();
    port.reset();
    sender.send(); // the handle outlives the port
    LocalPort::Sender{}.send();
    drainEvents();
    EXPECT_EQ(handled, 0);
}

TEST(LocalPort, OwnerMayDestroyThePortFromItsHandler)
{
    int handled = 0;
    std::unique_ptr<LocalPort> port;
    port = std::make_unique<LocalPort>([&](const QVariant &) {
        ++handled;
        port.reset();
    });
    port->send();
    port->send();
    ASSERT_TRUE(spinUntil([&] { return handled > 0; }));
    drainEvents();
    EXPECT_EQ(handled, 1);
}

TEST(LocalPort, WorksInAThreadWithItsOwnEventLoop)
{
    QThread thread;
    std::atomic<QThread *> handledOn{nullptr};
    std::atomic<int> handled{0};
    std::atomic<LocalPort *> port{nullptr};
    // The port is made and destroyed in the thread itself; the promise is a
    // synchronisation ThreadSanitizer sees.
    std::promise<void> started;
    QObject::connect(
        &thread, &QThread::started, &thread,
        [&] {
            port = new LocalPort([&](const QVariant &) {
                handledOn = QThread::currentThread();
                ++handled;
            });
            started.set_value();
        },
        Qt::DirectConnection);
    QObject::connect(
        &thread, &QThread::finished, &thread, [&] { delete port.exchange(nullptr); }, Qt::DirectConnection);
    thread.start();
    started.get_future().wait();
    port.load()->send();
    port.load()->send();
    QDeadlineTimer deadline(5000);
    while (handled.load() < 2 && !deadline.hasExpired())
        QThread::msleep(1);
    EXPECT_EQ(handled.load(), 2);
    EXPECT_EQ(handledOn.load(), &thread);
    thread.quit();
    thread.wait();
    EXPECT_EQ(port.load(), nullptr);
}

} // namespace
