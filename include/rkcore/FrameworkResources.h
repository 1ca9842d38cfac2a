// The framework's resources (property lists, interface files, images), compiled
// into the library as Qt resources under ":/rkcore/".
//
// Tests that need a different or a missing resource point the lookup at a
// directory of their own with setFrameworkResourceDirectory: then only that
// directory is consulted, so a name absent there behaves as a missing
// resource. Thread: lookups from any thread; set the override before them.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

#include <rkcore/Conventions.h>

namespace rk {

// The path of resource `name` (a relative name such as "KeyCodes.plist"), or a
// null QString when it does not exist. Names with "..", empty names and
// absolute names are never resources.
RKCORE_EXPORT QString frameworkResourcePath(const QString &name);

// The bytes of resource `name`, or nothing when it is missing or unreadable.
RKCORE_EXPORT std::optional<QByteArray> frameworkResourceData(const QString &name);

// Looks resources up in `directory` instead of the compiled-in ones; a null or
// empty QString restores the compiled-in resources.
RKCORE_EXPORT void setFrameworkResourceDirectory(const QString &directory);

} // namespace rk
