// The "rkcore" logging category: the object layer's system log. Every run-time
// failure message of the object layer is written here with the exact text its
// class documents. Capture it in tests with qInstallMessageHandler; silence it
// with QLoggingCategory::setFilterRules("rkcore=false").
#pragma once

#include <QLoggingCategory>

#include <rkcore/Conventions.h>

namespace rk {

// The category named "rkcore". Any thread.
RKCORE_EXPORT const QLoggingCategory &rkcoreLog();

} // namespace rk
