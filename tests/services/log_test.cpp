#include <rkcore/AssertionFailure.h>
#include <rkcore/NotificationCenter.h>
#include <rkcore/RKLog.h>

#include <gtest/gtest.h>

#include <QThread>

#include <climits>
#include <stdexcept>
#include <thread>
#include <vector>

#include "service_test_support.h"

using rk::RKLog;

namespace {

// Counts RB_LOG_UPDATED for one log, noting the thread and what the log held then.
struct UpdateCounter {
    explicit UpdateCounter(const RKLog *log) : m_log(log)
    {
        rk::NotificationCenter::defaultCenter().addObserver(
            this, rk::RB_LOG_UPDATED, log, [this](const rk::Notification &note) {
                ++count;
                onCreator = onCreator && QThread::currentThread() == creator;
                fromLog = fromLog && note.sender == m_log && note.userInfo.isEmpty();
            });
    }
    ~UpdateCounter() { rk::NotificationCenter::defaultCenter().removeObserver(this); }
    UpdateCounter(const UpdateCounter &) = delete;
    UpdateCounter &operator=(const UpdateCounter &) = delete;

    int count = 0;
    bool onCreator = true;
    bool fromLog = true;
    QThread *creator = QThread::currentThread();

private:
    const RKLog *m_log;
};

} // namespace

// Eight writers at once: every entry kept, each writer's in its order; one
// notification per message, all later and on the creating thread.
TEST(RKLog, EightWritersGetOneNotificationEachOnTheCreatingThread)
{
    constexpr int kWriters = 8, kEach = 250;
    auto log = RKLog::create();
    UpdateCounter updates(log.get());
    {
        std::vector<std::jthread> writers;
        writers.reserve(kWriters);
        for (int w = 0; w < kWriters; ++w) {
            writers.emplace_back([&log, w] {
                for (int i = 0; i < kEach; ++i)
                    log->logMessage(QStringLiteral("%1:%2").arg(w).arg(i), w);
            });
        }
    }
    EXPECT_EQ(updates.count, 0) << "nothing is posted on the writers' threads or before the event loop runs";
    ASSERT_EQ(log->messageCount(), kWriters * kEach);
    ASSERT_TRUE(rktest::spinUntil([&] { return updates.count >= kWriters * kEach; }));
    rktest::spinFor(50);
    EXPECT_EQ(updates.count, kWriters * kEach);
    EXPECT_TRUE(updates.onCreator);
    EXPECT_TRUE(updates.fromLog);

    std::vector<int> next(kWriters, 0);
    for (int index = 0; index < log->messageCount(); ++index) {
        int32_t type = -1;
        const QStringList parts = log->messageTextAtIndex(index, &type).split(QLatin1Char(':'));
        ASSERT_EQ(parts.size(), 2);
        EXPECT_EQ(parts.at(0).toInt(), type);
        EXPECT_EQ(parts.at(1).toInt(), next.at(static_cast<size_t>(type))++) << "writer " << type;
    }
}

// Writing on the creating thread still notifies later, from the event loop.
TEST(RKLog, NotifiesLaterEvenForTheCreatingThread)
{
    auto log = RKLog::create();
    UpdateCounter updates(log.get());
    log->logMessage(QStringLiteral("first"), 1);
    log->logMessage(QString(""), 2); // empty is a message, null is not
    EXPECT_EQ(updates.count, 0);
    ASSERT_TRUE(rktest::spinUntil([&] { return updates.count == 2; }));
    // The observer reads what is new from inside the notification.
    int seen = 0;
    rk::NotificationCenter::defaultCenter().addObserver(&seen, rk::RB_LOG_UPDATED, log.get(),
                                                        [&](const rk::Notification &) { seen = log->messageCount(); });
    log->logMessage(QStringLiteral("third"), 3);
    ASSERT_TRUE(rktest::spinUntil([&] { return seen == 3; }));
    rk::NotificationCenter::defaultCenter().removeObserver(&seen);
}

TEST(RKLog, ReadsByIndexWithTheStatedBound)
{
    auto log = RKLog::create();
    log->logMessage(QStringLiteral("connect"), 7);
    log->logMessage(QStringLiteral("reply"), -3);
    struct Row {
        const char *name;
        QString expected;
        int index;
        int32_t expectedType;
    };
    const Row rows[] = {
        {"first, with type", QStringLiteral("connect"), 0, 7},
        {"last, negative type", QStringLiteral("reply"), 1, -3},
        {"minus one", QString(), -1, 99},
        {"other negative", QString(), -2, 99},
        {"most negative", QString(), INT_MIN, 99},
        {"count plus one", QString(), 3, 99},
        {"far past the end", QString(), INT_MAX, 99},
    };
    for (const Row &row : rows) {
        int32_t type = 99;
        const QString text = log->messageTextAtIndex(row.index, &type);
        EXPECT_EQ(text, row.expected) << row.name;
        EXPECT_EQ(text.isNull(), row.expected.isNull()) << row.name;
        EXPECT_EQ(type, row.expectedType) << row.name;
    }
    EXPECT_EQ(log->messageTextAtIndex(0), QStringLiteral("connect")) << "a null type pointer";
    // The count itself passes the "greater than" test and meets the list's own check.
    EXPECT_THROW((void)log->messageTextAtIndex(2), std::out_of_range);
    EXPECT_THROW((void)RKLog::create()->messageTextAtIndex(0), std::out_of_range);
}

TEST(RKLog, NullMessageIsAnAssertionAndLeavesTheLogUsable)
{
    auto log = RKLog::create();
    try {
        log->logMessage(QString(), 0);
        FAIL() << "no assertion";
    } catch (const rk::AssertionFailure &failure) {
        EXPECT_EQ(failure.description(), QStringLiteral("logMessage:ofType: called with NULL message"));
        EXPECT_EQ(failure.file(), QStringLiteral("UFServices/RKLog"));
        EXPECT_EQ(failure.method(), QStringLiteral("-[RKLog logMessage:ofType:]"));
        EXPECT_EQ(failure.object(), log.get());
    }
    EXPECT_EQ(log->messageCount(), 0);
    log->logMessage(QStringLiteral("after"), 0); // the lock was let go
    EXPECT_EQ(log->messageCount(), 1);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    log->dump();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// A log destroyed while wake-ups are queued (and while a writer still holds
// it) posts nothing afterwards; ASan and LSan watch for the rest.
TEST(RKLog, DestroyedWithWakeUpsQueued)
{
    int posted = 0;
    rk::NotificationCenter::defaultCenter().addObserver(&posted, rk::RB_LOG_UPDATED, nullptr,
                                                        [&](const rk::Notification &) { ++posted; });
    {
        auto log = RKLog::create();
        std::thread writer([log] {
            for (int i = 0; i < 500; ++i)
                log->logMessage(QStringLiteral("x"), i);
        });
        writer.join();
    }
    rktest::spinFor(100);
    EXPECT_EQ(posted, 0);
    rk::NotificationCenter::defaultCenter().removeObserver(&posted);
}
