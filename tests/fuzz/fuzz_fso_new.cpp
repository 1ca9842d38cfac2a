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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0) return 0;
    const uint8_t flags = data[0];
    std::string pieces[3]; // name, target and parent, NUL-separated
    for (size_t at = 1, i = 0; i < 3 && at < size; ++i, at += pieces[i - 1].size() + 1)
        pieces[i] = rkfuzz::text(data + at, size - at);
    rpf_fso *record = rpf_fso_new(flags & 3, 2, 755, strdup("d"), pieces[0].c_str(), strdup("o"), strdup("g"), 1, 2,
                                  (flags & 4) ? pieces[1].c_str() : nullptr, (flags & 8) ? pieces[2].c_str() : nullptr);
    if (record == nullptr) return 0;
    // A target without leading blanks is the caller's pointer: not the record's to free.
    if (record->alias_location == pieces[1].c_str()) record->alias_location = nullptr;
    for (int32_t key = -1; key <= 20; ++key) {
        char *value = reinterpret_cast<char *>(rpf_fso_get_item_for_key(record, key)); // NOLINT
        if (key == RPF_FSO_KEY_SIZE_TEXT || key == RPF_FSO_KEY_URL_TEXT || key == RPF_FSO_KEY_RAVIX_URL)
            std::free(value);
        if (key == RPF_FSO_KEY_PARENT_PATH) rpf_path_free(value);
    }
    rpf_fso_dump(record);
    rpf_fso_destroy_deep(record);
    return 0;
}
