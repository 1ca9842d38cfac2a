// The frame the URL fuzz targets share: diagnostics muted, then the target's check of the bytes (and of them as text).
#pragma once

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_url.h>

#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

static void check(const uint8_t *data, size_t size, const std::string &text); // aborts on a broken property

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    rpf_diagnostics_set_stream(nullptr);
    check(data, size, rkfuzz::text(data, size));
    return 0;
}
