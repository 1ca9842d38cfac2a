// Desktop-entry texts: parsing, and the alias target of whatever parses.
#include "../../src/platform/DesktopEntry_p.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto entry = rk::platform::parseDesktopEntry(bytes);
    if (!entry) return 0;
    if (bytes.contains('\0')) std::abort(); // a NUL byte is never an entry
    if (const auto target = rk::platform::aliasTargetOf(*entry)) {
        if (!target->startsWith('/') || target->contains('\0')) std::abort();
    }
    return 0;
}
