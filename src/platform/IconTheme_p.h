// Icons from the freedesktop icon theme, drawn at 128 x 128, and the
// framework's badges drawn over them.
//
// The theme is the user's (QIcon::themeName()); when the platform names none,
// "Adwaita" (installed by scripts/setup-deps) so that icons are real on a
// headless machine too. Needs a QGuiApplication (the offscreen platform is
// enough). Thread: the GUI thread only, as QIcon.
#pragma once

#include <QImage>
#include <QString>

namespace rk::platform {

inline constexpr int kIconSize = 128;

// The icon theme's image for `iconName` (e.g. "folder", "text-x-generic"),
// 128 x 128, ARGB32 premultiplied; the first name of `fallbacks` that the
// theme has when it lacks `iconName`. A null QImage when the theme has none
// of them.
QImage themeIcon(const QString &iconName, const QStringList &fallbacks = {});

// The workspace icon of a local item, 128 x 128: a folder "folder" (a mount
// point "drive-harddisk", an application folder "application-x-executable"),
// a file its MIME type's icon name, then the type's generic icon name, then
// "text-x-generic"; a path that does not exist the generic file icon. Never
// null: a blank 128 x 128 image as the last resort.
QImage workspaceIconForPath(const QString &path);

// The generic folder ("folder") and generic file ("text-x-generic") icons.
QImage genericFolderIcon();
QImage genericFileIcon();

// A framework badge ("AliasBadge", "LockedBadge"), 128 x 128, from the
// framework's resources. A null QImage when the resource is missing.
QImage badgeImage(const QString &badgeName);

// `base` scaled to 128 x 128 and drawn with the copy operation, then `badge`
// scaled to 128 x 128 and drawn with source-over, both at the origin.
QImage composeBadged(const QImage &base, const QImage &badge);

} // namespace rk::platform
