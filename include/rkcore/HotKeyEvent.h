// The values HotKeyCenter handles: a system hot-key event (what the X11 key
// grabs deliver, translated into the classic event form so that every check
// runs on it) and a system-defined application event (the route for systems
// without system hot keys).
#pragma once

#include <QEvent>

#include <cstdint>
#include <optional>

#include <rkcore/Conventions.h>

namespace rk {

// A four-character code as the classic event system writes them ('keyb').
constexpr uint32_t fourCharCode(const char (&code)[5])
{
    return (static_cast<uint32_t>(static_cast<unsigned char>(code[0])) << 24U) |
           (static_cast<uint32_t>(static_cast<unsigned char>(code[1])) << 16U) |
           (static_cast<uint32_t>(static_cast<unsigned char>(code[2])) << 8U) |
           static_cast<uint32_t>(static_cast<unsigned char>(code[3]));
}

inline constexpr uint32_t kEventClassKeyboard = fourCharCode("keyb");
inline constexpr uint32_t kEventHotKeyPressed = 5;
inline constexpr uint32_t kEventHotKeyReleased = 6;
// The signature of every hot key the registry registers.
inline constexpr uint32_t kHotKeySignature = fourCharCode("HKyC");

// Status codes (OSStatus values) of hot-key registration and handling.
inline constexpr int32_t kHotKeyNoErr = 0;
// The event carries no hot-key identifier.
inline constexpr int32_t kEventParameterNotFoundErr = -9870;
// The combination is already held: by another X client (BadAccess) or by
// another registration of this process.
inline constexpr int32_t kEventHotKeyExistsErr = -9878;
// The key code has no key on this keyboard (or the X server refused the grab).
inline constexpr int32_t kEventHotKeyInvalidErr = -9879;
// No system hot keys: no X11 display is open (Wayland alone, offscreen).
inline constexpr int32_t kHotKeyUnsupportedErr = -4;

struct HotKeyID {
    uint32_t signature = 0;
    uint32_t id = 0;
};

// One hot-key event: class, kind (5 pressed, 6 released) and the direct
// parameter, the hot-key identifier (absent when the event carries none).
struct HotKeyEvent {
    uint32_t eventClass = kEventClassKeyboard;
    uint32_t eventKind = kEventHotKeyPressed;
    std::optional<HotKeyID> hotKeyID;
};

// A system-defined application event: type 14, subtype 6 (hot key pressed) or
// 9 (released), data1 the registration handle. Every other event an
// application routes is {0, 0, 0}.
struct ApplicationEvent {
    int32_t type = 0;
    int32_t subtype = 0;
    uintptr_t data1 = 0;
};

inline constexpr int32_t kSystemDefinedEventType = 14;
inline constexpr int32_t kHotKeyPressedSubtype = 6;
inline constexpr int32_t kHotKeyReleasedSubtype = 9;

// The Qt event that carries an ApplicationEvent through an application's event
// dispatch (RKHKApplication hands it to HotKeyCenter::sendEvent).
class RKCORE_EXPORT SystemDefinedEvent final : public QEvent {
public:
    explicit SystemDefinedEvent(ApplicationEvent value);
    ~SystemDefinedEvent() override;
    SystemDefinedEvent(const SystemDefinedEvent &) = delete;
    SystemDefinedEvent &operator=(const SystemDefinedEvent &) = delete;

    // The registered Qt event type of these events.
    static QEvent::Type eventType();
    const ApplicationEvent &value() const { return value_; }

private:
    ApplicationEvent value_;
};

} // namespace rk
