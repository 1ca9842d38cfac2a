// Mount-table lines and whole tables built from them.
#include "../../src/platform/MountTable_p.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto *text = reinterpret_cast<const char *>(data);
    if (const auto line = rk::platform::parseMountInfoLine(text, size)) {
        if (!line->mountPoint.startsWith('/') || line->mountPoint.contains('\0')) std::abort();
    }
    const QByteArray bytes(text, static_cast<qsizetype>(size));
    const auto table = rk::platform::MountTable::fromMountInfo(bytes);
    if (!table.isMountPoint("/")) std::abort();
    const QByteArray containing = table.mountPointContaining(bytes.left(200).prepend('/'));
    if (!table.isMountPoint(containing)) std::abort();
    return 0;
}
