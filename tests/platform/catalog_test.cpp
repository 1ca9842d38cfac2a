// Finder information, node flags and catalogue times of real items,
// cross-checked with getfattr/setfattr, chattr and stat.
#include "../../src/platform/FileCatalog_p.h"
#include "platform_test_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace rk::platform;
using rktest::Fixture;
using rktest::runOracle;

namespace {

// setfattr's hex form of a block of `length` bytes starting with `head`.
QString hexValue(const QByteArray &head, int length)
{
    QByteArray block = head;
    block.resize(length, '\0');
    return QStringLiteral("0x") + QString::fromLatin1(block.toHex());
}

TEST(FinderInfo, ReadsWhatSetfattrWroteAndRefusesDamagedBlocks)
{
    Fixture fx;
    const QByteArray head = QByteArray("TEXTttxt\x40\x00", 10);
    struct Row {
        const char *name;
        int length; // -1: no attribute
        bool available;
        uint16_t flags;
    };
    const Row rows[] = {
        {"absent", -1, true, 0}, {"exact", 32, true, 0x4000}, {"short", 31, false, 0},
        {"long", 33, false, 0},  {"huge", 4000, false, 0},    {"one byte", 1, false, 0},
    };
    for (const Row &row : rows) {
        const QByteArray file = fx.write(QString::fromLatin1(row.name), "x");
        if (row.length >= 0) {
            ASSERT_EQ(runOracle({"setfattr", "-n", "user.com.apple.FinderInfo", "-v", hexValue(head, row.length),
                                 QFile::decodeName(file)})
                          .exitCode,
                      0);
        }
        const auto info = readFinderInfo(file.constData(), true);
        ASSERT_EQ(info.has_value(), row.available) << row.name;
        if (!info || row.length < 0) continue;
        EXPECT_EQ(info->type, 0x54455854u) << row.name; // "TEXT"
        EXPECT_EQ(info->creator, 0x74747874u) << row.name;
        EXPECT_EQ(info->flags, row.flags) << row.name;
    }
    EXPECT_FALSE(readFinderInfo(fx.bytes("missing").constData(), true));
}

TEST(FinderInfo, WritesTheBlockGetfattrReadsAndFollowsLinksOnlyWhenAsked)
{
    Fixture fx;
    const QByteArray file = fx.write("f", "x");
    ASSERT_TRUE(writeFinderInfo(file.constData(), {0x4150504Cu /* APPL */, 0x3F3F3F3Fu, 0x0400}));
    const QByteArray expected = QByteArray("APPL????\x04\x00", 10).leftJustified(32, '\0');
    EXPECT_EQ(runOracle({"getfattr", "--absolute-names", "-e", "hex", "-n", "user.com.apple.FinderInfo",
                         QFile::decodeName(file)})
                  .out.section('=', 1),
              QStringLiteral("0x") + QString::fromLatin1(expected.toHex()));

    ASSERT_EQ(::symlink(file.constData(), fx.bytes("link").constData()), 0);
    const auto through = readFinderInfo(fx.bytes("link").constData(), true);
    const auto itself = readFinderInfo(fx.bytes("link").constData(), false);
    ASSERT_TRUE(through && itself);
    EXPECT_EQ(through->flags, kFinderFlagHasCustomIcon);
    EXPECT_EQ(itself->type, 0u); // a link keeps no user attributes
    ASSERT_EQ(::symlink("loop", fx.bytes("loop").constData()), 0);
    EXPECT_FALSE(readFinderInfo(fx.bytes("loop").constData(), true));
    EXPECT_TRUE(readFinderInfo(fx.bytes("loop").constData(), false));
}

TEST(NodeFlags, WordMatchesTheItem)
{
    Fixture fx;
    const QByteArray plain = fx.write("plain", "x");
    const QByteArray linked = fx.write("linked", "x");
    ASSERT_EQ(::link(linked.constData(), fx.bytes("linked2").constData()), 0);
    const QByteArray folder = fx.mkdir("folder");
    const QByteArray locked = fx.write("locked", "x");
    const bool canLock = runOracle({"chattr", "+i", QFile::decodeName(locked)}).exitCode == 0;
    ASSERT_EQ(::symlink(folder.constData(), fx.bytes("link").constData()), 0);
    struct Row {
        QByteArray path;
        std::optional<uint16_t> flags;
    };
    const Row rows[] = {
        {plain, 0},
        {linked, kNodeHasHardLinks},
        {folder, kNodeIsDirectory}, // a folder's many links do not count
        {fx.bytes("link"), 0},      // the link itself, not its folder
        {fx.bytes("missing"), std::nullopt},
    };
    for (const Row &row : rows)
        EXPECT_EQ(nodeFlags(row.path.constData()), row.flags) << row.path.constData();
    if (canLock) {
        const auto shown = runOracle({"lsattr", "-d", QFile::decodeName(locked)}).out;
        EXPECT_TRUE(shown.section(' ', 0, 0).contains('i')) << qPrintable(shown);
        EXPECT_EQ(nodeFlags(locked.constData()), kNodeLocked);
        EXPECT_EQ(runOracle({"chattr", "-i", QFile::decodeName(locked)}).exitCode, 0);
        EXPECT_EQ(nodeFlags(locked.constData()), 0);
    }
}

TEST(CatalogTimes, AgreeWithStat)
{
    Fixture fx;
    const QByteArray file = fx.write("f", "x");
    const timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 250}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.constData(), times, 0), 0);
    ASSERT_EQ(::symlink(file.constData(), fx.bytes("link").constData()), 0);
    for (const QByteArray &path : {file, fx.bytes("link")}) {
        const auto read = catalogTimes(path.constData());
        ASSERT_TRUE(read);
        const QStringList oracle = runOracle({"stat", "-L", "-c", "%W %Y", QFile::decodeName(path)}).out.split(' ');
        ASSERT_EQ(oracle.size(), 2);
        EXPECT_EQ(read->modified.tv_sec, oracle[1].toLongLong());
        EXPECT_EQ(read->modified.tv_nsec, 250);
        if (oracle[0] == QLatin1String("0")) {
            EXPECT_FALSE(read->created);
        } else {
            EXPECT_EQ(read->created.value().tv_sec, oracle[0].toLongLong());
        }
    }
    EXPECT_FALSE(catalogTimes(fx.bytes("missing").constData()));
}

} // namespace
