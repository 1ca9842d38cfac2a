// Helpers shared by the core tests.
#pragma once

#include <rkcore/rpf_memory.h>

#include <string>

namespace rktest {

// Takes ownership of a malloc'd text from the core.
using Text = rpf::Text;

// The core's text as a std::string; "<null>" for a null text (so tables can
// say so), freeing it.
inline std::string take(char *text)
{
    Text owned(text);
    return owned ? std::string(owned.get()) : std::string("<null>");
}

} // namespace rktest
