// rk::NotificationCenter: named notifications delivered synchronously to the
// observers registered for them, like a desktop application's notification
// centre.
//
// Thread: every member may be called from any thread. post() calls the
// observers on the posting thread, in registration order, before it returns;
// no lock is held while an observer runs, so an observer may post, add or
// remove observers (itself included). An observer removed during a post is not
// called afterwards in that post; one added during a post is called from the
// next post on. removeObserver() does not wait for a call already running on
// another thread.
#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

// One posted notification. `sender` identifies the object that posted it
// (compared by address only, never dereferenced by the centre; may be null).
struct Notification {
    QString name;
    const void *sender = nullptr;
    QVariantMap userInfo;
};

class RKCORE_EXPORT NotificationCenter final {
public:
    using Callback = std::function<void(const Notification &)>;

    // The process's default centre, made on first use, alive until the process ends.
    static NotificationCenter &defaultCenter();

    // A separate centre (mostly for tests).
    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter &) = delete;
    NotificationCenter &operator=(const NotificationCenter &) = delete;

    // Registers `callback` for notifications named `name` (a null QString: any
    // name) posted by `sender` (nullptr: any sender). `observer` identifies the
    // registration for removeObserver (by address; may be shared by several
    // registrations). An empty callback is ignored.
    void addObserver(const void *observer, const QString &name, const void *sender, Callback callback);

    // Removes every registration of `observer`.
    void removeObserver(const void *observer);

    // Removes the registrations of `observer` for `name` (null: every name) and
    // `sender` (nullptr: every sender).
    void removeObserver(const void *observer, const QString &name, const void *sender);

    // Calls every observer registered for this name and sender.
    void post(const QString &name, const void *sender = nullptr, const QVariantMap &userInfo = {});

    // Number of registrations (for diagnostics and tests).
    int observerCount() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace rk
