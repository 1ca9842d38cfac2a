// Stored key combinations: user-defaults data of any length and content.
// Only the six-byte form reads, and what reads writes back to the same bytes.
#include <QByteArray>

#include <cstdlib>

#include "KeyComboArchive_p.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto value = rk::detail::decodeKeyComboArchive(bytes);
    if (value.has_value() != (size == 6)) std::abort();
    if (value && rk::detail::encodeKeyComboArchive(*value) != bytes) std::abort();
    return 0;
}
