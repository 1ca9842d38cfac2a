// System-wide hot keys on X11: passive key grabs on the root window of the
// display named by DISPLAY, through an xcb connection of our own (so plain
// QCoreApplication programs get them too).
//
// Every registration grabs its key with the exact modifiers and with the
// Lock, NumLock and Lock+NumLock variants (NumLock is found in the modifier
// mapping), so presses are not lost while CapsLock or NumLock is on. Virtual
// key codes become X keys through rk::x11KeysymForVirtualKeyCode; modifiers:
// command -> Control, shift -> Shift, option -> Alt, control -> Super (Alt and
// Super found in the modifier mapping; Mod1 and Mod4 when absent).
//
// Presses and releases of grabbed keys are read from the connection in the
// Qt event loop of the thread that opened it and handed to the handler. The
// grabs end when a registration is withdrawn, when the QCoreApplication goes
// away (the connection is closed then) or when the process ends.
//
// Thread: main thread only.
#pragma once

#include <cstdint>
#include <optional>

namespace rk::platform {

// Called for each press (pressed true) and release of a registered key.
using HotKeyHandler = void (*)(uint32_t signature, uint32_t id, bool pressed);

// Opens the display on first use; true while a connection is open.
bool x11HotKeysAvailable();

// Grabs the key; answers kHotKeyNoErr and a non-zero handle in `ref`, or
// kHotKeyUnsupportedErr (no display), kEventHotKeyInvalidErr (no such key on
// this keyboard, or the server refused), kEventHotKeyExistsErr (another
// client holds it: BadAccess; or another registration of this process).
int32_t registerX11HotKey(int16_t keyCode, int32_t modifiers, uint32_t signature, uint32_t id, uintptr_t *ref);

// Releases the grabs of `ref`; nothing for a handle already released or unknown.
void unregisterX11HotKey(uintptr_t ref);

void setX11HotKeyHandler(HotKeyHandler handler);

// The virtual key code of X key code `xKeyCode` (its unshifted symbol).
std::optional<int16_t> virtualKeyCodeForX11KeyCode(uint32_t xKeyCode);

} // namespace rk::platform
