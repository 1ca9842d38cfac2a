// The framework's helper programs ("adminopen", "root-runner"): separate
// executables installed beside the library, in the libexec folder
// (<prefix>/libexec/rkcore/), and found relative to the loaded library, so an
// installed copy finds its own helpers wherever its prefix is. In the build
// tree the helpers sit in build/bin beside build/lib.
//
// Tests that need a missing or a stand-in helper point the lookup at a
// directory of their own with setHelperProgramDirectory: then only that
// directory is consulted. Thread: lookups from any thread; set the override
// before them.
#pragma once

#include <QString>

#include <rkcore/Conventions.h>

namespace rk {

// The absolute path of helper `name` when it is an executable regular file
// there; a null QString otherwise (and for names with '/').
RKCORE_EXPORT QString helperProgramPath(const QString &name);

// Looks helpers up in `directory` only; a null or empty QString restores the
// folders beside the library.
RKCORE_EXPORT void setHelperProgramDirectory(const QString &directory);

} // namespace rk
