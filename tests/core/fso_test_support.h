// Helpers of the item-record tests.
#pragma once

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_url.h>

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <utility>
#include <vector>

#include "core_test_support.h"

namespace rktest {

// Collects the core's diagnostics while it lives; standard output again after.
class CapturedDiagnostics {
public:
    CapturedDiagnostics() { rpf_diagnostics_set_callback(&append, &text_); }
    ~CapturedDiagnostics() { rpf_diagnostics_reset(); }
    std::string take() { return std::exchange(text_, {}); } // everything since the last call

private:
    static void append(const char *text, void *context) { static_cast<std::string *>(context)->append(text); }
    std::string text_;
};

struct DeepDeleter {
    void operator()(rpf_fso *record) const { rpf_fso_destroy_deep(record); }
};
using Tree = std::unique_ptr<rpf_fso, DeepDeleter>; // freed deeply when it goes

inline std::string text(const char *value)
{
    return value == nullptr ? "<null>" : value;
}

} // namespace rktest
