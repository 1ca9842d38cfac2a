#include <rkcore/LocalPort.h>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

using rk::LocalPort;

namespace {

// Runs the current thread's event loop until `done` holds or five seconds pass.
bool spinUntil(const std::function<bool()> &done)
{
    for (QDeadlineTimer deadline(5000); !done(); QCoreApplication::processEvents(QEventLoop::AllEvents, 10))
        if (deadline.hasExpired()) return false;
    return true;
}

void drainEvents()
{
    QCoreApplication::sendPostedEvents(nullptr, 0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

// Several threads send; the creating thread's event loop handles all, each sender's messages in its order.
TEST(LocalPort, DeliversOnTheCreatingThreadInEachSendersOrder)
{
    constexpr int kThreads = 3, kMessages = 400;
    std::vector<int> lastSeen(kThreads, -1);
    int total = 0;
    bool ordered = true, onCreatingThread = true;
    LocalPort port([&, creator = QThread::currentThread()](const QVariant &message) {
        const int thread = message.toList().at(0).toInt(), index = message.toList().at(1).toInt();
        onCreatingThread = onCreatingThread && QThread::currentThread() == creator;
        ordered = ordered && index == std::exchange(lastSeen[static_cast<size_t>(thread)], index) + 1;
        ++total;
    });
    std::vector<std::jthread> workers;
    for (int t = 0; t < kThreads; ++t)
        workers.emplace_back([sender = port.sender(), t] {
            for (int i = 0; i < kMessages; ++i)
                sender.send(QVariantList{t, i});
        });
    workers.front().join();
    EXPECT_EQ(total, 0) << "nothing is handled before the event loop runs";
    ASSERT_TRUE(spinUntil([&] { return total == kThreads * kMessages; }));
    workers.clear(); // joins the rest
    EXPECT_TRUE(ordered);
    EXPECT_TRUE(onCreatingThread);
}

// Queued messages are dropped when the port goes first, also from its own handler; an empty sender is harmless.
TEST(LocalPort, DestroyedWithMessagesInFlight)
{
    std::atomic<int> handled{0}, sentAfterDestruction{0};
    std::atomic<bool> stop{false}, portGone{false};
    auto port = std::make_unique<LocalPort>([&](const QVariant &) { ++handled; });
    std::thread worker([&, sender = port->sender()] {
        for (; !stop.load(); sender.send())
            if (portGone.load()) ++sentAfterDestruction;
    });
    ASSERT_TRUE(spinUntil([&] { return handled.load() > 10; }));
    for (int i = 0; i < 10; ++i)
        port->send(i);
    port.reset(); // the worker is still sending, and messages are queued
    portGone = true;
    const int handledAtDestruction = handled.load();
    LocalPort::Sender{}.send();
    ASSERT_TRUE(spinUntil([&] { return sentAfterDestruction.load() > 100; }));
    stop = true;
    worker.join();
    drainEvents();
    EXPECT_EQ(handled.load(), handledAtDestruction) << "no message is handled after the port is gone";

    int handledBySelfDestroyer = 0;
    port = std::make_unique<LocalPort>([&](const QVariant &) { ++handledBySelfDestroyer, port.reset(); });
    port->send();
    port->send();
    ASSERT_TRUE(spinUntil([&] { return handledBySelfDestroyer > 0; }));
    drainEvents();
    EXPECT_EQ(handledBySelfDestroyer, 1) << "the owner may destroy the port from its handler";
}

// The port is made, used and destroyed in a thread with its own event loop; its sender outlives it.
TEST(LocalPort, WorksInAThreadWithItsOwnEventLoop)
{
    std::atomic<int> handledThere{0};
    std::atomic<LocalPort *> port{nullptr};
    std::thread thread([&] {
        QEventLoop loop;
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        LocalPort own([&](const QVariant &) {
            if (QThread::currentThread() == loop.thread() && ++handledThere == 2) loop.quit();
        });
        port = &own;
        port.notify_all();
        loop.exec();
    });
    port.wait(nullptr);
    const LocalPort::Sender sender = port.load()->sender();
    sender.send();
    sender.send();
    thread.join();
    EXPECT_EQ(handledThere.load(), 2) << "both messages handled on the port's own thread";
}

} // namespace
