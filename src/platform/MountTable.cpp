#include "MountTable_p.h"

namespace rk::platform {

MountTable MountTable::snapshot()
{
    MountTable table;
    table.mounts_.insert(QByteArrayLiteral("/"), Mount{});
    return table;
}
bool MountTable::isMountPoint(const QByteArray &path) const
{
    return mounts_.contains(path);
}
QByteArray MountTable::mountPointContaining(const QByteArray &) const
{
    return QByteArrayLiteral("/");
}
QString MountTable::volumeName(const QByteArray &) const
{
    return {};
}

} // namespace rk::platform
