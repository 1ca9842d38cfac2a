// The icon an object shows: the icon theme's image for the item, with the
// framework's alias or lock badge drawn over it where the item calls for one.
#include <rkcore/RBFileSystemObject.h>

#include "../platform/FileCatalog_p.h"
#include "../platform/IconTheme_p.h"
#include "RBFileSystemObject_p.h"

namespace rk {

namespace {
const QString kAliasBadge = QStringLiteral("AliasBadge");
const QString kLockedBadge = QStringLiteral("LockedBadge");
} // namespace

QImage RBFileSystemObject::iconForFSOUsingCached(bool useCached)
{
    if (useCached && !d->myCachedImage.isNull()) return d->myCachedImage;
    QImage icon;
    if (isLocal()) {
        if (isLink() || isAlias())
            icon = fileIconWithLink();
        else if (isLocked() && isFile())
            icon = fileIconWithLock();
        else
            icon = platform::workspaceIconForPath(completePath());
    } else if (isLink()) {
        icon = remoteFileIconWithLink();
    } else if (isDir()) {
        icon = genericFolderIcon();
    } else {
        icon = genericFileIcon();
    }
    if (useCached) d->myCachedImage = icon;
    return icon;
}

bool RBFileSystemObject::hasCustomIcon() const
{
    if (!isLocal()) return false;
    const auto ref = fsRef();
    if (!ref) return false;
    const auto info = platform::readFinderInfo(ref->path.constData(), true);
    return info && (info->flags & platform::kFinderFlagHasCustomIcon) != 0;
}

QImage RBFileSystemObject::fileIconWithLink() const
{
    return platform::composeBadged(platform::workspaceIconForPath(completePath()), platform::badgeImage(kAliasBadge));
}

QImage RBFileSystemObject::fileIconWithLock() const
{
    return platform::composeBadged(platform::workspaceIconForPath(completePath()), platform::badgeImage(kLockedBadge));
}

QImage RBFileSystemObject::remoteFileIconWithLink()
{
    return platform::composeBadged(genericFileIcon(), platform::badgeImage(kAliasBadge));
}

QImage RBFileSystemObject::genericFolderIcon()
{
    return platform::genericFolderIcon();
}

QImage RBFileSystemObject::genericFileIcon()
{
    return platform::genericFileIcon();
}

} // namespace rk
