#include "X11Windows_p.h"

#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>
#include <xcb/xcb_icccm.h>

#include <cstdlib>
#include <cstring>
#include <limits>

namespace rk::platform {

namespace {

constexpr uint32_t kIconicState = 3;
constexpr uint32_t kPropertyLengthLimit = 1024; // 32-bit units: 4 KiB of text

// Frees an error a reply function handed back (none is kept: a failed reply
// means the window or property is not there).
void discard(xcb_generic_error_t *error)
{
    std::free(error);
}

xcb_atom_t internAtom(xcb_connection_t *connection, const char *name)
{
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name);
    xcb_generic_error_t *error = nullptr;
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(connection, cookie, &error);
    discard(error);
    const xcb_atom_t atom = reply != nullptr ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

} // namespace

struct X11Windows::Private {
    xcb_connection_t *connection = nullptr;
    xcb_ewmh_connection_t ewmh{};
    bool ewmhReady = false;
    int screen = 0;
    xcb_window_t root = 0;
    xcb_atom_t gtkApplicationId = XCB_ATOM_NONE;
    xcb_atom_t kdeDesktopFile = XCB_ATOM_NONE;
    xcb_atom_t changeState = XCB_ATOM_NONE;

    ~Private()
    {
        if (ewmhReady) xcb_ewmh_connection_wipe(&ewmh);
        if (connection != nullptr) xcb_disconnect(connection);
    }

    // A text property (any 8-bit type); null when absent.
    QString textProperty(xcb_window_t window, xcb_atom_t atom)
    {
        if (atom == XCB_ATOM_NONE) return {};
        const xcb_get_property_cookie_t cookie =
            xcb_get_property(connection, 0, window, atom, XCB_GET_PROPERTY_TYPE_ANY, 0, kPropertyLengthLimit);
        xcb_generic_error_t *error = nullptr;
        xcb_get_property_reply_t *reply = xcb_get_property_reply(connection, cookie, &error);
        discard(error);
        QString text;
        if (reply != nullptr && reply->format == 8) {
            const int length = xcb_get_property_value_length(reply);
            if (length > 0) {
                const auto *bytes = static_cast<const char *>(xcb_get_property_value(reply));
                const char *end = static_cast<const char *>(std::memchr(bytes, '\0', static_cast<size_t>(length)));
                text = QString::fromUtf8(bytes, end != nullptr ? end - bytes : length);
            }
        }
        std::free(reply);
        return text;
    }

    bool stateHolds(xcb_window_t window, xcb_atom_t atom)
    {
        xcb_ewmh_get_atoms_reply_t atoms{};
        xcb_generic_error_t *error = nullptr;
        if (xcb_ewmh_get_wm_state_reply(&ewmh, xcb_ewmh_get_wm_state(&ewmh, window), &atoms, &error) == 0) {
            discard(error);
            return false;
        }
        bool holds = false;
        for (uint32_t i = 0; i < atoms.atoms_len; ++i)
            holds = holds || atoms.atoms[i] == atom;
        xcb_ewmh_get_atoms_reply_wipe(&atoms);
        return holds;
    }
};

std::unique_ptr<X11Windows> X11Windows::open()
{
    if (std::getenv("DISPLAY") == nullptr) return nullptr;
    auto d = std::make_unique<Private>();
    d->connection = xcb_connect(nullptr, &d->screen);
    if (xcb_connection_has_error(d->connection) != 0) return nullptr;
    xcb_intern_atom_cookie_t *cookies = xcb_ewmh_init_atoms(d->connection, &d->ewmh);
    if (cookies == nullptr) return nullptr;
    xcb_generic_error_t *error = nullptr;
    d->ewmhReady = xcb_ewmh_init_atoms_replies(&d->ewmh, cookies, &error) != 0;
    discard(error);
    if (!d->ewmhReady) return nullptr;
    if (d->screen < 0 || d->screen >= d->ewmh.nb_screens) return nullptr;
    d->root = d->ewmh.screens[d->screen]->root;
    d->gtkApplicationId = internAtom(d->connection, "_GTK_APPLICATION_ID");
    d->kdeDesktopFile = internAtom(d->connection, "_KDE_NET_WM_DESKTOP_FILE");
    d->changeState = internAtom(d->connection, "WM_CHANGE_STATE");
    return std::unique_ptr<X11Windows>(new X11Windows(std::move(d)));
}

X11Windows::X11Windows(std::unique_ptr<Private> data) : d(std::move(data)) {}

X11Windows::~X11Windows() = default;

bool X11Windows::usable() const
{
    return xcb_connection_has_error(d->connection) == 0;
}

std::vector<uint32_t> X11Windows::clientWindows()
{
    std::vector<uint32_t> windows;
    if (!usable()) return windows;
    xcb_ewmh_get_windows_reply_t list{};
    xcb_generic_error_t *error = nullptr;
    if (xcb_ewmh_get_client_list_reply(&d->ewmh, xcb_ewmh_get_client_list(&d->ewmh, d->screen), &list, &error) == 0) {
        discard(error);
        return windows;
    }
    windows.assign(list.windows, list.windows + list.windows_len);
    xcb_ewmh_get_windows_reply_wipe(&list);
    return windows;
}

std::vector<uint32_t> X11Windows::windowsOfProcess(pid_t pid)
{
    std::vector<uint32_t> owned;
    for (const uint32_t window : clientWindows()) {
        if (processOfWindow(window) == pid) owned.push_back(window);
    }
    return owned;
}

std::optional<uint32_t> X11Windows::activeWindow()
{
    if (!usable()) return std::nullopt;
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_generic_error_t *error = nullptr;
    if (xcb_ewmh_get_active_window_reply(&d->ewmh, xcb_ewmh_get_active_window(&d->ewmh, d->screen), &window, &error) ==
            0 ||
        window == XCB_WINDOW_NONE) {
        discard(error);
        return std::nullopt;
    }
    return window;
}

std::optional<pid_t> X11Windows::processOfWindow(uint32_t window)
{
    if (!usable()) return std::nullopt;
    uint32_t pid = 0;
    xcb_generic_error_t *error = nullptr;
    if (xcb_ewmh_get_wm_pid_reply(&d->ewmh, xcb_ewmh_get_wm_pid(&d->ewmh, window), &pid, &error) == 0 || pid == 0 ||
        pid > static_cast<uint32_t>(std::numeric_limits<pid_t>::max())) {
        discard(error);
        return std::nullopt;
    }
    return static_cast<pid_t>(pid);
}

bool X11Windows::isFullScreen(uint32_t window)
{
    return usable() && d->stateHolds(window, d->ewmh._NET_WM_STATE_FULLSCREEN);
}

bool X11Windows::isHidden(uint32_t window)
{
    return usable() && d->stateHolds(window, d->ewmh._NET_WM_STATE_HIDDEN);
}

QString X11Windows::applicationIdentifier(uint32_t window)
{
    if (!usable()) return {};
    QString identifier = d->textProperty(window, d->gtkApplicationId);
    if (!identifier.isEmpty()) return identifier;
    identifier = d->textProperty(window, d->kdeDesktopFile);
    if (!identifier.isEmpty()) {
        if (identifier.endsWith(QLatin1String(".desktop"))) identifier.chop(8);
        return identifier;
    }
    xcb_icccm_get_wm_class_reply_t windowClass{};
    xcb_generic_error_t *error = nullptr;
    if (xcb_icccm_get_wm_class_reply(d->connection, xcb_icccm_get_wm_class(d->connection, window), &windowClass,
                                     &error) == 0) {
        discard(error);
        return {};
    }
    const QString className = windowClass.class_name != nullptr ? QString::fromUtf8(windowClass.class_name) : QString();
    xcb_icccm_get_wm_class_reply_wipe(&windowClass);
    return className.isEmpty() ? QString() : applicationIdentifierForWindowClass(className);
}

void X11Windows::activate(uint32_t window)
{
    if (!usable()) return;
    xcb_ewmh_request_change_active_window(&d->ewmh, d->screen, window, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER,
                                          XCB_CURRENT_TIME, XCB_WINDOW_NONE);
    xcb_flush(d->connection);
}

void X11Windows::iconify(uint32_t window)
{
    if (!usable() || d->changeState == XCB_ATOM_NONE) return;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = d->changeState;
    message.data.data32[0] = kIconicState;
    xcb_send_event(d->connection, 0, d->root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(d->connection);
}

void X11Windows::deiconify(uint32_t window)
{
    if (!usable()) return;
    xcb_ewmh_request_change_wm_state(&d->ewmh, d->screen, window, XCB_EWMH_WM_STATE_REMOVE,
                                     d->ewmh._NET_WM_STATE_HIDDEN, XCB_ATOM_NONE, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    xcb_map_window(d->connection, window);
    xcb_flush(d->connection);
}

void X11Windows::sync()
{
    if (!usable()) return;
    free(xcb_get_input_focus_reply(d->connection, xcb_get_input_focus(d->connection), nullptr));
}

QString applicationIdentifierForWindowClass(const QString &windowClass)
{
    if (windowClass.compare(QLatin1String("vlc"), Qt::CaseInsensitive) == 0) return QStringLiteral("org.videolan.vlc");
    return windowClass;
}

} // namespace rk::platform
