// The mount table: its line parser on kernel-shaped lines, and snapshots
// cross-checked with findmnt and with a tmpfs mounted for the test.
#include "../../src/platform/MountTable_p.h"
#include "platform_test_support.h"

#include <sys/mount.h>

#include <string_view>

using namespace rk::platform;
using rktest::Fixture;
using rktest::runOracle;
using namespace std::literals;

namespace {

TEST(MountInfoLine, ParsesKernelLines)
{
    struct Row {
        const char *name;
        std::string_view line;
        const char *mountPoint; // nullptr: refused
        const char *type;
        const char *source;
    };
    const Row rows[] = {
        {"root", "25 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw", "/", "ext4", "/dev/sda1"},
        {"no optional fields", "30 25 0:26 / /proc rw - proc proc rw", "/proc", "proc", "proc"},
        {"several optional fields", "31 25 0:27 / /mnt/a rw shared:2 master:3 - tmpfs none rw", "/mnt/a", "tmpfs",
         "none"},
        {"escaped space and tab", "40 25 0:40 / /mnt/my\\040disk\\011x rw - vfat /dev/sdb\\0401 rw", "/mnt/my disk\tx",
         "vfat", "/dev/sdb 1"},
        {"escaped backslash", "40 25 0:40 / /a\\134b rw - tmpfs none rw", "/a\\b", "tmpfs", "none"},
        {"incomplete escape kept", "40 25 0:40 / /a\\04 rw - tmpfs none rw", "/a\\04", "tmpfs", "none"},
        {"escape of NUL", "40 25 0:40 / /a\\000 rw - tmpfs none rw", nullptr, nullptr, nullptr},
        {"raw NUL", "40 25 0:40 / /a\0b rw - tmpfs none rw"sv, nullptr, nullptr, nullptr},
        {"no separator", "40 25 0:40 / /a rw tmpfs none rw", nullptr, nullptr, nullptr},
        {"nothing after separator", "40 25 0:40 / /a rw -", nullptr, nullptr, nullptr},
        {"relative mount point", "40 25 0:40 / a rw - tmpfs none rw", nullptr, nullptr, nullptr},
        {"too few fields", "40 25 0:40", nullptr, nullptr, nullptr},
        {"empty", "", nullptr, nullptr, nullptr},
    };
    for (const Row &row : rows) {
        const auto parsed = parseMountInfoLine(row.line.data(), row.line.size());
        ASSERT_EQ(parsed.has_value(), row.mountPoint != nullptr) << row.name;
        if (!parsed) continue;
        EXPECT_EQ(parsed->mountPoint, QByteArray(row.mountPoint)) << row.name;
        EXPECT_EQ(parsed->fsType, QByteArray(row.type)) << row.name;
        EXPECT_EQ(parsed->source, QByteArray(row.source)) << row.name;
    }
}

TEST(MountTable, LooksUpTheVolumesOfATable)
{
    const MountTable table = MountTable::fromMountInfo("25 1 8:1 / / rw - ext4 /dev/nonexistent-disk rw\n"
                                                       "garbage line\n"
                                                       "31 25 0:27 / /mnt/a rw - tmpfs none rw\n"
                                                       "32 31 0:28 / /mnt/a/b\\040c rw - tmpfs none rw");
    EXPECT_EQ(table.size(), 3);
    struct Row {
        const char *path;
        bool mountPoint;
        const char *containing;
        const char *volumeName; // nullptr: not a mount point
    };
    const Row rows[] = {
        {"/", true, "/", "/"},
        {"/mnt", false, "/", nullptr},
        {"/mnt/a", true, "/mnt/a", "a"},
        {"/mnt/ab", false, "/", nullptr},
        {"/mnt/a/x/y", false, "/mnt/a", nullptr},
        {"/mnt/a/b c", true, "/mnt/a/b c", "b c"},
        {"/mnt/a/b c/d", false, "/mnt/a/b c", nullptr},
        {"relative", false, "/", nullptr},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(table.isMountPoint(row.path), row.mountPoint) << row.path;
        EXPECT_EQ(table.mountPointContaining(row.path), QByteArray(row.containing)) << row.path;
        EXPECT_EQ(table.volumeName(row.path), row.volumeName ? QString::fromUtf8(row.volumeName) : QString())
            << row.path;
    }
    EXPECT_TRUE(MountTable::fromMountInfo({}).isMountPoint("/"));
}

TEST(MountTable, SnapshotAgreesWithFindmnt)
{
    const MountTable table = MountTable::snapshot();
    const QStringList targets = runOracle({"findmnt", "-rn", "-o", "TARGET"}).out.split('\n', Qt::SkipEmptyParts);
    ASSERT_FALSE(targets.isEmpty());
    for (const QString &target : targets) {
        // findmnt escapes like the kernel (\x20 for a space); compare plain names only.
        if (target.contains('\\')) continue;
        EXPECT_TRUE(table.isMountPoint(QFile::encodeName(target))) << qPrintable(target);
    }
}

TEST(MountTable, SeesATmpfsMountedForTheTest)
{
    Fixture fx;
    const QByteArray point = fx.mkdir("my volume");
    if (::mount("none", point.constData(), "tmpfs", 0, "size=1m") != 0) GTEST_SKIP() << "cannot mount a tmpfs here";
    struct Unmount { // also when an assertion stops the test
        QByteArray point;
        ~Unmount() { ::umount2(point.constData(), MNT_DETACH); }
    } unmount{point};
    const MountTable table = MountTable::snapshot();
    const QString found = runOracle({"findmnt", "-n", "-o", "FSTYPE", "--mountpoint", QFile::decodeName(point)}).out;
    EXPECT_EQ(found, QStringLiteral("tmpfs"));
    EXPECT_TRUE(table.isMountPoint(point));
    EXPECT_EQ(table.mountPointContaining(point + "/inside/deeper"), point);
    EXPECT_EQ(table.volumeName(point), QStringLiteral("my volume"));
    EXPECT_FALSE(table.isMountPoint(fx.bytes()));
    EXPECT_EQ(::umount(point.constData()), 0);
    EXPECT_FALSE(MountTable::snapshot().isMountPoint(point));
}

} // namespace
