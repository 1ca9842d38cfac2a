#include <rkcore/RFullScreenNotificationCenter.h>

#include <rkcore/LocalPort.h>
#include <rkcore/NotificationCenter.h>

#include "../platform/X11Windows_p.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace rk {

const char RFullScreenCaptured[] = "RFullScreenCaptured";
const char RFullScreenReleased[] = "RFullScreenReleased";

namespace {

constexpr std::chrono::seconds kCheckInterval{5};
const std::array<QString, 2> kFullScreenPlayers{QStringLiteral("com.apple.DVDPlayer"),
                                                QStringLiteral("org.videolan.vlc")};

bool playerIsActive(platform::X11Windows &windows)
{
    const auto active = windows.activeWindow();
    if (!active) return false;
    const QString identifier = windows.applicationIdentifier(*active);
    for (const QString &player : kFullScreenPlayers) {
        if (identifier == player) return true;
    }
    return false;
}

// The display counts as captured when the active window is full-screen.
bool displayIsCaptured(platform::X11Windows &windows)
{
    const auto active = windows.activeWindow();
    return active && windows.isFullScreen(*active);
}

} // namespace

struct RFullScreenNotificationCenter::Private {
    std::unique_ptr<LocalPort> screenCaptureNotificationPort;
    std::unique_ptr<LocalPort> screenReleaseNotificationPort;
    std::atomic<bool> reportedScreenCapture{false};

    std::thread monitor;
    std::mutex lock; // guards stopping, with the condition
    std::condition_variable wake;
    bool stopping = false;

    void monitorLoop(const LocalPort::Sender &captured, const LocalPort::Sender &released)
    {
        std::unique_ptr<platform::X11Windows> windows;
        std::unique_lock<std::mutex> guard(lock);
        while (!stopping) {
            guard.unlock();
            if (!windows || !windows->usable()) windows = platform::X11Windows::open();
            const bool taken = windows && (displayIsCaptured(*windows) || playerIsActive(*windows));
            if (taken && !reportedScreenCapture.load()) {
                reportedScreenCapture.store(true);
                captured.send();
            } else if (!taken && reportedScreenCapture.load()) {
                reportedScreenCapture.store(false);
                released.send();
            }
            guard.lock();
            wake.wait_for(guard, kCheckInterval, [this] { return stopping; });
        }
    }
};

RFullScreenNotificationCenter::RFullScreenNotificationCenter(Tag) : d(std::make_unique<Private>())
{
    d->screenCaptureNotificationPort = std::make_unique<LocalPort>(
        [](const QVariant &) { NotificationCenter::defaultCenter().post(QString::fromLatin1(RFullScreenCaptured)); });
    d->screenReleaseNotificationPort = std::make_unique<LocalPort>(
        [](const QVariant &) { NotificationCenter::defaultCenter().post(QString::fromLatin1(RFullScreenReleased)); });
}

std::shared_ptr<RFullScreenNotificationCenter> RFullScreenNotificationCenter::create()
{
    return std::make_shared<RFullScreenNotificationCenter>(Tag{});
}

RFullScreenNotificationCenter::~RFullScreenNotificationCenter()
{
    stop();
}

void RFullScreenNotificationCenter::run()
{
    if (d->monitor.joinable()) return;
    {
        const std::lock_guard<std::mutex> guard(d->lock);
        d->stopping = false;
    }
    d->monitor = std::thread(&Private::monitorLoop, d.get(), d->screenCaptureNotificationPort->sender(),
                             d->screenReleaseNotificationPort->sender());
}

void RFullScreenNotificationCenter::stop()
{
    if (!d->monitor.joinable()) return;
    {
        const std::lock_guard<std::mutex> guard(d->lock);
        d->stopping = true;
    }
    d->wake.notify_all();
    d->monitor.join();
}

bool RFullScreenNotificationCenter::isRunning() const
{
    return d->monitor.joinable();
}

bool RFullScreenNotificationCenter::nonNiceAppsAreFront() const
{
    const auto windows = platform::X11Windows::open();
    return windows && playerIsActive(*windows);
}

bool RFullScreenNotificationCenter::reportedScreenCapture() const
{
    return d->reportedScreenCapture.load();
}

} // namespace rk
