// Size texts of any 64-bit and 32-bit count.
#include <rkcore/rpf_size.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto value = rkfuzz::number<uint64_t>(data, size);
    char *text = format_size(static_cast<uint32_t>(value), static_cast<uint32_t>(value >> 32));
    if (text == nullptr || std::strlen(text) > 10) std::abort();
    std::free(text);
    char *shortText = rpf_utility_format_size(static_cast<int32_t>(value));
    if (shortText == nullptr || std::strlen(shortText) > 6) std::abort();
    std::free(shortText);
    return 0;
}
