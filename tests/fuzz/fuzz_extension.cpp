// Extensions of any name, through both extension functions.
#include <rkcore/rpf_path.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string name = rkfuzz::text(data, size);
    char *extension = rpf_string_get_extension(name.c_str());
    if (extension != nullptr && std::strlen(extension) >= name.size()) std::abort();
    std::free(extension);

    char buffer[16];
    char *destination = buffer;
    const size_t wanted = size > 0 ? data[0] % sizeof buffer : 0;
    (void)rpf_string_get_extension_with_known_length(name.c_str(), &destination, wanted);
    return 0;
}
