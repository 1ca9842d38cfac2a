// Listing-form permission texts and arbitrary octal values.
#include <rkcore/rpf_perms.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text = rkfuzz::text(data, size);
    const int32_t octal = rpf_permissions_string_to_octal(text.c_str());
    if (text.size() < 10 && octal != -1) std::abort();

    const auto value = rkfuzz::number<int32_t>(data, size);
    char *nine = rpf_permissions_octal_to_string(value);
    if (nine == nullptr || std::strlen(nine) > 9) std::abort();
    std::free(nine);
    rpf_perms *perms = rpf_permissions_octal_to_perms(value);
    const int32_t again = rpf_permissions_perms_to_octal(perms);
    if (again < 0 || again > 777) std::abort();
    std::free(perms);
    (void)rpf_permissions_octal_to_mode(value);
    char *listing = rpf_permissions_mode_to_listing_string(static_cast<uint32_t>(value));
    if (listing == nullptr || std::strlen(listing) != 10) std::abort();
    std::free(listing);
    return 0;
}
