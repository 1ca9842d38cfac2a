// The stored form of a KeyCombo: a QDataStream (fixed version, big-endian)
// holding the key code as qint16 and the modifiers as qint32, six bytes.
// Kept apart so that the fuzz target can exercise the reader alone.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace rk::detail {

struct KeyComboValue {
    int16_t keyCode;
    int32_t modifiers;
};

QByteArray encodeKeyComboArchive(KeyComboValue value);
// Nothing unless `data` is exactly the six-byte form.
std::optional<KeyComboValue> decodeKeyComboArchive(const QByteArray &data);

} // namespace rk::detail
