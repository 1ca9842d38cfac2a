// Trimming of any text.
#include <rkcore/rpf_path.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text = rkfuzz::text(data, size);
    char *trimmed = rpf_utility_despace_string(text.c_str());
    const size_t front = rpf_utility_front_spaces(text.c_str());
    const size_t back = rpf_string_back_spaces(text.c_str());
    if (trimmed == nullptr || front > text.size() || back > text.size()) std::abort();
    const size_t length = std::strlen(trimmed);
    if (length != (front + back >= text.size() ? 0 : text.size() - front - back)) std::abort();
    std::free(trimmed);
    return 0;
}
