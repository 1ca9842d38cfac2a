// Other programs' top-level windows as the window manager publishes them
// (EWMH): which windows a process owns, which one is active, whether it is
// full-screen or hidden, what application it belongs to; and requests to the
// window manager to activate, iconify and restore windows.
//
// One X11Windows object owns one xcb connection to the display named by
// DISPLAY, opened by open(). Use an object from one thread at a time; give
// each thread its own (the full-screen monitor does).
//
// Windows may vanish between two requests: every reply that fails is treated
// as "no such property", never as an error, and nothing read is cached.
// Without a display (or once the connection has failed) every query answers
// "none" (empty list, no window, false) and every request does nothing.
#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <sys/types.h>

namespace rk::platform {

class X11Windows final {
public:
    // A connection to DISPLAY; null when there is no display or it cannot be
    // opened, or the window manager's EWMH atoms cannot be interned.
    static std::unique_ptr<X11Windows> open();
    ~X11Windows();
    X11Windows(const X11Windows &) = delete;
    X11Windows &operator=(const X11Windows &) = delete;

    // False once the connection has broken (the server went away).
    bool usable() const;

    // The managed top-level windows (_NET_CLIENT_LIST), in the manager's order.
    std::vector<uint32_t> clientWindows();
    // Those among them whose _NET_WM_PID is `pid`.
    std::vector<uint32_t> windowsOfProcess(pid_t pid);
    // _NET_ACTIVE_WINDOW, none when it is unset or names no window (0).
    std::optional<uint32_t> activeWindow();
    // _NET_WM_PID of a window.
    std::optional<pid_t> processOfWindow(uint32_t window);
    // Whether _NET_WM_STATE holds the atom.
    bool isFullScreen(uint32_t window);
    bool isHidden(uint32_t window);
    // The application identifier: _GTK_APPLICATION_ID, else the desktop entry
    // the window names (_KDE_NET_WM_DESKTOP_FILE, ".desktop" removed), else
    // its WM_CLASS class, with "vlc" (any case) read as "org.videolan.vlc".
    // Null when the window has none of these.
    QString applicationIdentifier(uint32_t window);

    // Requests to the window manager (client messages to the root window).
    void activate(uint32_t window);  // _NET_ACTIVE_WINDOW, as a pager would
    void iconify(uint32_t window);   // ICCCM WM_CHANGE_STATE to IconicState
    void deiconify(uint32_t window); // map request and _NET_WM_STATE remove HIDDEN
    // Waits until the server has handled every request sent so far.
    void sync();

private:
    struct Private;
    explicit X11Windows(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
};

// Maps a WM_CLASS class to the identifier a player is known by ("vlc" ->
// "org.videolan.vlc"); others unchanged.
QString applicationIdentifierForWindowClass(const QString &windowClass);

} // namespace rk::platform
