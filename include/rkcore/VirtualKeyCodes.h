// Virtual key codes (the classic Mac keyboard's hardware-independent codes
// that KeyCombo holds) and the X11 keys they stand for on a Linux desktop: a
// fixed table from each virtual key code to an X key symbol (122 <-> F1,
// 0 <-> a, 36 <-> Return ...) and the X key-symbol names of those keys.
//
// Keys without an entry: the modifier keys themselves (54-63), the ISO
// section key (10) and unassigned codes. Thread: any thread, except
// virtualKeyCodeForX11KeyCode (main thread, see X11 hot keys).
#pragma once

#include <QString>

#include <cstdint>
#include <optional>

#include <rkcore/Conventions.h>

namespace rk {

// The X key symbol for a virtual key code, or nothing.
RKCORE_EXPORT std::optional<uint32_t> x11KeysymForVirtualKeyCode(int16_t keyCode);
// The virtual key code of an X key symbol, or nothing; upper-case Latin
// letters count as their key (XK_A and XK_a are both key code 0).
RKCORE_EXPORT std::optional<int16_t> virtualKeyCodeForX11Keysym(uint32_t keysym);
// The virtual key code named by an X key-symbol name ("F1", "a", "Return",
// "space", "Left", "KP_Enter" ...) or a common alias ("esc", "enter",
// "pageup", "pagedown", "backspace", "del", "ins", "help"); case does not
// matter. Nothing for an unknown name.
RKCORE_EXPORT std::optional<int16_t> virtualKeyCodeForKeyName(const QString &name);
// The X key-symbol name of a virtual key code ("F1", "a"), or a null QString.
RKCORE_EXPORT QString keyNameForVirtualKeyCode(int16_t keyCode);
// The virtual key code of a key of the X server's keyboard (the unshifted
// symbol of X key code `xKeyCode`), or nothing without an X11 display or for
// a key outside the table. Main thread.
RKCORE_EXPORT std::optional<int16_t> virtualKeyCodeForX11KeyCode(uint32_t xKeyCode);

} // namespace rk
