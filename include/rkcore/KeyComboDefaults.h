// Key combinations stored in the user defaults (QSettings): the stored value is
// KeyCombo::archivedData().
//
// Thread: as QSettings (one thread per QSettings object).
#pragma once

#include <QSettings>
#include <QString>

#include <memory>

#include <rkcore/KeyCombo.h>

namespace rk {

// Stores `combo`'s archived data under `key`; a nullptr combination removes the key.
RKCORE_EXPORT void setKeyCombo(QSettings &defaults, const std::shared_ptr<KeyCombo> &combo, const QString &key);
// nullptr when `key` holds nothing; the stored combination; the cleared
// combination (-1, -1) when the stored value is not a readable combination.
RKCORE_EXPORT std::shared_ptr<KeyCombo> keyComboForKey(const QSettings &defaults, const QString &key);

// The same on the application's own settings (QSettings()).
RKCORE_EXPORT void setKeyCombo(const std::shared_ptr<KeyCombo> &combo, const QString &key);
RKCORE_EXPORT std::shared_ptr<KeyCombo> keyComboForKey(const QString &key);

} // namespace rk
