// Any URL text with any item name appended.
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <cstdlib>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    rpf_diagnostics_set_stream(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The first byte splits the rest into the URL text and the item name.
    if (size == 0) return 0;
    const size_t split = data[0] % size;
    const std::string url_text = rkfuzz::text(data + 1, split);
    const std::string item = rkfuzz::text(data + 1 + split, size - 1 - split);
    rpf_url *url = rpf_url_by_appending_item(url_text.c_str(), item.c_str());
    if (url != nullptr) {
        std::free(rpf_url_string(url));
        std::free(rpf_url_string_clean(url));
    }
    rpf_url_dealloc(url);
    return 0;
}
