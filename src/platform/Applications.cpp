#include "Applications_p.h"

#include "MountTable_p.h"

namespace rk::platform {

bool hasBundleExtension(const char *)
{
    return false;
}
QByteArray applicationExecutable(const QByteArray &)
{
    return {};
}
std::optional<QVariantMap> bundleInfoDictionary(const QByteArray &)
{
    return std::nullopt;
}
uint32_t folderItemFlags(const QByteArray &, const MountTable &)
{
    return 0;
}
bool isExecutableProgram(const char *)
{
    return false;
}

} // namespace rk::platform
