#include <rkcore/NotificationCenter.h>

#include <gtest/gtest.h>

#include <QStringList>

#include <atomic>
#include <thread>
#include <vector>

using rk::Notification;
using rk::NotificationCenter;

namespace {

int senderA = 0;
int senderB = 0;

TEST(NotificationCenter, DeliversByNameAndSender)
{
    struct Row {
        const char *label;
        QString name;       // registered name (null: any)
        const void *sender; // registered sender (null: any)
        int expectedCalls;  // of the four posts below
    };
    const Row rows[] = {
        {"any name, any sender", QString(), nullptr, 4},
        {"name only", QStringLiteral("Changed"), nullptr, 2},
        {"sender only", QString(), &senderA, 2},
        {"name and sender", QStringLiteral("Changed"), &senderA, 1},
        {"other name", QStringLiteral("Nobody"), nullptr, 0},
    };
    for (const Row &row : rows) {
        NotificationCenter center;
        int calls = 0;
        center.addObserver(&calls, row.name, row.sender, [&calls](const Notification &) { ++calls; });
        center.post(QStringLiteral("Changed"), &senderA);
        center.post(QStringLiteral("Changed"), &senderB);
        center.post(QStringLiteral("Other"), &senderA);
        center.post(QStringLiteral("Other"), nullptr);
        EXPECT_EQ(calls, row.expectedCalls) << row.label;
    }
}

TEST(NotificationCenter, PassesTheNotificationAndKeepsRegistrationOrder)
{
    NotificationCenter center;
    QStringList seen;
    for (const char *tag : {"first", "second", "third"}) {
        center.addObserver(tag, QStringLiteral("N"), nullptr, [&seen, tag](const Notification &note) {
            seen << QStringLiteral("%1:%2:%3").arg(QLatin1String(tag), note.name, note.userInfo.value("k").toString());
            EXPECT_EQ(note.sender, &senderA);
        });
    }
    center.post(QStringLiteral("N"), &senderA, {{QStringLiteral("k"), QStringLiteral("v")}});
    EXPECT_EQ(seen, QStringList({"first:N:v", "second:N:v", "third:N:v"}));
}

TEST(NotificationCenter, ObserverRemovingItselfDuringPost)
{
    NotificationCenter center;
    int selfCalls = 0;
    int laterCalls = 0;
    int selfTag = 0;
    center.addObserver(&selfTag, QStringLiteral("N"), nullptr, [&](const Notification &) {
        ++selfCalls;
        center.removeObserver(&selfTag); // destroys the registration holding this very callback
    });
    center.addObserver(&laterCalls, QStringLiteral("N"), nullptr, [&](const Notification &) { ++laterCalls; });
    center.post(QStringLiteral("N"));
    center.post(QStringLiteral("N"));
    EXPECT_EQ(selfCalls, 1);
    EXPECT_EQ(laterCalls, 2);
    EXPECT_EQ(center.observerCount(), 1);
}

TEST(NotificationCenter, ObserverRemovedByAnEarlierOneIsSkippedInThatPost)
{
    NotificationCenter center;
    int victimCalls = 0;
    int killer = 0;
    center.addObserver(&killer, QStringLiteral("N"), nullptr,
                       [&](const Notification &) { center.removeObserver(&victimCalls); });
    center.addObserver(&victimCalls, QStringLiteral("N"), nullptr, [&](const Notification &) { ++victimCalls; });
    center.post(QStringLiteral("N"));
    EXPECT_EQ(victimCalls, 0);
}

TEST(NotificationCenter, ObserverAddedDuringPostWaitsForTheNextPost)
{
    NotificationCenter center;
    int addedCalls = 0;
    int adder = 0;
    center.addObserver(&adder, QStringLiteral("N"), nullptr, [&](const Notification &) {
        center.addObserver(&addedCalls, QStringLiteral("N"), nullptr, [&](const Notification &) { ++addedCalls; });
    });
    center.post(QStringLiteral("N"));
    EXPECT_EQ(addedCalls, 0);
    center.post(QStringLiteral("N"));
    EXPECT_EQ(addedCalls, 1);
}

TEST(NotificationCenter, SelectiveRemoval)
{
    NotificationCenter center;
    int calls = 0;
    auto count = [&calls](const Notification &) { ++calls; };
    center.addObserver(&calls, QStringLiteral("A"), &senderA, count);
    center.addObserver(&calls, QStringLiteral("A"), &senderB, count);
    center.addObserver(&calls, QStringLiteral("B"), &senderA, count);
    center.removeObserver(&calls, QStringLiteral("A"), &senderB);
    EXPECT_EQ(center.observerCount(), 2);
    center.removeObserver(&calls, QString(), &senderA);
    EXPECT_EQ(center.observerCount(), 0);
    center.addObserver(&calls, QString(), nullptr, NotificationCenter::Callback());
    EXPECT_EQ(center.observerCount(), 0) << "an empty callback is not registered";
}

// Posting, adding and removing from several threads at once: every post must
// reach the permanent observer, and nothing may race (run under TSan too).
TEST(NotificationCenter, ConcurrentPostsAndRegistrations)
{
    NotificationCenter center;
    std::atomic<int> permanentCalls{0};
    int permanent = 0;
    center.addObserver(&permanent, QStringLiteral("N"), nullptr, [&](const Notification &) { ++permanentCalls; });
    constexpr int kThreads = 4;
    constexpr int kRounds = 500;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&center, t] {
            int transient = 0;
            for (int round = 0; round < kRounds; ++round) {
                center.addObserver(&transient, QStringLiteral("N"), nullptr, [](const Notification &) {});
                center.post(QStringLiteral("N"), nullptr, {{QStringLiteral("thread"), t}});
                center.removeObserver(&transient);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(permanentCalls.load(), kThreads * kRounds);
    EXPECT_EQ(center.observerCount(), 1);
}

} // namespace
