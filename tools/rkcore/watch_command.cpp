// rkcore watch: prints one line per change the framework's watchers report,
// until interrupted (Ctrl-C) or terminated.
//
//   rkcore watch FILE            the file watcher: one line per modification-time change
//   rkcore watch --folder DIR    the folder notifier: one line per notification
//
// Lines: "<time> changed <path>" for the file watcher, "<time> folder changed
// <path>" for the folder notifier. Where the folder is polled instead of
// watched through inotify, a line on standard error says so.

#include <rkcore/RKFSOWatcher.h>
#include <rkcore/RKFolderNotifier.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTime>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <stdexcept>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

int signalPipe[2] = {-1, -1};

extern "C" void onStopSignal(int /*signal*/)
{
    const char byte = 1;
    (void)!write(signalPipe[1], &byte, 1);
}

// Quits the event loop on SIGINT or SIGTERM, through a pipe (the only safe
// way out of a signal handler). False when the pipe cannot be made.
bool quitOnSignals()
{
    if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return false;
    auto *notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, QCoreApplication::instance(), &QCoreApplication::quit);
    struct sigaction action {};
    action.sa_handler = onStopSignal;
    (void)sigemptyset(&action.sa_mask);
    (void)sigaction(SIGINT, &action, nullptr);
    (void)sigaction(SIGTERM, &action, nullptr);
    return true;
}

void printChange(const QString &what, const QString &path)
{
    printLine(
        QStringLiteral("%1 %2 %3").arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")), what, path));
    (void)std::fflush(stdout);
}

class PrintingDelegate final : public rk::RKFSOWatcherDelegate {
public:
    void userModifiedFileWithContext(const QVariant &context) override
    {
        printChange(QStringLiteral("changed"), context.toString());
    }
};

int watchFile(const QString &path)
{
    if (!QFileInfo::exists(path)) return failure(QStringLiteral("cannot watch %1: nothing is there").arg(path));
    auto watcher = rk::RKFSOWatcher::newWatcher();
    watcher->setDelegate(std::make_shared<PrintingDelegate>());
    watcher->setContext(path);
    watcher->monitorFileAtPath(path);
    (void)std::fprintf(stderr, "rkcore watch: watching %s (Ctrl-C to stop)\n", qPrintable(path));
    const int status = QCoreApplication::exec();
    watcher->stopWatching();
    return status;
}

int watchFolder(const QString &path)
{
    auto target = std::make_shared<int>(0);
    std::shared_ptr<rk::RKFolderNotifier> notifier;
    try {
        notifier = rk::RKFolderNotifier::initForFolderPath(path, target, [](rk::RKFolderNotifier &fired) {
            printChange(QStringLiteral("folder changed"), fired.watchedPath());
        });
    } catch (const std::invalid_argument &error) {
        return failure(QStringLiteral("cannot watch %1: %2").arg(path, QString::fromUtf8(error.what())));
    }
    (void)std::fprintf(stderr, "rkcore watch: watching the folder %s %s(Ctrl-C to stop)\n", qPrintable(path),
                       notifier->isPolling() ? "by polling it every second " : "");
    return QCoreApplication::exec();
}

} // namespace

int watchCommand(const Arguments &arguments)
{
    const bool folder = arguments.has("--folder");
    const QStringList &positional = arguments.positional();
    if (!quitOnSignals()) return failure(QStringLiteral("cannot set up the signal pipe"));
    return folder ? watchFolder(positional.first()) : watchFile(positional.first());
}

} // namespace rkcli
