// KeyCombo: an immutable key combination, one virtual key code (the
// hardware-independent codes of the classic Mac keyboard: 122 is F1, 0 is the
// "A" key) plus a set of modifier bits in the classic Mac form (kCmdKey
// 0x0100, kShiftKey 0x0200, kOptionKey 0x0800, kControlKey 0x1000).
//
// The cleared combination is key code -1 with modifiers -1. Each combination
// also carries a random `name` (decimal text of rand()) that takes no part in
// equality and is not archived.
//
// Ownership: made by the factories, held in std::shared_ptr; copy() answers the
// receiver itself (the value never changes). Thread: the value may be read
// from any thread; keyCodesDictionary() is made on first use under a lock.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

class RKCORE_EXPORT KeyCombo final : public std::enable_shared_from_this<KeyCombo> {
    struct Tag {};

public:
    static constexpr int32_t kCmdKey = 0x0100;
    static constexpr int32_t kShiftKey = 0x0200;
    static constexpr int32_t kOptionKey = 0x0800;
    static constexpr int32_t kControlKey = 0x1000;

    // The cleared combination (-1, -1).
    static std::shared_ptr<KeyCombo> keyCombo();
    static std::shared_ptr<KeyCombo> clearKeyCombo();
    static std::shared_ptr<KeyCombo> create();
    // A combination of `keyCode` and `modifiers`, stored as given.
    static std::shared_ptr<KeyCombo> keyComboWithKeyCode(int16_t keyCode, int32_t modifiers);
    static std::shared_ptr<KeyCombo> initWithKeyCode(int16_t keyCode, int32_t modifiers);

    // The stored form: the key code as a 16-bit and the modifiers as a 32-bit
    // big-endian integer (QDataStream), six bytes, nothing else.
    QByteArray archivedData() const;
    // A combination read from archivedData() bytes, with a fresh name; nullptr
    // for anything that is not exactly that form (any length, any content).
    static std::shared_ptr<KeyCombo> initWithArchivedData(const QByteArray &data);

    // The receiver itself.
    std::shared_ptr<KeyCombo> copy() const;

    // False for nullptr; else true when the key codes are equal and the
    // modifiers are equal, both compared as 16-bit values. The name takes no part.
    bool isEqual(const KeyCombo *other) const;
    bool operator==(const KeyCombo &other) const { return isEqual(&other); }

    int16_t keyCode() const { return mKeyCode; }
    // The modifiers as a 16-bit value (the upper half is dropped, so the
    // cleared combination answers -1); modifiers32 answers the stored value.
    int16_t modifiers() const { return static_cast<int16_t>(mModifiers); }
    int32_t modifiers32() const { return mModifiers; }
    const QString &name() const { return name_; }

    // Valid when the key is one of the ten function keys that may stand alone
    // (F1 122, F2 120, F3 99, F4 118, F5 96, F6 97, F7 98, F8 100, F12 111,
    // F13 105), whatever the modifiers; otherwise when the key code is not
    // negative and the modifiers are greater than 0.
    bool isValid() const;

    // Valid: the modifier text followed by the key text. Invalid: the
    // application's translation of "(None)" (context "KeyCombo").
    QString userDisplayRep() const;
    QString description() const { return userDisplayRep(); }

    // For each of command, option, control and shift (in that order) that is
    // set, two UTF-16 units: U+0000 then the symbol (U+2318, U+2325, '^',
    // U+21E7). Text fields show the U+0000 units as nothing.
    static QString _stringForModifiers(int32_t modifiers);
    // The "KeyCodes" table's text for the decimal key code, else the key code
    // in upper-case hexadecimal as a C "%X" of the widened value shows it
    // (10 gives "A", -1 gives "FFFFFFFF").
    static QString _stringForKeyCode(int16_t keyCode);
    // The framework resource "KeyCodes.plist" (decimal key code -> display
    // text), read on first use and kept for the life of the process. Empty
    // when the resource is missing or unreadable (a line goes to the log).
    static const QVariantMap &keyCodesDictionary();

    KeyCombo(Tag, int16_t keyCode, int32_t modifiers);

private:
    int16_t mKeyCode;
    int32_t mModifiers;
    QString name_;
};

} // namespace rk
