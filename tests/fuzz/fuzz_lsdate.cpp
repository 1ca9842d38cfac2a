// Listing date texts of any content and length.
#include <rkcore/rpf_date.h>

#include <cstdlib>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string text = rkfuzz::text(data, size);
    const std::string before = text;
    (void)rpf_date_ls_date_to_time_t(text.data());
    if (text != before) std::abort();
    return 0;
}
