// A parsed record printed in its clean form and parsed again. Where the first has a host and no '@' in its texts, the
// second agrees on type, host, port and path; an '@' can move the password's end (a second '@' sets its length).
#include "fuzz_url.h"

// Type, host, port and path; a text as "=text", a null one empty.
static std::string key(const rpf_url *u)
{
    auto text = [](const char *t) { return t != nullptr ? '=' + std::string(t) : std::string(); };
    return std::to_string(u->type) + '\0' + text(u->host) + '\0' + std::to_string(u->port) + '\0' + text(u->path);
}

static void check(const uint8_t *, size_t, const std::string &text)
{
    rpf_url *first = rpf_url_new_from_string(text.c_str());
    if (first == nullptr) return;
    char *clean = rpf_url_string_clean(first);
    rpf_url *second = clean == nullptr ? nullptr : rpf_url_new_from_string(clean);
    bool comparable = first->host != nullptr;
    for (const char *field : {first->user_name, first->password, first->host, first->path})
        comparable = comparable && (field == nullptr || std::strchr(field, '@') == nullptr);
    if (comparable && (second == nullptr || key(second) != key(first))) std::abort();
    rpf_url_dealloc(second);
    std::free(clean);
    rpf_url_dealloc(first);
}
