#include <rkcore/KeyCombo.h>

#include <rkcore/FrameworkResources.h>
#include <rkcore/Logging.h>
#include <rkcore/PropertyList.h>

#include <QCoreApplication>

#include <array>
#include <cstdlib>
#include <mutex>
#include <optional>

#include "KeyComboArchive_p.h"
#include "KeyCombo_p.h"

namespace rk {

namespace {

struct KeyCodesTable {
    std::mutex mutex;
    std::optional<QVariantMap> table; // empty: not read yet
};

KeyCodesTable &keyCodesTable()
{
    static KeyCodesTable instance;
    return instance;
}

QVariantMap readKeyCodes()
{
    const std::optional<QByteArray> data = frameworkResourceData(QStringLiteral("KeyCodes.plist"));
    if (!data) {
        qCWarning(rkcoreLog, "KeyCodes.plist is missing: keys show as hexadecimal codes");
        return {};
    }
    const std::optional<QVariant> value = PropertyList::fromData(*data);
    if (!value || value->typeId() != QMetaType::QVariantMap) {
        qCWarning(rkcoreLog, "KeyCodes.plist is not a dictionary: keys show as hexadecimal codes");
        return {};
    }
    return value->toMap();
}

// The function keys that make a combination on their own.
constexpr std::array<int16_t, 10> kStandAloneKeys{122, 120, 118, 111, 105, 96, 97, 98, 99, 100};

struct ModifierSymbol {
    int32_t bit;
    char16_t symbol;
};
// The order in which a combination reads left to right.
constexpr std::array<ModifierSymbol, 4> kModifierSymbols{{
    {KeyCombo::kCmdKey, u'\u2318'},
    {KeyCombo::kOptionKey, u'\u2325'},
    {KeyCombo::kControlKey, u'^'},
    {KeyCombo::kShiftKey, u'\u21E7'},
}};

} // namespace

namespace detail {
void resetKeyCodesDictionaryForTesting()
{
    const std::lock_guard lock(keyCodesTable().mutex);
    keyCodesTable().table.reset();
}
} // namespace detail

KeyCombo::KeyCombo(Tag /*unused*/, int16_t keyCode, int32_t modifiers)
    : mKeyCode(keyCode), mModifiers(modifiers),
      name_(QString::number(std::rand())) // NOLINT(cert-msc30-c,cert-msc50-cpp): a label, not a secret
{
}

std::shared_ptr<KeyCombo> KeyCombo::keyCombo()
{
    return create();
}

std::shared_ptr<KeyCombo> KeyCombo::clearKeyCombo()
{
    return keyComboWithKeyCode(-1, -1);
}

std::shared_ptr<KeyCombo> KeyCombo::create()
{
    return initWithKeyCode(-1, -1);
}

std::shared_ptr<KeyCombo> KeyCombo::keyComboWithKeyCode(int16_t keyCode, int32_t modifiers)
{
    return initWithKeyCode(keyCode, modifiers);
}

std::shared_ptr<KeyCombo> KeyCombo::initWithKeyCode(int16_t keyCode, int32_t modifiers)
{
    return std::make_shared<KeyCombo>(Tag{}, keyCode, modifiers);
}

QByteArray KeyCombo::archivedData() const
{
    return detail::encodeKeyComboArchive({mKeyCode, mModifiers});
}

std::shared_ptr<KeyCombo> KeyCombo::initWithArchivedData(const QByteArray &data)
{
    const std::optional<detail::KeyComboValue> value = detail::decodeKeyComboArchive(data);
    if (!value) return nullptr;
    return initWithKeyCode(value->keyCode, value->modifiers);
}

std::shared_ptr<KeyCombo> KeyCombo::copy() const
{
    return std::const_pointer_cast<KeyCombo>(shared_from_this());
}

bool KeyCombo::isEqual(const KeyCombo *other) const
{
    if (other == nullptr) return false;
    return keyCode() == other->keyCode() && modifiers() == other->modifiers();
}

bool KeyCombo::isValid() const
{
    for (const int16_t key : kStandAloneKeys) {
        if (mKeyCode == key) return true;
    }
    return mKeyCode >= 0 && mModifiers > 0;
}

QString KeyCombo::userDisplayRep() const
{
    if (!isValid()) return QCoreApplication::translate("KeyCombo", "(None)");
    return _stringForModifiers(mModifiers) + _stringForKeyCode(mKeyCode);
}

QString KeyCombo::_stringForModifiers(int32_t modifiers)
{
    QString text;
    for (const ModifierSymbol &row : kModifierSymbols) {
        if ((modifiers & row.bit) != 0) {
            text += QChar(u'\0');
            text += QChar(row.symbol);
        }
    }
    return text;
}

QString KeyCombo::_stringForKeyCode(int16_t keyCode)
{
    const QVariantMap &table = keyCodesDictionary();
    const auto found = table.constFind(QString::number(keyCode));
    if (found != table.constEnd()) return found->toString();
    // "%X" of the value widened to a C int, as the display always showed it.
    return QString::number(static_cast<uint32_t>(static_cast<int32_t>(keyCode)), 16).toUpper();
}

const QVariantMap &KeyCombo::keyCodesDictionary()
{
    KeyCodesTable &cache = keyCodesTable();
    const std::lock_guard lock(cache.mutex);
    if (!cache.table) cache.table = readKeyCodes();
    return *cache.table;
}

} // namespace rk
