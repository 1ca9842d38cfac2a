// RFullScreenNotificationCenter: watches whether another program holds the
// screen (a full-screen window is active, or a known video player is the
// active application) and announces each change with the notifications
// RFullScreenCaptured and RFullScreenReleased on the default notification
// centre (no sender, no user info).
//
// The screen counts as taken when the active window (_NET_ACTIVE_WINDOW) is
// full-screen (_NET_WM_STATE_FULLSCREEN) or nonNiceAppsAreFront(). The
// monitor thread checks at once when run() starts it, then every 5 seconds,
// and hands each change (exactly one per change) to the creating thread
// through a local port; the notification is posted there when its Qt event
// loop runs. Without an X11 display nothing is ever taken: no notification.
//
// Lifetime: make the centre with create() on the thread that is to receive
// the notifications (it must run a Qt event loop), call run() once. Beyond the
// original service, which ran until the process ended, the centre can be
// stopped: stop() or destroying the centre ends the monitor thread (within
// moments: the wait between checks is interruptible) and joins it; a change
// the thread had handed over but the creating thread had not yet handled is
// dropped. Destroy the centre on its creating thread.
//
// Thread: create, run, stop and destroy on the creating thread;
// nonNiceAppsAreFront and reportedScreenCapture from any thread.
#pragma once

#include <QString>

#include <atomic>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

// The notification names (their values are their own names).
RKCORE_EXPORT extern const char RFullScreenCaptured[];
RKCORE_EXPORT extern const char RFullScreenReleased[];

class RKCORE_EXPORT RFullScreenNotificationCenter final {
    struct Tag {};

public:
    // A centre whose ports live in the calling thread; not yet running.
    static std::shared_ptr<RFullScreenNotificationCenter> create();
    ~RFullScreenNotificationCenter();
    RFullScreenNotificationCenter(const RFullScreenNotificationCenter &) = delete;
    RFullScreenNotificationCenter &operator=(const RFullScreenNotificationCenter &) = delete;

    // Starts the monitor thread; a second call while it runs does nothing.
    void run();
    // Ends the monitor thread and waits for it; nothing when not running.
    void stop();
    bool isRunning() const;

    // Whether the active application is one of the two known full-screen
    // players, by identifier: "com.apple.DVDPlayer" (never matches here) or
    // "org.videolan.vlc" (VLC: its window class "vlc").
    bool nonNiceAppsAreFront() const;

    // The state last handed to the creating thread (false at start).
    bool reportedScreenCapture() const;

    explicit RFullScreenNotificationCenter(Tag);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace rk
