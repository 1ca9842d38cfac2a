// Any text through the parser chain and each parser alone, then every accessor and text form of the record: no form
// is longer than the text plus 64 (prefix, separators, port, numbers); the encapsulated one ignores the password.
#include "fuzz_url.h"

static void check(const uint8_t *, size_t, const std::string &text)
{
    const auto take = [limit = text.size() + 64](char *form) { // the form, "<null>" for null; freed
        const std::string taken = form != nullptr ? form : "<null>";
        std::free(form);
        if (taken.size() > limit) std::abort();
        return taken;
    };
    if (rpf_url *url = rpf_url_new_from_string(text.c_str())) {
        take(rpf_url_string(url)), take(rpf_url_string_clean(url)), take(rpf_url_string_pathless(url));
        rpf_url without = *url;
        without.password = nullptr;
        if (take(rpf_ravix_url(url, 1, 4096)) != take(rpf_ravix_url(&without, 1, 4096))) std::abort();
        (void)rpf_url_userName(url), (void)rpf_url_passWord(url), (void)rpf_url_hasUniquePort(url);
        rpf_url_dealloc(url);
    }
    for (const rpf_url_parser_row &row : url_parsers) {
        rpf_url *record = rpf_url_new_local(nullptr);
        int status = -1;
        row.parser(text.c_str(), record, &status);
        if (status != 0 && status != 1) std::abort();
        rpf_url_dealloc(record);
    }
}
