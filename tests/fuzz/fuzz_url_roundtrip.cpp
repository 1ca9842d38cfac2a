// A parsed record printed in its clean form and parsed again.
//
// Where the first record has a host and no '@' in its user, password, host or
// path, the second must agree on type, host, port and path. An '@' in any of
// them can move the password's end on the second reading (a second '@' sets
// its length), so those records only have to survive.
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

namespace {

bool hasAt(const char *text)
{
    return text != nullptr && std::strchr(text, '@') != nullptr;
}

bool same(const char *a, const char *b)
{
    return (a == nullptr && b == nullptr) || (a != nullptr && b != nullptr && std::strcmp(a, b) == 0);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    rpf_diagnostics_set_stream(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text = rkfuzz::text(data, size);
    rpf_url *first = rpf_url_new_from_string(text.c_str());
    if (first == nullptr) return 0;
    char *clean = rpf_url_string_clean(first);
    rpf_url *second = clean == nullptr ? nullptr : rpf_url_new_from_string(clean);
    const bool comparable = first->host != nullptr && !hasAt(first->user_name) && !hasAt(first->password) &&
                            !hasAt(first->host) && !hasAt(first->path);
    if (comparable) {
        if (second == nullptr || second->type != first->type || !same(second->host, first->host) ||
            second->port != first->port || !same(second->path, first->path)) {
            std::abort();
        }
    }
    rpf_url_dealloc(second);
    std::free(clean);
    rpf_url_dealloc(first);
    return 0;
}
