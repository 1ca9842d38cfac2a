#include <rkcore/Logging.h>

namespace rk {

// Info and above are on by default: the category stands for the system log.
Q_LOGGING_CATEGORY(rkcoreLogCategory, "rkcore", QtInfoMsg)

const QLoggingCategory &rkcoreLog()
{
    return rkcoreLogCategory();
}

} // namespace rk
