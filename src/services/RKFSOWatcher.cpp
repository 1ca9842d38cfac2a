#include <rkcore/RKFSOWatcher.h>

#include <rkcore/LocalPort.h>
#include <rkcore/Logging.h>

#include <QFile>

#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

extern "C" time_t fw_get_file_mode_time(const char *path)
{
    struct stat status {};
    if (path == nullptr || stat(path, &status) != 0) {
        qCWarning(rk::rkcoreLog).noquote() << QStringLiteral("Error Stating file");
        return 0;
    }
    return status.st_mtim.tv_sec;
}

namespace rk {

RKFSOWatcherDelegate::~RKFSOWatcherDelegate() = default;

struct RKFSOWatcher::Private {
    std::shared_ptr<RKFSOWatcherDelegate> ourDelegate;
    QVariant ourContext;
    QString fileToWatch;
    std::unique_ptr<LocalPort> completionNotificationPort;

    // The polling threads' one piece of shared state, and what lets a stop
    // cut their one-second sleep short.
    std::atomic<bool> shouldWatch{false};
    std::mutex sleepMutex;
    std::condition_variable sleeper;
};

std::shared_ptr<RKFSOWatcher> RKFSOWatcher::newWatcher()
{
    auto watcher = std::make_shared<RKFSOWatcher>(Tag{});
    // The handler reaches the watcher through a weak reference and holds it
    // while it runs: the last reference may go away on the polling thread at
    // any moment, and a watcher already gone is simply not told.
    watcher->d->completionNotificationPort =
        std::make_unique<LocalPort>([weak = std::weak_ptr<RKFSOWatcher>(watcher)](const QVariant &) {
            if (const std::shared_ptr<RKFSOWatcher> self = weak.lock()) self->handlePortMessage();
        });
    return watcher;
}

RKFSOWatcher::RKFSOWatcher(Tag) : d(std::make_unique<Private>()) {}

RKFSOWatcher::~RKFSOWatcher() = default;

void RKFSOWatcher::setDelegate(std::shared_ptr<RKFSOWatcherDelegate> delegate)
{
    d->ourDelegate = std::move(delegate);
}

std::shared_ptr<RKFSOWatcherDelegate> RKFSOWatcher::delegate() const
{
    return d->ourDelegate;
}

void RKFSOWatcher::setContext(const QVariant &context)
{
    d->ourContext = context;
}

QVariant RKFSOWatcher::context() const
{
    return d->ourContext;
}

void RKFSOWatcher::monitorFileAtPath(const QString &path)
{
    d->fileToWatch = path;
    d->shouldWatch.store(true);
    // The thread holds the watcher until it ends: the caller's reference
    // passes to it.
    std::thread([self = shared_from_this(), path] { self->watcherThread(path); }).detach();
}

QString RKFSOWatcher::fileToWatch() const
{
    return d->fileToWatch;
}

void RKFSOWatcher::stopWatching()
{
    {
        const std::lock_guard lock(d->sleepMutex);
        d->shouldWatch.store(false);
    }
    d->sleeper.notify_all();
}

bool RKFSOWatcher::shouldWatch() const
{
    return d->shouldWatch.load();
}

void RKFSOWatcher::watcherThread(const QString &path)
{
    const QByteArray encoded = QFile::encodeName(path);
    time_t last = fw_get_file_mode_time(encoded.constData());
    while (d->shouldWatch.load()) {
        const time_t now = fw_get_file_mode_time(encoded.constData());
        if (now != last) {
            informDelegateFileChanged();
            last = now;
            continue; // poll again at once
        }
        std::unique_lock lock(d->sleepMutex);
        d->sleeper.wait_for(lock, std::chrono::seconds(1), [this] { return !d->shouldWatch.load(); });
    }
}

void RKFSOWatcher::informDelegateFileChanged()
{
    d->completionNotificationPort->send();
}

void RKFSOWatcher::handlePortMessage()
{
    // A stop issued before this report reached the creating thread wins.
    if (!d->shouldWatch.load()) return;
    const std::shared_ptr<RKFSOWatcherDelegate> delegate = d->ourDelegate;
    if (delegate) delegate->userModifiedFileWithContext(d->ourContext);
}

} // namespace rk
