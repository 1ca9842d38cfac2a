// A parsed record printed in its clean form and parsed again. Where the first has a host and no '@' in its texts, the
// second agrees on type, host, port and path; an '@' can move the password's end (a second '@' sets its length).
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

// Type, host, port and path; a text as "=text", a null one empty.
static std::string key(const rpf_url *u)
{
    auto text = [](const char *t) { return t != nullptr ? '=' + std::string(t) : std::string(); };
    return std::to_string(u->type) + '\0' + text(u->host) + '\0' + std::to_string(u->port) + '\0' + text(u->path);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    rpf_diagnostics_set_stream(nullptr);
    rpf_url *first = rpf_url_new_from_string(rkfuzz::text(data, size).c_str());
    if (first == nullptr) return 0;
    char *clean = rpf_url_string_clean(first);
    rpf_url *second = clean == nullptr ? nullptr : rpf_url_new_from_string(clean);
    bool comparable = first->host != nullptr;
    for (const char *field : {first->user_name, first->password, first->host, first->path})
        comparable = comparable && (field == nullptr || std::strchr(field, '@') == nullptr);
    if (comparable && (second == nullptr || key(second) != key(first))) std::abort();
    rpf_url_dealloc(second);
    std::free(clean);
    rpf_url_dealloc(first);
    return 0;
}
