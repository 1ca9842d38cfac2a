// Any URL text with any item name appended; the first byte splits the rest into the two.
#include "fuzz_url.h"

static void check(const uint8_t *data, size_t size, const std::string &)
{
    if (size == 0) return;
    const size_t split = data[0] % size;
    const std::string url = rkfuzz::text(data + 1, split), item = rkfuzz::text(data + 1 + split, size - 1 - split);
    rpf_url *record = rpf_url_by_appending_item(url.c_str(), item.c_str());
    std::free(rpf_url_string(record)); // null when nothing was made
    std::free(rpf_url_string_clean(record));
    rpf_url_dealloc(record);
}
