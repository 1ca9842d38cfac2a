// Icons from the installed theme at 128 x 128, the project's badges and the
// badged composition. Writes the images it checks to $RKCORE_ICON_DUMP when
// that is set, so they can be looked at.
#include "../../src/platform/IconTheme_p.h"
#include "platform_test_support.h"

#include <rkcore/FrameworkResources.h>

#include <QIcon>

#include <sys/stat.h>

using namespace rk::platform;
using rktest::Fixture;

namespace {

void dump(const QImage &image, const char *name)
{
    const QString directory = qEnvironmentVariable("RKCORE_ICON_DUMP");
    if (!directory.isEmpty()) image.save(QDir(directory).filePath(QString::fromLatin1(name) + ".png"), "PNG");
}

// Share of pixels that are not fully transparent.
double coverage(const QImage &image, QRect area = {})
{
    if (area.isNull()) area = image.rect();
    int inked = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            inked += qAlpha(image.pixel(x, y)) != 0;
    return double(inked) / (area.width() * area.height());
}

bool sameImage(const QImage &a, const QImage &b)
{
    return a.convertToFormat(QImage::Format_ARGB32_Premultiplied) ==
           b.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

TEST(IconTheme, ThemeIconsAreRealAt128)
{
    const QImage folder = genericFolderIcon();
    const QImage file = genericFileIcon();
    EXPECT_FALSE(QIcon::themeName().isEmpty());
    for (const QImage *image : {&folder, &file}) {
        EXPECT_EQ(image->size(), QSize(kIconSize, kIconSize));
        EXPECT_GT(coverage(*image), 0.3); // drawn, not the blank last resort
    }
    EXPECT_FALSE(sameImage(folder, file));
    EXPECT_TRUE(themeIcon(QStringLiteral("no-such-icon-anywhere")).isNull());
    EXPECT_TRUE(
        sameImage(themeIcon(QStringLiteral("no-such-icon-anywhere"), {QString(), QStringLiteral("folder")}), folder));
    dump(folder, "folder");
    dump(file, "file");
}

TEST(IconTheme, WorkspaceIconsFollowTheItem)
{
    Fixture fx;
    fx.mkdir("folder");
    fx.write("notes.txt", "hello\n");
    fx.write("picture.png", QByteArray("\x89PNG\r\n\x1a\n", 8));
    fx.write("Tool.AppDir/AppRun", "#!/bin/sh\n", rktest::kExecutable);
    ASSERT_EQ(::mkfifo(fx.bytes("fifo").constData(), 0644), 0);
    struct Row {
        const char *name;
        QString themeName; // the theme icon it must equal (or the type's generic one)
        QString generic = QStringLiteral("text-x-generic");
    };
    const Row rows[] = {
        {"folder", "folder"},
        {"notes.txt", "text-plain"},
        {"picture.png", "image-png", "image-x-generic"},
        {"Tool.AppDir", "application-x-executable"},
        {"fifo", "inode-fifo"},
        {"missing", "text-x-generic"},
    };
    for (const Row &row : rows) {
        const QImage image = workspaceIconForPath(fx.path(QString::fromLatin1(row.name)));
        EXPECT_EQ(image.size(), QSize(kIconSize, kIconSize)) << row.name;
        const QImage expected = themeIcon(row.themeName, {row.generic});
        EXPECT_TRUE(sameImage(image, expected)) << row.name;
    }
    EXPECT_TRUE(sameImage(workspaceIconForPath(QStringLiteral("/")), themeIcon(QStringLiteral("drive-harddisk"))));
}

TEST(IconTheme, BadgesComeFromTheResourcesAndSitLowerLeft)
{
    const QRect lowerLeft(0, 80, 48, 48), elsewhere(56, 0, 72, 80);
    for (const char *name : {"AliasBadge", "LockedBadge"}) {
        const QImage badge = badgeImage(QString::fromLatin1(name));
        ASSERT_EQ(badge.size(), QSize(kIconSize, kIconSize)) << name;
        EXPECT_GT(coverage(badge, lowerLeft), 0.25) << name;
        EXPECT_EQ(coverage(badge, elsewhere), 0.0) << name;
        const QImage badged = composeBadged(genericFolderIcon(), badge);
        EXPECT_EQ(badged.size(), QSize(kIconSize, kIconSize));
        EXPECT_EQ(badged.pixel(100, 40), genericFolderIcon().pixel(100, 40)) << name; // the base shows through
        EXPECT_NE(badged.copy(lowerLeft), genericFolderIcon().copy(lowerLeft)) << name;
        dump(badged, name);
        dump(composeBadged(genericFileIcon(), badge), (QByteArray(name) + "-file").constData());
    }
    EXPECT_TRUE(badgeImage(QStringLiteral("NoSuchBadge")).isNull());
    Fixture empty;
    rk::setFrameworkResourceDirectory(empty.path());
    EXPECT_TRUE(badgeImage(QStringLiteral("AliasBadge")).isNull());
    rk::setFrameworkResourceDirectory({});
    EXPECT_FALSE(badgeImage(QStringLiteral("AliasBadge")).isNull());
}

TEST(IconTheme, ComposingScalesAndCopiesTheBase)
{
    QImage small(16, 16, QImage::Format_ARGB32);
    small.fill(QColor(255, 0, 0, 128));
    const QImage composed = composeBadged(small, QImage());
    EXPECT_EQ(composed.size(), QSize(kIconSize, kIconSize));
    // The copy operation keeps the base's own alpha instead of blending it.
    EXPECT_NEAR(qAlpha(composed.pixel(64, 64)), 128, 1);
    EXPECT_EQ(coverage(composeBadged(QImage(), QImage())), 0.0);
}

} // namespace
