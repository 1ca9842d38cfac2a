#include "FileCatalog_p.h"

namespace rk::platform {

std::optional<FinderInfo> readFinderInfo(const char *, bool)
{
    return std::nullopt;
}
bool writeFinderInfo(const char *, const FinderInfo &)
{
    return false;
}
std::optional<uint16_t> nodeFlags(const char *)
{
    return std::nullopt;
}
std::optional<CatalogTimes> catalogTimes(const char *)
{
    return std::nullopt;
}

} // namespace rk::platform
