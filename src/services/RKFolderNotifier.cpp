#include <rkcore/RKFolderNotifier.h>

#include <rkcore/Logging.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTimer>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace rk {

namespace {

constexpr int kPollIntervalMs = 1000;

// Changes of the folder's contents: items added, removed, renamed, their
// attributes changed or a file written and closed (its size and date in a
// listing change), and the folder's own removal or move. Each write while a
// file is open is not a change of its own: the close reports it once.
constexpr uint32_t kWatchMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB | IN_CLOSE_WRITE |
                                IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// File systems whose changes made by other machines (or by a FUSE server)
// never reach inotify: a watch there would stay silent.
struct RemoteFileSystem {
    unsigned long magic;
    const char *name;
};
constexpr std::array kRemoteFileSystems{
    RemoteFileSystem{0x6969UL, "NFS"},      RemoteFileSystem{0x517BUL, "SMB"},
    RemoteFileSystem{0xFF534D42UL, "CIFS"}, RemoteFileSystem{0xFE534D42UL, "SMB2"},
    RemoteFileSystem{0x65735546UL, "FUSE"}, RemoteFileSystem{0x01021997UL, "9p"},
    RemoteFileSystem{0x5346414FUL, "AFS"},  RemoteFileSystem{0x73757245UL, "Coda"},
    RemoteFileSystem{0x564CUL, "NCP"},      RemoteFileSystem{0x00C36400UL, "Ceph"},
    RemoteFileSystem{0x47504653UL, "GPFS"}, RemoteFileSystem{0x0BD00BD0UL, "Lustre"},
};

// The name of the remote file system holding `path`, or null when it is local.
QString remoteFileSystemName(const QString &path)
{
    struct statfs info {};
    if (statfs(QFile::encodeName(path).constData(), &info) != 0) return {};
    const auto magic = static_cast<unsigned long>(info.f_type) & 0xFFFFFFFFUL;
    for (const RemoteFileSystem &remote : kRemoteFileSystems) {
        if (remote.magic == magic) return QString::fromLatin1(remote.name);
    }
    return {};
}

// What the poller compares from one second to the next: the folder's own
// identity and times, and each item's name, size and modification time.
struct FolderState {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    timespec modified{};
    timespec changed{};
    QStringList entries;

    static FolderState read(const QString &path)
    {
        FolderState state;
        struct stat status {};
        if (stat(QFile::encodeName(path).constData(), &status) != 0 || !S_ISDIR(status.st_mode)) return state;
        state.exists = true;
        state.device = status.st_dev;
        state.inode = status.st_ino;
        state.modified = status.st_mtim;
        state.changed = status.st_ctim;
        const QFileInfoList items =
            QDir(path).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
        for (const QFileInfo &item : items) {
            state.entries << QStringLiteral("%1/%2/%3")
                                 .arg(item.fileName())
                                 .arg(item.size())
                                 .arg(item.lastModified().toMSecsSinceEpoch());
        }
        return state;
    }

    bool operator==(const FolderState &other) const
    {
        return exists == other.exists && device == other.device && inode == other.inode &&
               modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec &&
               changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec &&
               entries == other.entries;
    }
};

} // namespace

struct RKFolderNotifier::Private {
    std::weak_ptr<void> target;
    Action action;
    QUrl watchedURL;
    int inotifyFd = -1;                       // an inotify instance with one watch, when it serves the folder
    std::unique_ptr<QSocketNotifier> watcher; // its readiness in the event loop
    std::unique_ptr<QTimer> poller;           // otherwise
    FolderState lastState;
    bool firing = false;                                        // inside fire(): the action may drop the notifier
    std::shared_ptr<bool> alive = std::make_shared<bool>(true); // expires with the notifier
};

std::shared_ptr<RKFolderNotifier> RKFolderNotifier::initForFolderPath(const QString &path, std::weak_ptr<void> target,
                                                                      Action action)
{
    if (path.isEmpty() || !QFileInfo(path).isDir()) {
        throw std::invalid_argument("Filesystem notification requested for non-directory file");
    }
    auto notifier = std::make_shared<RKFolderNotifier>(Tag{}, path);
    notifier->d->target = std::move(target);
    notifier->d->action = std::move(action);
    return notifier;
}

RKFolderNotifier::RKFolderNotifier(Tag, const QString &path) : d(std::make_unique<Private>())
{
    d->watchedURL = QUrl::fromLocalFile(path);
    QString pollReason;
    const QString remote = remoteFileSystemName(path);
    if (qEnvironmentVariable("RKCORE_FOLDER_NOTIFIER_POLL") == QLatin1String("1")) {
        pollReason = QStringLiteral("asked for by RKCORE_FOLDER_NOTIFIER_POLL");
    } else if (!remote.isNull()) {
        pollReason = QStringLiteral("inotify does not see remote changes on %1").arg(remote);
    } else {
        pollReason = startInotify(path);
    }
    if (d->watcher) return;
    qCWarning(rkcoreLog).noquote()
        << QStringLiteral("Folder notifications for %1 by polling: %2").arg(path, pollReason);
    d->lastState = FolderState::read(path);
    d->poller = std::make_unique<QTimer>();
    d->poller->setInterval(kPollIntervalMs);
    QObject::connect(d->poller.get(), &QTimer::timeout, d->poller.get(), [this] {
        FolderState now = FolderState::read(watchedPath());
        if (now == d->lastState) return;
        d->lastState = std::move(now);
        fire();
    });
    d->poller->start();
}

QString RKFolderNotifier::startInotify(const QString &path)
{
    const int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd < 0) {
        return QStringLiteral("no inotify instance (%1)").arg(QString::fromLocal8Bit(std::strerror(errno)));
    }
    if (inotify_add_watch(fd, QFile::encodeName(path).constData(), kWatchMask) < 0) {
        const int error = errno;
        (void)close(fd);
        return QStringLiteral("inotify cannot watch it (%1)").arg(QString::fromLocal8Bit(std::strerror(error)));
    }
    d->inotifyFd = fd;
    d->watcher = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    // The socket notifier is owned here, so no signal outlives the notifier.
    QObject::connect(d->watcher.get(), &QSocketNotifier::activated, d->watcher.get(), [this] { readEvents(); });
    return {};
}

// Reads every queued event and fires once for the lot: a burst of changes
// (a file written and closed, a folder emptied) is one notification.
void RKFolderNotifier::readEvents()
{
    alignas(inotify_event) std::array<char, 4096> buffer{};
    bool any = false;
    bool watchGone = false;
    for (;;) {
        const ssize_t length = read(d->inotifyFd, buffer.data(), buffer.size());
        if (length <= 0) break;
        for (ssize_t offset = 0; offset + static_cast<ssize_t>(sizeof(inotify_event)) <= length;) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + offset, sizeof event);
            watchGone = watchGone || (event.mask & IN_IGNORED) != 0;
            any = any || (event.mask & ~static_cast<uint32_t>(IN_IGNORED)) != 0;
            offset += static_cast<ssize_t>(sizeof(inotify_event) + event.len);
        }
    }
    // The folder is gone: its watch too, and nothing more will come.
    if (watchGone) d->watcher->setEnabled(false);
    if (any) fire();
}

RKFolderNotifier::~RKFolderNotifier()
{
    // Disconnected first, so that nothing reaches this notifier again. An
    // action that drops the notifier runs inside the watcher's or the timer's
    // own signal: deleting that object then has to wait for the event loop.
    for (QObject *source : {static_cast<QObject *>(d->watcher.get()), static_cast<QObject *>(d->poller.get())}) {
        if (source != nullptr) QObject::disconnect(source, nullptr, nullptr, nullptr);
    }
    if (d->watcher) d->watcher->setEnabled(false);
    if (d->firing) {
        if (d->watcher) d->watcher.release()->deleteLater();
        if (d->poller) d->poller.release()->deleteLater();
    }
    if (d->inotifyFd >= 0) (void)close(d->inotifyFd);
}

void RKFolderNotifier::setTarget(std::weak_ptr<void> target)
{
    d->target = std::move(target);
}

std::weak_ptr<void> RKFolderNotifier::target() const
{
    return d->target;
}

void RKFolderNotifier::setAction(Action action)
{
    d->action = std::move(action);
}

RKFolderNotifier::Action RKFolderNotifier::action() const
{
    return d->action;
}

QUrl RKFolderNotifier::watchedURL() const
{
    return d->watchedURL;
}

QString RKFolderNotifier::watchedPath() const
{
    return d->watchedURL.toLocalFile();
}

bool RKFolderNotifier::isPolling() const
{
    return d->poller != nullptr;
}

void RKFolderNotifier::fire()
{
    qCInfo(rkcoreLog).noquote() << QStringLiteral("Path Changed : %1").arg(watchedPath());
    const std::shared_ptr<void> target = d->target.lock();
    // A copy: the action may replace the action or drop the notifier's target.
    const Action action = d->action;
    if (!target || !action) return;
    d->firing = true;
    // The notifier may be gone when the action returns: only the copies above
    // and locals are touched afterwards.
    std::weak_ptr<bool> alive = d->alive;
    action(*this);
    if (!alive.expired()) d->firing = false;
}

} // namespace rk
