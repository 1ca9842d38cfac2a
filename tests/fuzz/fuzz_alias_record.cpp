// Alias records from any bytes: never a crash, and whatever decodes encodes
// back to the same bytes and resolves only to the recorded item. Each input is
// tried as it is and with its checksum made right, so that the checks behind
// the checksum are reached too.
#include <sys/stat.h>

#include <cstdlib>
#include <vector>

#include "../../src/services/AliasRecord_p.h"

namespace {

void check(const uint8_t *data, size_t size)
{
    const auto record = rk::alias::decode(data, size);
    if (!record) return;
    // A record has one byte form: anything else decodes to nothing.
    if (rk::alias::encode(*record) != std::string(reinterpret_cast<const char *>(data), size)) std::abort();
    if (record->path.empty() || record->path.front() != '/') std::abort();
    const auto resolved = rk::alias::resolve(*record);
    if (!resolved) return;
    struct stat status {};
    if (lstat(resolved->c_str(), &status) != 0 || static_cast<uint64_t>(status.st_ino) != record->inode ||
        static_cast<uint64_t>(status.st_dev) != record->device) {
        std::abort(); // an answer that is not the recorded item
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    check(data, size);
    if (size < 4) return 0;
    std::vector<uint8_t> fixed(data, data + size);
    const uint32_t sum = rk::alias::checksum(fixed.data(), size - 4);
    for (int i = 0; i < 4; ++i)
        fixed[size - 4 + static_cast<size_t>(i)] = static_cast<uint8_t>(sum >> (24 - 8 * i));
    check(fixed.data(), size);
    return 0;
}
