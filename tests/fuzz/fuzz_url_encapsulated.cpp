// Any text read as an encapsulated "ravix://<url><type><size>" form.
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    rpf_diagnostics_set_stream(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text = rkfuzz::text(data, size);
    int32_t type = 0;
    int32_t item_size = 0;
    char *inner = ravix_get_encapsulated_info(text.c_str(), &type, &item_size);
    // The inner URL is a piece of the text.
    if (inner != nullptr && (std::strlen(inner) + 9 > text.size() || text.find(inner) == std::string::npos)) {
        std::abort();
    }
    std::free(inner);

    int32_t item_type = 0;
    rpf_url *url = rpf_url_ravix_url_to_url(text.c_str(), &item_type);
    if (url == nullptr && item_type != -1) std::abort();
    if (url != nullptr && (item_type != type || url->size != item_size)) std::abort();
    rpf_url_dealloc(url);
    return 0;
}
