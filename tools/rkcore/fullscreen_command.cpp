// rkcore fullscreen: prints each full-screen notification as it comes.

#include <rkcore/NotificationCenter.h>
#include <rkcore/RFullScreenNotificationCenter.h>

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <csignal>
#include <cstdio>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

std::atomic<bool> interrupted{false};

void onInterrupt(int /*signal*/)
{
    interrupted.store(true);
}

} // namespace

int fullscreenCommand(const Arguments &arguments)
{
    int remaining = -1;
    if (arguments.has("--count")) {
        const auto count = parseInteger(QStringLiteral("--count"), arguments.value("--count"), 1, INT32_MAX);
        if (!count) return kExitUsage;
        remaining = static_cast<int>(*count);
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY")) return failure(QStringLiteral("no X11 display"));

    int observer = 0;
    const auto print = [&remaining](const rk::Notification &notification) {
        printLine(notification.name);
        (void)std::fflush(stdout);
        if (remaining > 0 && --remaining == 0) QCoreApplication::quit();
    };
    rk::NotificationCenter &center = rk::NotificationCenter::defaultCenter();
    center.addObserver(&observer, QString::fromLatin1(rk::RFullScreenCaptured), nullptr, print);
    center.addObserver(&observer, QString::fromLatin1(rk::RFullScreenReleased), nullptr, print);

    // Ctrl-C ends the loop so that the monitor thread is stopped and joined.
    (void)std::signal(SIGINT, onInterrupt);
    (void)std::signal(SIGTERM, onInterrupt);
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [] {
        if (interrupted.load()) QCoreApplication::quit();
    });
    poll.start(100);

    const auto monitor = rk::RFullScreenNotificationCenter::create();
    monitor->run();
    printLine(QStringLiteral("watching (a check every 5 seconds; Ctrl-C ends)"));
    (void)std::fflush(stdout);
    QCoreApplication::exec();
    monitor->stop();
    center.removeObserver(&observer);
    return 0;
}

} // namespace rkcli
