// Alias records from any bytes: never a crash, and whatever decodes encodes
// back to the same bytes and resolves only to the recorded item.
#include <sys/stat.h>

#include <cstdlib>

#include "../../src/services/AliasRecord_p.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto record = rk::alias::decode(data, size);
    if (!record) return 0;
    // A record has one byte form: anything else decodes to nothing.
    if (rk::alias::encode(*record) != std::string(reinterpret_cast<const char *>(data), size)) std::abort();
    if (record->path.empty() || record->path.front() != '/') std::abort();
    const auto resolved = rk::alias::resolve(*record);
    if (!resolved) return 0;
    struct stat status {};
    if (lstat(resolved->c_str(), &status) != 0 || static_cast<uint64_t>(status.st_ino) != record->inode ||
        static_cast<uint64_t>(status.st_dev) != record->device) {
        std::abort(); // an answer that is not the recorded item
    }
    return 0;
}
