#include "DesktopEntry_p.h"

namespace rk::platform {

std::optional<DesktopEntry> parseDesktopEntry(const QByteArray &)
{
    return std::nullopt;
}
std::optional<DesktopEntry> readDesktopEntry(const char *)
{
    return std::nullopt;
}
bool looksLikeDesktopEntry(const char *)
{
    return false;
}
std::optional<QByteArray> aliasTargetOf(const DesktopEntry &)
{
    return std::nullopt;
}
AliasResolution resolveAliasFile(const QByteArray &path)
{
    return {false, true, path};
}

} // namespace rk::platform
