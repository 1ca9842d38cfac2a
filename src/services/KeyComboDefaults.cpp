#include <rkcore/KeyComboDefaults.h>

#include <QByteArray>
#include <QVariant>

namespace rk {

void setKeyCombo(QSettings &defaults, const std::shared_ptr<KeyCombo> &combo, const QString &key)
{
    if (!combo) {
        defaults.remove(key);
        return;
    }
    defaults.setValue(key, combo->archivedData());
}

std::shared_ptr<KeyCombo> keyComboForKey(const QSettings &defaults, const QString &key)
{
    const QVariant value = defaults.value(key);
    if (!value.isValid()) return nullptr;
    // Only bytes can hold an archive; text or numbers that landed under the
    // key (a hand-edited settings file) are unreadable data.
    std::shared_ptr<KeyCombo> combo;
    if (value.typeId() == QMetaType::QByteArray) combo = KeyCombo::initWithArchivedData(value.toByteArray());
    return combo ? combo : KeyCombo::clearKeyCombo();
}

void setKeyCombo(const std::shared_ptr<KeyCombo> &combo, const QString &key)
{
    QSettings defaults;
    setKeyCombo(defaults, combo, key);
}

std::shared_ptr<KeyCombo> keyComboForKey(const QString &key)
{
    const QSettings defaults;
    return keyComboForKey(defaults, key);
}

} // namespace rk
