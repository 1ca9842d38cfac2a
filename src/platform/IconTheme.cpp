#include "IconTheme_p.h"

namespace rk::platform {

namespace {
QImage blank()
{
    QImage image(kIconSize, kIconSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}
} // namespace

QImage themeIcon(const QString &, const QStringList &)
{
    return {};
}
QImage workspaceIconForPath(const QString &)
{
    return blank();
}
QImage genericFolderIcon()
{
    return blank();
}
QImage genericFileIcon()
{
    return blank();
}
QImage badgeImage(const QString &)
{
    return {};
}
QImage composeBadged(const QImage &base, const QImage &)
{
    return base;
}

} // namespace rk::platform
