// Any text through the parser chain and each parser alone, then every
// accessor and text form of the record that results.
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

namespace {

void checkText(char *text, size_t limit)
{
    if (text != nullptr && std::strlen(text) > limit) std::abort();
    std::free(text);
}

void exercise(const rpf_url *url, size_t input_length)
{
    // The forms add at most a prefix, separators, a port and two numbers.
    const size_t limit = input_length + 64;
    checkText(rpf_url_string(url), limit);
    checkText(rpf_url_string_clean(url), limit);
    checkText(rpf_url_string_pathless(url), limit);
    // The encapsulated form is the same whatever the password holds.
    char *encapsulated = rpf_ravix_url(url, 1, 4096);
    rpf_url without = *url;
    without.password = nullptr;
    char *reference = rpf_ravix_url(&without, 1, 4096);
    if ((encapsulated == nullptr) != (reference == nullptr) ||
        (encapsulated != nullptr && std::strcmp(encapsulated, reference) != 0)) {
        std::abort();
    }
    std::free(reference);
    checkText(encapsulated, limit);
    (void)rpf_url_userName(url);
    (void)rpf_url_passWord(url);
    (void)rpf_url_hasUniquePort(url);
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
    if (rpf_url *url = rpf_url_new_from_string(text.c_str())) {
        exercise(url, text.size());
        rpf_url_dealloc(url);
    }
    for (const rpf_url_parser_row &row : url_parsers) {
        rpf_url *record = rpf_url_new_local(nullptr);
        if (record == nullptr) return 0;
        int status = -1;
        row.parser(text.c_str(), record, &status);
        if (status != 0 && status != 1) std::abort();
        rpf_url_dealloc(record);
    }
    return 0;
}
