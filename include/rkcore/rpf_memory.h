/* Ownership of the core's allocations.
 *
 * Every text the core returns is a fresh malloc() buffer the caller frees with
 * free(). C++ callers hold such a buffer in `rpf::Text` (or `rpf::Malloced<T>`
 * for other malloc'd blocks), which frees it when it goes out of scope.
 * Records are not covered here: they have their own destroy functions.
 */
#ifndef RKCORE_RPF_MEMORY_H
#define RKCORE_RPF_MEMORY_H

#ifdef __cplusplus
#include <cstdlib>
#include <memory>

namespace rpf {

/* Frees a block the core (or any C library) allocated with malloc(). */
struct MallocDeleter {
    void operator()(void *block) const noexcept { std::free(block); } // NOLINT(cppcoreguidelines-no-malloc)
};

/* An owned malloc'd block. */
template <typename T> using Malloced = std::unique_ptr<T, MallocDeleter>;

/* An owned text the core returned; null stays null. */
using Text = Malloced<char>;

} // namespace rpf
#endif /* __cplusplus */

#endif /* RKCORE_RPF_MEMORY_H */
