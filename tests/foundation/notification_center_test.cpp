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
    const struct {
        const char *label;
        QString name;       // registered name (null: any)
        const void *sender; // registered sender (null: any)
        int expectedCalls;  // of the four posts below
    } rows[] = {{"any name, any sender", QString(), nullptr, 4},
                {"name only", "Changed", nullptr, 2},
                {"sender only", QString(), &senderA, 2},
                {"name and sender", "Changed", &senderA, 1},
                {"other name", "Nobody", nullptr, 0}};
    for (const auto &row : rows) {
        NotificationCenter center;
        int calls = 0;
        center.addObserver(&calls, row.name, row.sender, [&calls](const Notification &) { ++calls; });
        center.post("Changed", &senderA);
        center.post("Changed", &senderB);
        center.post("Other", &senderA);
        center.post("Other", nullptr);
        EXPECT_EQ(calls, row.expectedCalls) << row.label;
    }
}

TEST(NotificationCenter, PassesTheNotificationAndKeepsRegistrationOrder)
{
    NotificationCenter center;
    QStringList seen;
    for (const char *tag : {"first", "second", "third"}) {
        center.addObserver(tag, "N", nullptr, [&seen, tag](const Notification &note) {
            seen << QStringLiteral("%1:%2:%3").arg(tag, note.name, note.userInfo.value("k").toString());
            EXPECT_EQ(note.sender, &senderA);
        });
    }
    center.post("N", &senderA, {{"k", "v"}});
    EXPECT_EQ(seen, QStringList({"first:N:v", "second:N:v", "third:N:v"}));
}

// A removal during a post takes effect at once, even for the running callback; an addition waits for the next post.
TEST(NotificationCenter, ChangesDuringAPost)
{
    NotificationCenter center;
    int self = 0, killer = 0, victim = 0, adder = 0, added = 0;
    center.addObserver(&self, "N", nullptr, [&](const Notification &) {
        ++self;
        center.removeObserver(&self); // destroys the registration holding this very callback
    });
    center.addObserver(&killer, "N", nullptr, [&](const Notification &) { center.removeObserver(&victim); });
    center.addObserver(&victim, "N", nullptr, [&](const Notification &) { ++victim; });
    center.addObserver(&adder, "N", nullptr, [&](const Notification &) {
        center.addObserver(&added, "N", nullptr, [&](const Notification &) { ++added; });
        center.removeObserver(&adder);
    });
    center.post("N");
    EXPECT_EQ(added, 0);
    center.post("N");
    EXPECT_EQ(self, 1);
    EXPECT_EQ(victim, 0);
    EXPECT_EQ(added, 1);
    EXPECT_EQ(center.observerCount(), 2);
}

TEST(NotificationCenter, SelectiveRemoval)
{
    NotificationCenter center;
    int calls = 0;
    auto count = [&calls](const Notification &) { ++calls; };
    center.addObserver(&calls, "A", &senderA, count);
    center.addObserver(&calls, "A", &senderB, count);
    center.addObserver(&calls, "B", &senderA, count);
    center.removeObserver(&calls, "A", &senderB);
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
    center.addObserver(&permanent, "N", nullptr, [&](const Notification &) { ++permanentCalls; });
    constexpr int kThreads = 4, kRounds = 500;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&center, t] {
            int transient = 0;
            for (int round = 0; round < kRounds; ++round) {
                center.addObserver(&transient, "N", nullptr, [](const Notification &) {});
                center.post("N", nullptr, {{"thread", t}});
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
