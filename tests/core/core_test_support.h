// Helpers shared by the core tests.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

namespace rktest {

struct FreeDeleter {
    void operator()(void *p) const { std::free(p); }
};

// Takes ownership of a malloc'd text from the core.
using Text = std::unique_ptr<char, FreeDeleter>;

// The core's text as a std::string; "<null>" for a null text (so tables can
// say so), freeing it.
inline std::string take(char *text)
{
    Text owned(text);
    return owned ? std::string(owned.get()) : std::string("<null>");
}

} // namespace rktest
