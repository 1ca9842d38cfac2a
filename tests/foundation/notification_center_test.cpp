#include <rkcore/NotificationCenter.h>

#include <gtest/gtest.h>

#include <QStringList>

#include <atomic>
#include <thread>
#include <vector>

using rk::Notification;
using rk::NotificationCenter;

namespace {

int senderA = 0, senderB = 0;

// Each observer sees the whole notification (name, sender, userInfo) of the posts it registered for.
TEST(NotificationCenter, DeliversByNameAndSender)
{
    const struct {
        const char *label;
        QString name;         // registered name (null: any)
        const void *sender;   // registered sender (null: any)
        const char *expected; // of the four posts below
    } rows[] = {{"any name, any sender", QString(), nullptr, "Changed A 1, Changed B 2, Other A 3, Other - 4"},
                {"name only", "Changed", nullptr, "Changed A 1, Changed B 2"},
                {"sender only", QString(), &senderA, "Changed A 1, Other A 3"},
                {"name and sender", "Changed", &senderA, "Changed A 1"}};
    for (const auto &row : rows) {
        NotificationCenter center;
        QStringList seen;
        center.addObserver(&seen, row.name, row.sender, [&seen](const Notification &note) {
            const char *sender = note.sender == &senderA ? " A " : note.sender == &senderB ? " B " : " - ";
            seen << note.name + sender + note.userInfo.value("n").toString();
        });
        center.post("Changed", &senderA, {{"n", 1}});
        center.post("Changed", &senderB, {{"n", 2}});
        center.post("Other", &senderA, {{"n", 3}});
        center.post("Other", nullptr, {{"n", 4}});
        EXPECT_EQ(seen.join(", "), row.expected) << row.label;
    }
}

// Observers run in registration order; a removal during a post acts at once (even on the running callback),
// an addition from the next post.
TEST(NotificationCenter, ChangesDuringAPost)
{
    NotificationCenter center;
    QStringList log;
    int self = 0, killer = 0, victim = 0, adder = 0, added = 0;
    center.addObserver(&self, "N", nullptr, [&](const Notification &) {
        log << "self";
        center.removeObserver(&self); // destroys the registration holding this very callback
    });
    center.addObserver(&killer, "N", nullptr,
                       [&](const Notification &) { log << "killer", center.removeObserver(&victim); });
    center.addObserver(&victim, "N", nullptr, [&](const Notification &) { log << "victim"; });
    center.addObserver(&adder, "N", nullptr, [&](const Notification &) {
        center.addObserver(&added, "N", nullptr, [&](const Notification &) { log << "added"; });
        log << "adder", center.removeObserver(&adder);
    });
    center.post("N");
    log << "|";
    center.post("N");
    EXPECT_EQ(log.join(' '), "self killer adder | killer added");
    EXPECT_EQ(center.observerCount(), 2);
    // Removal by name and sender takes only the matching registrations; an empty callback is not registered.
    const auto none = [](const Notification &) {};
    center.addObserver(&self, "A", &senderA, none);
    center.addObserver(&self, "A", &senderB, none);
    center.addObserver(&self, "B", &senderA, none);
    center.removeObserver(&self, "A", &senderB);
    EXPECT_EQ(center.observerCount(), 4);
    center.removeObserver(&self, QString(), &senderA);
    center.addObserver(&self, QString(), nullptr, NotificationCenter::Callback());
    EXPECT_EQ(center.observerCount(), 2) << "killer and added are left";
}

// Posting, adding and removing from several threads: every post reaches the permanent observer (TSan too).
TEST(NotificationCenter, ConcurrentPostsAndRegistrations)
{
    NotificationCenter center;
    std::atomic<int> permanentCalls{0};
    center.addObserver(&permanentCalls, "N", nullptr, [&](const Notification &) { ++permanentCalls; });
    constexpr int kThreads = 4, kRounds = 500;
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&center, t] {
            for (int round = 0, transient = 0; round < kRounds; ++round) {
                center.addObserver(&transient, "N", nullptr, [](const Notification &) {});
                center.post("N", nullptr, {{"thread", t}});
                center.removeObserver(&transient);
            }
        });
    threads.clear(); // joins
    EXPECT_EQ(permanentCalls.load(), kThreads * kRounds);
    EXPECT_EQ(center.observerCount(), 1);
}

} // namespace
