// KeyBroadcaster: a button that turns every key press it receives into the
// notification "KeyBraodcasterKeyEvent" on the default notification centre
// (rk::NotificationCenter), with itself as sender and the user info
// { "KeyCode": the virtual key code (16-bit), "Modifiers": the modifier bits
// (32-bit, kCmdKey ... as KeyCombo holds them) }. Key equivalents (Ctrl and
// Tab combinations that would trigger shortcuts or move the focus) are
// captured too. Presses of a modifier key alone, and keys with no virtual key
// code, are not broadcast.
//
// Modifiers follow Qt's own mapping of the Mac keys: Ctrl is command, Alt is
// option, Meta (Super) is control, Shift is shift.
//
// Ownership: an ordinary QWidget (parent-owned). Thread: GUI thread.
#pragma once

#include <QPushButton>

#include <cstdint>

#include <rkcore/rkcore_widgets_export.h>

class QKeyEvent;

namespace rk {

class RKCORE_WIDGETS_EXPORT KeyBroadcaster : public QPushButton {
    Q_OBJECT
public:
    // The platform's event modifier flags (the bits cocoaToCarbonModifiers reads).
    static constexpr uint32_t kCommandKeyMask = 0x100000;
    static constexpr uint32_t kAlternateKeyMask = 0x080000;
    static constexpr uint32_t kControlKeyMask = 0x040000;
    static constexpr uint32_t kShiftKeyMask = 0x020000;
    static constexpr uint32_t kAlphaShiftKeyMask = 0x010000;
    static constexpr uint32_t kNumericPadKeyMask = 0x200000;

    explicit KeyBroadcaster(QWidget *parent = nullptr);
    ~KeyBroadcaster() override;

    // The modifier bits of command, option, control and shift in `flags`;
    // caps lock, function and numeric-pad flags are dropped.
    static int32_t cocoaToCarbonModifiers(uint32_t flags);
    // Qt's modifiers as event modifier flags (see the mapping above).
    static uint32_t eventModifierFlags(Qt::KeyboardModifiers modifiers);
    // The virtual key code of a key event: from the X server's keyboard when
    // the event carries an X key code, else from its Qt key; -1 for none.
    static int16_t virtualKeyCode(const QKeyEvent &event);

    // Posts the notification.
    void _broadcastKeyCode(int16_t keyCode, int32_t modifiers);
    // Claims a key equivalent for this button (the press then arrives as an
    // ordinary key press instead of triggering a shortcut). Always true.
    bool performKeyEquivalent(QKeyEvent *event);
    // Broadcasts the key press.
    void keyDown(QKeyEvent *event);

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace rk
