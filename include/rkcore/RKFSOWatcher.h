// RKFSOWatcher: watches one file by polling its modification time (whole
// seconds) on a thread of its own, and tells its delegate, on the thread that
// created the watcher, when the time changes.
//
// Polling: one stat() a second while nothing changes, nothing else read. A
// file that disappears reads as time 0 and is reported once; while it stays
// away "Error Stating file" is logged about once a second; when it comes back
// it is reported again. Two saves within one second that leave the same time
// are one change.
//
// Ownership: made by newWatcher(), held in std::shared_ptr. monitorFileAtPath
// starts a detached polling thread that holds its own reference to the watcher
// until it ends, so the watcher stays alive while it polls; after
// stopWatching() the thread ends within about a second and lets go. Delegate
// and context are retained.
//
// Threads: use the watcher from its creating thread, which must run a Qt event
// loop; reports arrive there and never on the polling thread. stopWatching()
// and shouldWatch() may be called from any thread.
#pragma once

#include <QString>
#include <QVariant>

#include <ctime>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

// The delegate's informal protocol.
class RKCORE_EXPORT RKFSOWatcherDelegate {
public:
    virtual ~RKFSOWatcherDelegate();
    // The watched file changed; `context` is the watcher's context.
    virtual void userModifiedFileWithContext(const QVariant &context) = 0;
};

class RKCORE_EXPORT RKFSOWatcher final : public std::enable_shared_from_this<RKFSOWatcher> {
    struct Tag {};

public:
    // A new watcher reporting to the calling thread's event loop.
    static std::shared_ptr<RKFSOWatcher> newWatcher();

    explicit RKFSOWatcher(Tag);
    ~RKFSOWatcher();
    RKFSOWatcher(const RKFSOWatcher &) = delete;
    RKFSOWatcher &operator=(const RKFSOWatcher &) = delete;

    void setDelegate(std::shared_ptr<RKFSOWatcherDelegate> delegate);
    std::shared_ptr<RKFSOWatcherDelegate> delegate() const;
    void setContext(const QVariant &context);
    QVariant context() const;

    // Keeps `path`, sets shouldWatch and starts a new polling thread (one per
    // call). The thread compares against the time read when it starts.
    void monitorFileAtPath(const QString &path);
    // The path given last to monitorFileAtPath (null before).
    QString fileToWatch() const;

    // Asks every polling thread of this watcher to end; each notices within
    // about a second and then makes no further report. Any thread.
    void stopWatching();
    bool shouldWatch() const;

private:
    struct Private;
    void watcherThread(const QString &path);
    void informDelegateFileChanged();
    void handlePortMessage();

    std::unique_ptr<Private> d;
};

} // namespace rk

// The modification time of `path` (a file-system C string) in whole seconds,
// or 0 after logging "Error Stating file" when stat() fails (a null path
// included). Any thread.
extern "C" RKCORE_EXPORT time_t fw_get_file_mode_time(const char *path);
