#include "IconTheme_p.h"

#include "Applications_p.h"
#include "MountTable_p.h"

#include <rkcore/FrameworkResources.h>

#include <QDir>
#include <QFile>
#include <QIcon>
#include <QMimeDatabase>
#include <QPainter>
#include <QStandardPaths>

#include <sys/stat.h>

namespace rk::platform {

namespace {

const QString kFallbackTheme = QStringLiteral("Adwaita");

// The theme's search path and name, set once: platforms without a desktop
// (offscreen) name no theme and look only in ":/icons"; X11 without a desktop
// session names only "hicolor", the base theme every theme falls back to,
// which holds hardly any icons of its own.
void ensureTheme()
{
    static bool done = false;
    if (done) return;
    done = true;
    QStringList paths = QIcon::themeSearchPaths();
    QStringList wanted = QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, QStringLiteral("icons"),
                                                   QStandardPaths::LocateDirectory);
    wanted.prepend(QDir::homePath() + QStringLiteral("/.icons"));
    for (const QString &path : wanted) {
        if (!paths.contains(path)) paths.append(path);
    }
    QIcon::setThemeSearchPaths(paths);
    const QString named = QIcon::themeName();
    if (named.isEmpty() || named == QLatin1String("hicolor")) QIcon::setThemeName(kFallbackTheme);
}

QImage blankImage()
{
    QImage image(kIconSize, kIconSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

// `source` drawn into a new 128 x 128 image, scaled to fill it.
QImage scaledToIconSize(const QImage &source)
{
    if (source.size() == QSize(kIconSize, kIconSize) && source.format() == QImage::Format_ARGB32_Premultiplied)
        return source;
    QImage image = blankImage();
    if (source.isNull()) return image;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(QRect(0, 0, kIconSize, kIconSize), source);
    return image;
}

QImage iconImage(const QIcon &icon)
{
    return scaledToIconSize(icon.pixmap(QSize(kIconSize, kIconSize)).toImage());
}

// The MIME type of an item that is neither folder nor regular file, named
// from its status so that it is never opened.
QString specialMimeName(mode_t mode)
{
    if (S_ISFIFO(mode)) return QStringLiteral("inode/fifo");
    if (S_ISSOCK(mode)) return QStringLiteral("inode/socket");
    if (S_ISCHR(mode)) return QStringLiteral("inode/chardevice");
    if (S_ISBLK(mode)) return QStringLiteral("inode/blockdevice");
    return {};
}

QImage folderIcon(const QByteArray &path)
{
    const uint32_t flags = folderItemFlags(path, MountTable::snapshot());
    if ((flags & kItemIsVolume) != 0) return themeIcon(QStringLiteral("drive-harddisk"), {QStringLiteral("folder")});
    if ((flags & kItemIsApplication) != 0)
        return themeIcon(QStringLiteral("application-x-executable"), {QStringLiteral("folder")});
    return genericFolderIcon();
}

} // namespace

QImage themeIcon(const QString &iconName, const QStringList &fallbacks)
{
    ensureTheme();
    if (!iconName.isEmpty() && QIcon::hasThemeIcon(iconName)) return iconImage(QIcon::fromTheme(iconName));
    for (const QString &name : fallbacks) {
        if (!name.isEmpty() && QIcon::hasThemeIcon(name)) return iconImage(QIcon::fromTheme(name));
    }
    return {};
}

QImage workspaceIconForPath(const QString &path)
{
    const QByteArray bytes = QFile::encodeName(path);
    struct stat status {};
    QImage image;
    if (path.isEmpty() || ::stat(bytes.constData(), &status) != 0) {
        image = genericFileIcon();
    } else if (S_ISDIR(status.st_mode)) {
        image = folderIcon(bytes);
    } else {
        const QMimeDatabase database;
        const QString special = specialMimeName(status.st_mode);
        const QMimeType type = special.isEmpty() ? database.mimeTypeForFile(path) : database.mimeTypeForName(special);
        image = themeIcon(type.iconName(), {type.genericIconName(), QStringLiteral("text-x-generic")});
    }
    return image.isNull() ? blankImage() : image;
}

QImage genericFolderIcon()
{
    const QImage image = themeIcon(QStringLiteral("folder"));
    return image.isNull() ? blankImage() : image;
}

QImage genericFileIcon()
{
    const QImage image = themeIcon(QStringLiteral("text-x-generic"));
    return image.isNull() ? blankImage() : image;
}

QImage badgeImage(const QString &badgeName)
{
    const auto data = frameworkResourceData(badgeName + QStringLiteral(".png"));
    if (!data) return {};
    QImage image;
    if (!image.loadFromData(*data, "PNG")) return {};
    return scaledToIconSize(image);
}

QImage composeBadged(const QImage &base, const QImage &badge)
{
    QImage image = blankImage();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect whole(0, 0, kIconSize, kIconSize);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (!base.isNull()) painter.drawImage(whole, base);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    if (!badge.isNull()) painter.drawImage(whole, badge);
    painter.end();
    return image;
}

} // namespace rk::platform
