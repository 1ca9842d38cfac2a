// The item-record constructor with any name or path, link target and parent
// path: every key, the dump and the deep free.
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_path.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    rpf_diagnostics_set_stream(nullptr);
    return 0;
}

namespace {

// The next NUL-terminated piece of the input (all of the rest when there is
// no NUL), moving past it.
std::string piece(const uint8_t *&data, size_t &size)
{
    std::string text = rkfuzz::text(data, size);
    const size_t used = text.size() < size ? text.size() + 1 : size;
    data += used;
    size -= used;
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0) return 0;
    const uint8_t flags = data[0];
    ++data;
    --size;
    const std::string name = piece(data, size);
    const std::string target = piece(data, size);
    const std::string parent = piece(data, size);
    rpf_fso *record = rpf_fso_new(flags & 3, 2, 755, strdup("d"), name.c_str(), strdup("o"), strdup("g"), 1, 2,
                                  (flags & 4) ? target.c_str() : nullptr, (flags & 8) ? parent.c_str() : nullptr);
    if (record == nullptr) return 0;
    // A target without leading blanks is the caller's pointer: not the record's to free.
    if (record->alias_location == target.c_str()) record->alias_location = nullptr;
    for (int32_t key = -1; key <= 20; ++key) {
        const intptr_t value = rpf_fso_get_item_for_key(record, key);
        if (key == RPF_FSO_KEY_SIZE_TEXT || key == RPF_FSO_KEY_URL_TEXT || key == RPF_FSO_KEY_RAVIX_URL) {
            std::free(reinterpret_cast<char *>(value)); // NOLINT(performance-no-int-to-ptr)
        } else if (key == RPF_FSO_KEY_PARENT_PATH) {
            rpf_path_free(reinterpret_cast<char *>(value)); // NOLINT(performance-no-int-to-ptr)
        }
    }
    rpf_fso_dump(record);
    rpf_fso_destroy_deep(record);
    return 0;
}
