// RKLog: an in-memory, append-only list of typed messages. Any thread may add
// one; every addition is announced later, on the thread that created the log,
// by posting RB_LOG_UPDATED (with the log as sender, no user information) on
// NotificationCenter::defaultCenter(): one notification per message, in order.
//
// Ownership: made by create(), held in std::shared_ptr; entries live as long
// as the log. Thread: logMessage, messageCount, messageTextAtIndex and dump
// from any thread (one lock). The creating thread must run a Qt event loop for
// the notifications to be posted; destroy the log on that thread (wake-ups
// still queued then are dropped, never delivered).
#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <memory>
#include <mutex>

#include <rkcore/Conventions.h>
#include <rkcore/LocalPort.h>

namespace rk {

// Entry keys: the message text (QString) and its type (int32_t in a QVariant).
RKCORE_EXPORT extern const QString RK_LOG_MESSAGE_CONTENTS;
RKCORE_EXPORT extern const QString RK_LOG_MESSAGE_TYPE;
// The notification posted on the creating thread for every message.
RKCORE_EXPORT extern const QString RB_LOG_UPDATED;

class RKCORE_EXPORT RKLog final {
    struct Tag {};

public:
    // An empty log whose notifications go to the calling thread's event loop.
    static std::shared_ptr<RKLog> create();

    explicit RKLog(Tag);
    ~RKLog();
    RKLog(const RKLog &) = delete;
    RKLog &operator=(const RKLog &) = delete;

    // Appends {message, type}; the type is the caller's and is not
    // interpreted. A null QString is a programming error: throws
    // AssertionFailure (method "-[RKLog logMessage:ofType:]", file
    // "UFServices/RKLog", description "logMessage:ofType: called with NULL
    // message"); nothing is appended then. Any thread; never waits for the
    // creating thread.
    void logMessage(const QString &message, int32_t type);

    // The number of entries. Any thread.
    int messageCount() const;

    // The message at `index` and, when `type` is not null, its type stored
    // through it. A null QString for -1 and for any index that, read as
    // unsigned, is greater than the count (every negative index). The index
    // equal to the count passes that test and reaches the list's own bounds
    // check, which throws std::out_of_range. Any thread.
    QString messageTextAtIndex(int index, int32_t *type = nullptr) const;

    // Takes the lock and releases it; prints nothing.
    void dump() const;

private:
    void handlePortMessage();

    QList<QVariantMap> myLogEntries;
    mutable std::mutex accessLock;
    std::unique_ptr<LocalPort> logUpdateNotifPort;
};

} // namespace rk
