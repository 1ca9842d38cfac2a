// /proc texts: a process's command line and its status line.
#include "../../src/platform/ProcessTable_p.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto *bytes = reinterpret_cast<const char *>(data);
    const QByteArray name = rk::platform::commandNameFromCmdline(bytes, size);
    if (name.contains('\0') || name.size() > static_cast<qsizetype>(size)) std::abort();
    if (name.size() > 1 && name.contains('/')) std::abort(); // a last component
    const QByteArray stat(bytes, static_cast<qsizetype>(size));
    if (const auto state = rk::platform::processStateFromStat(stat)) {
        if (!stat.contains(QByteArray(") ") + *state)) std::abort();
    }
    if (const auto started = rk::platform::processStartTimeFromStat(stat)) {
        if (!stat.contains(QByteArray::number(static_cast<qulonglong>(*started)).left(1))) std::abort();
    }
    return 0;
}
