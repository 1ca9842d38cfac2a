// RKFolderNotifier: tells a target when the contents of one folder change
// (an item added, removed, renamed, its attributes changed, a file in it
// written and closed, the folder itself removed), through the kernel's inotify
// service; a burst of changes read at once is one notification. Each change logs "Path Changed : <path>" to the
// rkcore category and then runs the action with the notifier as argument.
//
// Where inotify cannot serve the folder the notifier polls it instead, once a
// second (its items' names, sizes and dates, and the folder's own times),
// rather than missing changes:
// when the kernel's inotify limits are exhausted (instances or watches), when the folder lies on a
// file system whose remote changes inotify does not see (NFS, SMB/CIFS, FUSE,
// 9p and similar network mounts), or when the environment variable
// RKCORE_FOLDER_NOTIFIER_POLL is set to 1. isPolling() says so, and one line
// "Folder notifications for <path> by polling: <reason>" is logged.
//
// Ownership: made by initForFolderPath, held in std::shared_ptr. The target is
// not retained: the action runs only while the target is alive. No action runs
// once the notifier is gone.
//
// Thread: make, use and destroy the notifier on one thread, which must run a
// Qt event loop; actions run there.
#pragma once

#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

class RKCORE_EXPORT RKFolderNotifier final {
    struct Tag {};

public:
    // The action: called with the notifier that fired.
    using Action = std::function<void(RKFolderNotifier &notifier)>;

    // Subscribes to changes of the folder at `path` (symbolic links followed).
    // A path that is not an existing folder (a file, a missing path, "")
    // throws std::invalid_argument with the reason "Filesystem notification
    // requested for non-directory file".
    static std::shared_ptr<RKFolderNotifier> initForFolderPath(const QString &path, std::weak_ptr<void> target,
                                                               Action action);

    RKFolderNotifier(Tag, const QString &path);
    ~RKFolderNotifier();
    RKFolderNotifier(const RKFolderNotifier &) = delete;
    RKFolderNotifier &operator=(const RKFolderNotifier &) = delete;

    void setTarget(std::weak_ptr<void> target);
    std::weak_ptr<void> target() const;
    void setAction(Action action);
    Action action() const;

    // The watched folder as a file URL, and its path.
    QUrl watchedURL() const;
    QString watchedPath() const;

    // True when the folder is polled rather than watched by inotify.
    bool isPolling() const;

    // Logs "Path Changed : <watchedPath>" and runs the action when the
    // target is alive. Called for every change; callable by hand.
    void fire();

private:
    QString startInotify(const QString &path);
    void readEvents();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace rk
