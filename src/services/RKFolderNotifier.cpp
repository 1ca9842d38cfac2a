#include <rkcore/RKFolderNotifier.h>

#include <rkcore/Logging.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

#include <sys/stat.h>
#include <sys/vfs.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace rk {

namespace {

constexpr int kPollIntervalMs = 1000;

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
// identity and times, and the names in it.
struct FolderState {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    timespec modified{};
    timespec changed{};
    QStringList names;

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
        state.names =
            QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
        return state;
    }

    bool operator==(const FolderState &other) const
    {
        return exists == other.exists && device == other.device && inode == other.inode &&
               modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec &&
               changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec &&
               names == other.names;
    }
};

} // namespace

struct RKFolderNotifier::Private {
    std::weak_ptr<void> target;
    Action action;
    QUrl watchedURL;
    std::unique_ptr<QFileSystemWatcher> watcher; // inotify, when it serves the folder
    std::unique_ptr<QTimer> poller;              // otherwise
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
        d->watcher = std::make_unique<QFileSystemWatcher>();
        // The watcher is owned here, so no signal outlives the notifier.
        QObject::connect(d->watcher.get(), &QFileSystemWatcher::directoryChanged, d->watcher.get(),
                         [this](const QString &) { fire(); });
        if (!d->watcher->addPath(path)) {
            d->watcher.reset();
            pollReason = QStringLiteral("inotify refused the folder (its limits may be exhausted)");
        }
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

RKFolderNotifier::~RKFolderNotifier()
{
    // Disconnected first, so that nothing reaches this notifier again. An
    // action that drops the notifier runs inside the watcher's or the timer's
    // own signal: deleting that object then has to wait for the event loop.
    for (QObject *source : {static_cast<QObject *>(d->watcher.get()), static_cast<QObject *>(d->poller.get())}) {
        if (source != nullptr) QObject::disconnect(source, nullptr, nullptr, nullptr);
    }
    if (d->firing) {
        if (d->watcher) d->watcher.release()->deleteLater();
        if (d->poller) d->poller.release()->deleteLater();
    }
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
