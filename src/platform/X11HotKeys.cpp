#include "X11HotKeys_p.h"

#include <rkcore/HotKeyEvent.h>
#include <rkcore/Logging.h>
#include <rkcore/VirtualKeyCodes.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <vector>

namespace rk::platform {

namespace {

constexpr uint32_t kNumLockKeysym = 0xff7f;
constexpr std::array<uint32_t, 4> kAltKeysyms{0xffe9, 0xffea, 0xffe7, 0xffe8}; // Alt_L/R, Meta_L/R
constexpr std::array<uint32_t, 2> kSuperKeysyms{0xffeb, 0xffec};               // Super_L/R
constexpr uint8_t kBadAccess = 10;
constexpr uint16_t kModifierBits = 0xff;

struct Grab {
    std::vector<xcb_keycode_t> keycodes;
    uint16_t modifiers = 0;
    uint32_t signature = 0;
    uint32_t id = 0;
};

struct Display {
    xcb_connection_t *connection = nullptr;
    xcb_window_t root = 0;
    xcb_key_symbols_t *symbols = nullptr;
    uint16_t numLock = 0;
    uint16_t alt = XCB_MOD_MASK_1;
    uint16_t super = XCB_MOD_MASK_4;
    QSocketNotifier *notifier = nullptr; // made with the first grab, in the event loop's thread
    QTimer *queuedDrain = nullptr;       // made with the notifier
    std::map<uintptr_t, Grab> grabs;
    uintptr_t nextRef = 1;
    std::map<xcb_keycode_t, uintptr_t> pressed; // key held since a delivered press
};

struct State {
    bool tried = false;
    std::unique_ptr<Display> display;
    HotKeyHandler handler = nullptr;
};

State &state()
{
    // Never destroyed: the connection is closed by the application's post
    // routine, and static destruction must not touch Qt objects.
    static auto *instance = new State;
    return *instance;
}

// The modifier bit of the first modifier row that holds one of `keysyms`, or `fallback`.
template <size_t N>
uint16_t modifierFor(const xcb_get_modifier_mapping_reply_t *reply, xcb_key_symbols_t *symbols,
                     const std::array<uint32_t, N> &keysyms, uint16_t fallback)
{
    const xcb_keycode_t *keycodes = xcb_get_modifier_mapping_keycodes(reply);
    const int perModifier = reply->keycodes_per_modifier;
    for (int row = 0; row < 8; ++row) {
        for (int i = 0; i < perModifier; ++i) {
            const xcb_keycode_t keycode = keycodes[(row * perModifier) + i];
            if (keycode == 0) continue;
            for (int column = 0; column < 4; ++column) {
                const xcb_keysym_t sym = xcb_key_symbols_get_keysym(symbols, keycode, column);
                for (const uint32_t wanted : keysyms) {
                    if (sym == wanted) return static_cast<uint16_t>(1U << static_cast<unsigned>(row));
                }
            }
        }
    }
    return fallback;
}

void readModifierMapping(Display &display)
{
    const xcb_get_modifier_mapping_cookie_t cookie = xcb_get_modifier_mapping(display.connection);
    xcb_get_modifier_mapping_reply_t *reply = xcb_get_modifier_mapping_reply(display.connection, cookie, nullptr);
    if (reply == nullptr) return;
    display.numLock = modifierFor(reply, display.symbols, std::array<uint32_t, 1>{kNumLockKeysym}, 0);
    display.alt = modifierFor(reply, display.symbols, kAltKeysyms, XCB_MOD_MASK_1);
    display.super = modifierFor(reply, display.symbols, kSuperKeysyms, XCB_MOD_MASK_4);
    std::free(reply); // NOLINT(cppcoreguidelines-no-malloc): xcb replies are malloc'ed
}

void closeDisplay()
{
    State &s = state();
    if (!s.display) return;
    Display &display = *s.display;
    delete display.notifier;
    delete display.queuedDrain;
    xcb_key_symbols_free(display.symbols);
    xcb_disconnect(display.connection); // the server drops every grab of the connection
    s.display.reset();
    s.tried = false; // a later application may open it again
}

std::unique_ptr<Display> openDisplay()
{
    const QByteArray name = qgetenv("DISPLAY");
    if (name.isEmpty()) return nullptr;
    int screenNumber = 0;
    xcb_connection_t *connection = xcb_connect(name.constData(), &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        qCWarning(rkcoreLog, "Cannot open the X11 display %s: no system hot keys", name.constData());
        return nullptr;
    }
    auto display = std::make_unique<Display>();
    display->connection = connection;
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i)
        xcb_screen_next(&screens);
    display->root = screens.data != nullptr ? screens.data->root : 0;
    display->symbols = xcb_key_symbols_alloc(connection);
    if (display->root == 0 || display->symbols == nullptr) {
        xcb_key_symbols_free(display->symbols);
        xcb_disconnect(connection);
        return nullptr;
    }
    readModifierMapping(*display);
    qAddPostRoutine(closeDisplay);
    return display;
}

Display *display()
{
    State &s = state();
    if (!s.tried) {
        s.tried = true;
        s.display = openDisplay();
    }
    if (s.display && xcb_connection_has_error(s.display->connection) != 0) {
        qCWarning(rkcoreLog, "The X11 connection broke: hot keys no longer work");
        closeDisplay();
        s.tried = true; // do not reconnect on every call
    }
    return s.display.get();
}

// The Lock and NumLock combinations grabbed beside the exact modifiers.
std::vector<uint16_t> lockVariants(const Display &display)
{
    std::vector<uint16_t> variants{0, XCB_MOD_MASK_LOCK};
    if (display.numLock != 0 && display.numLock != XCB_MOD_MASK_LOCK) {
        variants.push_back(display.numLock);
        variants.push_back(static_cast<uint16_t>(display.numLock | XCB_MOD_MASK_LOCK));
    }
    return variants;
}

uint16_t x11Modifiers(const Display &display, int32_t modifiers)
{
    uint16_t mask = 0;
    if ((modifiers & 0x0100) != 0) mask |= XCB_MOD_MASK_CONTROL;
    if ((modifiers & 0x0200) != 0) mask |= XCB_MOD_MASK_SHIFT;
    if ((modifiers & 0x0800) != 0) mask |= display.alt;
    if ((modifiers & 0x1000) != 0) mask |= display.super;
    return mask;
}

void ungrab(const Display &display, const Grab &grab)
{
    for (const xcb_keycode_t keycode : grab.keycodes) {
        for (const uint16_t variant : lockVariants(display))
            xcb_ungrab_key(display.connection, keycode, display.root, static_cast<uint16_t>(grab.modifiers | variant));
    }
}

void deliver(uint32_t signature, uint32_t id, bool pressed)
{
    const HotKeyHandler handler = state().handler;
    if (handler == nullptr) return;
    // Nothing may unwind into the Qt event loop that called us.
    try {
        handler(signature, id, pressed);
    } catch (const std::exception &error) {
        qCWarning(rkcoreLog, "Hot key handler failed: %s", error.what());
    }
}

void handleKey(const xcb_key_press_event_t *event, bool pressed)
{
    Display *d = state().display.get();
    if (d == nullptr) return;
    if (!pressed) {
        const auto held = d->pressed.find(event->detail);
        if (held == d->pressed.end()) return;
        const uintptr_t ref = held->second;
        d->pressed.erase(held);
        const auto grab = d->grabs.find(ref);
        if (grab != d->grabs.end()) deliver(grab->second.signature, grab->second.id, false);
        return;
    }
    const auto modifiers = static_cast<uint16_t>(event->state & kModifierBits & ~(XCB_MOD_MASK_LOCK | d->numLock));
    for (const auto &[ref, grab] : d->grabs) {
        if (grab.modifiers != modifiers) continue;
        for (const xcb_keycode_t keycode : grab.keycodes) {
            if (keycode != event->detail) continue;
            d->pressed[keycode] = ref;
            deliver(grab.signature, grab.id, true); // may change the grabs: stop looking
            return;
        }
    }
}

void drain(bool queuedOnly)
{
    for (;;) {
        Display *d = state().display.get();
        if (d == nullptr) return;
        xcb_generic_event_t *event =
            queuedOnly ? xcb_poll_for_queued_event(d->connection) : xcb_poll_for_event(d->connection);
        if (event == nullptr) return;
        const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> owned(event, &std::free);
        switch (event->response_type & 0x7fU) {
        case XCB_KEY_PRESS: handleKey(reinterpret_cast<const xcb_key_press_event_t *>(event), true); break;
        case XCB_KEY_RELEASE: handleKey(reinterpret_cast<const xcb_key_press_event_t *>(event), false); break;
        case XCB_MAPPING_NOTIFY:
            xcb_refresh_keyboard_mapping(d->symbols, reinterpret_cast<xcb_mapping_notify_event_t *>(event));
            readModifierMapping(*d);
            break;
        default: break; // errors of unchecked ungrab requests and the like
        }
    }
}

// Events the connection read while waiting for a reply are not signalled by
// the socket: look at them from the event loop.
void scheduleQueuedDrain(Display &d)
{
    if (d.queuedDrain != nullptr) d.queuedDrain->start(0);
}

void ensureNotifier(Display &d)
{
    if (d.notifier != nullptr || QCoreApplication::instance() == nullptr) return;
    // No parents: this may run while an application routes its events through
    // the hot-key registry (see RKHKApplication), where a child of the
    // application would re-enter that routing.
    d.notifier = new QSocketNotifier(xcb_get_file_descriptor(d.connection), QSocketNotifier::Read);
    QObject::connect(d.notifier, &QSocketNotifier::activated, [] { drain(false); });
    d.queuedDrain = new QTimer;
    d.queuedDrain->setSingleShot(true);
    QObject::connect(d.queuedDrain, &QTimer::timeout, [] { drain(true); });
}

bool overlaps(const Grab &a, const Grab &b)
{
    if (a.modifiers != b.modifiers) return false;
    for (const xcb_keycode_t x : a.keycodes) {
        for (const xcb_keycode_t y : b.keycodes) {
            if (x == y) return true;
        }
    }
    return false;
}

} // namespace

bool x11HotKeysAvailable()
{
    return display() != nullptr;
}

int32_t registerX11HotKey(int16_t keyCode, int32_t modifiers, uint32_t signature, uint32_t id, uintptr_t *ref)
{
    *ref = 0;
    Display *d = display();
    if (d == nullptr) return kHotKeyUnsupportedErr;
    const std::optional<uint32_t> keysym = x11KeysymForVirtualKeyCode(keyCode);
    if (!keysym) return kEventHotKeyInvalidErr;

    Grab grab{{}, x11Modifiers(*d, modifiers), signature, id};
    xcb_keycode_t *keycodes = xcb_key_symbols_get_keycode(d->symbols, *keysym);
    for (const xcb_keycode_t *k = keycodes; k != nullptr && *k != XCB_NO_SYMBOL; ++k)
        grab.keycodes.push_back(*k);
    std::free(keycodes); // NOLINT(cppcoreguidelines-no-malloc)
    if (grab.keycodes.empty()) return kEventHotKeyInvalidErr;
    for (const auto &[otherRef, other] : d->grabs) {
        if (overlaps(grab, other)) return kEventHotKeyExistsErr;
    }

    std::vector<xcb_void_cookie_t> cookies;
    for (const xcb_keycode_t keycode : grab.keycodes) {
        for (const uint16_t variant : lockVariants(*d)) {
            cookies.push_back(xcb_grab_key_checked(d->connection, 1, d->root,
                                                   static_cast<uint16_t>(grab.modifiers | variant), keycode,
                                                   XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        }
    }
    int32_t status = kHotKeyNoErr;
    for (const xcb_void_cookie_t cookie : cookies) {
        xcb_generic_error_t *error = xcb_request_check(d->connection, cookie);
        if (error == nullptr) continue;
        if (status == kHotKeyNoErr)
            status = error->error_code == kBadAccess ? kEventHotKeyExistsErr : kEventHotKeyInvalidErr;
        std::free(error); // NOLINT(cppcoreguidelines-no-malloc)
    }
    ensureNotifier(*d);
    if (status != kHotKeyNoErr) {
        ungrab(*d, grab); // only our own grabs go; another client's stay
        xcb_flush(d->connection);
        scheduleQueuedDrain(*d);
        return status;
    }
    *ref = d->nextRef++;
    d->grabs.emplace(*ref, std::move(grab));
    scheduleQueuedDrain(*d);
    return kHotKeyNoErr;
}

void unregisterX11HotKey(uintptr_t ref)
{
    Display *d = state().display.get();
    if (d == nullptr) return;
    const auto found = d->grabs.find(ref);
    if (found == d->grabs.end()) return;
    ungrab(*d, found->second);
    xcb_flush(d->connection);
    d->grabs.erase(found);
    std::erase_if(d->pressed, [ref](const auto &entry) { return entry.second == ref; });
}

void setX11HotKeyHandler(HotKeyHandler handler)
{
    state().handler = handler;
}

std::optional<int16_t> virtualKeyCodeForX11KeyCode(uint32_t xKeyCode)
{
    Display *d = display();
    if (d == nullptr || xKeyCode > 255) return std::nullopt;
    const xcb_keysym_t keysym = xcb_key_symbols_get_keysym(d->symbols, static_cast<xcb_keycode_t>(xKeyCode), 0);
    if (keysym == XCB_NO_SYMBOL) return std::nullopt;
    return virtualKeyCodeForX11Keysym(keysym);
}

} // namespace rk::platform

namespace rk {

std::optional<int16_t> virtualKeyCodeForX11KeyCode(uint32_t xKeyCode)
{
    return platform::virtualKeyCodeForX11KeyCode(xKeyCode);
}

} // namespace rk
