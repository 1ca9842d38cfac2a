#include <rkcore/KeyBroadcaster.h>

#include <rkcore/KeyCombo.h>
#include <rkcore/NotificationCenter.h>
#include <rkcore/VirtualKeyCodes.h>

#include <QKeyEvent>

#include <array>

namespace rk {

namespace {

struct ModifierRow {
    uint32_t mask;
    int32_t carbonBit;
};
// Walked in this order; the two rows of mask 0 never match.
constexpr std::array<ModifierRow, 6> kModifierTable{{
    {KeyBroadcaster::kCommandKeyMask, KeyCombo::kCmdKey},
    {KeyBroadcaster::kAlternateKeyMask, KeyCombo::kOptionKey},
    {KeyBroadcaster::kControlKeyMask, KeyCombo::kControlKey},
    {KeyBroadcaster::kShiftKeyMask, KeyCombo::kShiftKey},
    {0, 0},
    {0, 0},
}};

struct QtKeyRow {
    int key;
    uint32_t keysym;
};
// Qt's names of the keys outside Latin-1 (whose Qt codes are their X key
// symbols already), for events that carry no X key code (offscreen, synthesised).
constexpr std::array<QtKeyRow, 18> kQtKeys{{
    {Qt::Key_Escape, 0xff1b},
    {Qt::Key_Tab, 0xff09},
    {Qt::Key_Backtab, 0xff09},
    {Qt::Key_Backspace, 0xff08},
    {Qt::Key_Return, 0xff0d},
    {Qt::Key_Enter, 0xff8d},
    {Qt::Key_Insert, 0xff63},
    {Qt::Key_Delete, 0xffff},
    {Qt::Key_Home, 0xff50},
    {Qt::Key_End, 0xff57},
    {Qt::Key_Left, 0xff51},
    {Qt::Key_Up, 0xff52},
    {Qt::Key_Right, 0xff53},
    {Qt::Key_Down, 0xff54},
    {Qt::Key_PageUp, 0xff55},
    {Qt::Key_PageDown, 0xff56},
    {Qt::Key_Menu, 0xff67},
    {Qt::Key_Clear, 0xff0b},
}};

bool isModifierKey(int key)
{
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R: return true;
    default: return false;
    }
}

std::optional<uint32_t> keysymForQtKey(int key)
{
    if (key >= 0x20 && key <= 0xff) return static_cast<uint32_t>(key);
    if (key >= Qt::Key_F1 && key <= Qt::Key_F20) return 0xffbeU + static_cast<uint32_t>(key - Qt::Key_F1);
    for (const QtKeyRow &row : kQtKeys) {
        if (row.key == key) return row.keysym;
    }
    return std::nullopt;
}

} // namespace

KeyBroadcaster::KeyBroadcaster(QWidget *parent) : QPushButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAutoDefault(false);
}

KeyBroadcaster::~KeyBroadcaster() = default;

int32_t KeyBroadcaster::cocoaToCarbonModifiers(uint32_t flags)
{
    int32_t carbon = 0;
    for (const ModifierRow &row : kModifierTable) {
        if ((flags & row.mask) != 0) carbon += row.carbonBit;
    }
    return carbon;
}

uint32_t KeyBroadcaster::eventModifierFlags(Qt::KeyboardModifiers modifiers)
{
    uint32_t flags = 0;
    if (modifiers.testFlag(Qt::ControlModifier)) flags |= kCommandKeyMask;
    if (modifiers.testFlag(Qt::AltModifier)) flags |= kAlternateKeyMask;
    if (modifiers.testFlag(Qt::MetaModifier)) flags |= kControlKeyMask;
    if (modifiers.testFlag(Qt::ShiftModifier)) flags |= kShiftKeyMask;
    if (modifiers.testFlag(Qt::KeypadModifier)) flags |= kNumericPadKeyMask;
    return flags;
}

int16_t KeyBroadcaster::virtualKeyCode(const QKeyEvent &event)
{
    if (event.nativeScanCode() != 0) {
        if (const auto code = virtualKeyCodeForX11KeyCode(event.nativeScanCode())) return *code;
    }
    if (const auto keysym = keysymForQtKey(event.key())) {
        if (const auto code = virtualKeyCodeForX11Keysym(*keysym)) return *code;
    }
    return -1;
}

void KeyBroadcaster::_broadcastKeyCode(int16_t keyCode, int32_t modifiers)
{
    NotificationCenter::defaultCenter().post(QStringLiteral("KeyBraodcasterKeyEvent"), this,
                                             {{QStringLiteral("KeyCode"), QVariant::fromValue<int>(keyCode)},
                                              {QStringLiteral("Modifiers"), QVariant::fromValue<int>(modifiers)}});
}

bool KeyBroadcaster::performKeyEquivalent(QKeyEvent *event)
{
    event->accept();
    return true;
}

void KeyBroadcaster::keyDown(QKeyEvent *event)
{
    event->accept();
    if (isModifierKey(event->key())) return;
    const int16_t keyCode = virtualKeyCode(*event);
    if (keyCode < 0) return;
    _broadcastKeyCode(keyCode, cocoaToCarbonModifiers(eventModifierFlags(event->modifiers())));
}

bool KeyBroadcaster::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride: return performKeyEquivalent(static_cast<QKeyEvent *>(event));
    case QEvent::KeyPress:
        // Before QWidget's focus handling, so that Tab is a key like any other.
        keyPressEvent(static_cast<QKeyEvent *>(event));
        return true;
    default: return QPushButton::event(event);
    }
}

void KeyBroadcaster::keyPressEvent(QKeyEvent *event)
{
    keyDown(event);
}

} // namespace rk
