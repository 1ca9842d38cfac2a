// Test hook of KeyCombo: forgets the key-codes table so that the next use
// reads the resource again (after rk::setFrameworkResourceDirectory).
#pragma once

#include <rkcore/Conventions.h>

namespace rk::detail {

RKCORE_EXPORT void resetKeyCodesDictionaryForTesting();

} // namespace rk::detail
