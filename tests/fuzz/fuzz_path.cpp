// The parent-path functions, the last component and joining, on any text.
#include <rkcore/rpf_path.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string path = rkfuzz::text(data, size);
    char *results[] = {
        rpf_parent_of_path(path.c_str()),
        rpf_path_without_last_component(path.c_str()),
        experimental_rpf_path_without_last_component(path.c_str()),
        rpf_path_last_component(path.c_str()),
        rpf_path_by_appending_item(path.c_str(), "item"),
    };
    for (char *result : results) {
        if (result == nullptr || std::strlen(result) > path.size() + 5) std::abort();
        rpf_path_free(result);
    }
    return 0;
}
