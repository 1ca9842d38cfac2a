// Any text read as an encapsulated "ravix://<url><type><size>" form: the inner URL is a piece of
// the text, and the record made from it carries the same type and size.
#include "fuzz_url.h"

static void check(const uint8_t *, size_t, const std::string &text)
{
    int32_t type = 0, item_size = 0, item_type = 0;
    char *inner = ravix_get_encapsulated_info(text.c_str(), &type, &item_size);
    if (inner != nullptr && (std::strlen(inner) + 9 > text.size() || text.find(inner) == text.npos)) std::abort();
    std::free(inner);
    rpf_url *url = rpf_url_ravix_url_to_url(text.c_str(), &item_type);
    if (url == nullptr ? item_type != -1 : item_type != type || url->size != item_size) std::abort();
    rpf_url_dealloc(url);
}
