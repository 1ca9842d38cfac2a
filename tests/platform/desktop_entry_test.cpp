// Desktop entries: parsing, alias targets, and alias chains of real files,
// including the ones that must end (loops, chains too long, FIFOs).
#include "../../src/platform/DesktopEntry_p.h"
#include "platform_test_support.h"

#include <QElapsedTimer>
#include <QUrl>

#include <sys/stat.h>
#include <unistd.h>

using namespace rk::platform;
using rktest::Fixture;
using rktest::runOracle;

namespace {

QByteArray aliasEntry(const QByteArray &target)
{
    return "[Desktop Entry]\nType=Link\nName=alias\nURL=file://" + QUrl::toPercentEncoding(target, "/") + "\n";
}

TEST(DesktopEntry, ParsesEntriesAndRefusesOtherText)
{
    struct Row {
        const char *name;
        QByteArray text;
        bool parses;
        const char *type;
        const char *url;
        const char *entryName;
    };
    const Row rows[] = {
        {"link", "[Desktop Entry]\nType=Link\nURL=file:///tmp\n", true, "Link", "file:///tmp", ""},
        {"comments, blanks and CRLF first", "# c\n\n  \r\n[Desktop Entry]\r\nType = Link \r\nName=a\\sb\\\\c\\n\r\n",
         true, "Link", "", "a b\\c\n"},
        {"localised name ignored", "[Desktop Entry]\nName[de]=Verweis\nName=alias\n", true, "", "", "alias"},
        {"first key wins", "[Desktop Entry]\nType=Link\nType=Application\n", true, "Link", "", ""},
        {"next group ends the keys", "[Desktop Entry]\nType=Link\n[Desktop Action x]\nURL=file:///x\n", true, "Link",
         "", ""},
        {"unknown escape kept", "[Desktop Entry]\nName=a\\qb\\\n", true, "", "", "a\\qb\\"},
        {"no newline at the end", "[Desktop Entry]\nType=Application", true, "Application", "", ""},
        {"other first group", "[Other]\n[Desktop Entry]\nType=Link\n", false, nullptr, nullptr, nullptr},
        {"key before the group", "Type=Link\n[Desktop Entry]\n", false, nullptr, nullptr, nullptr},
        {"no group", "just text\n", false, nullptr, nullptr, nullptr},
        {"empty", "", false, nullptr, nullptr, nullptr},
        {"NUL byte", QByteArray("[Desktop Entry]\nType=Li\0nk\n", 27), false, nullptr, nullptr, nullptr},
        {"not UTF-8", "[Desktop Entry]\nName=\xff\xfe\n", false, nullptr, nullptr, nullptr},
    };
    for (const Row &row : rows) {
        const auto entry = parseDesktopEntry(row.text);
        ASSERT_EQ(entry.has_value(), row.parses) << row.name;
        if (!entry) continue;
        EXPECT_EQ(entry->type, QString::fromUtf8(row.type)) << row.name;
        EXPECT_EQ(entry->url, QString::fromUtf8(row.url)) << row.name;
        EXPECT_EQ(entry->name, QString::fromUtf8(row.entryName)) << row.name;
    }
}

TEST(DesktopEntry, AliasTargetsAreLocalFileUrlsOfLinks)
{
    struct Row {
        const char *type;
        const char *url;
        const char *target; // nullptr: not an alias
    };
    const Row rows[] = {
        {"Link", "file:///a%20b/c", "/a b/c"},        {"Link", "file://localhost/etc", "/etc"},
        {"Link", "file:/etc/x?query#frag", "/etc/x"}, {"Link", "file:///%E2%82%AC", "/\xe2\x82\xac"},
        {"Link", "file://otherhost/etc", nullptr},    {"Link", "http://example.org/", nullptr},
        {"Link", "file:relative", nullptr},           {"Link", "file:///bad%2", nullptr},
        {"Link", "file:///nul%00", nullptr},          {"Application", "file:///etc", nullptr},
    };
    for (const Row &row : rows) {
        DesktopEntry entry;
        entry.type = QString::fromUtf8(row.type);
        entry.url = QString::fromUtf8(row.url);
        const auto target = aliasTargetOf(entry);
        ASSERT_EQ(target.has_value(), row.target != nullptr) << row.url;
        if (target) {
            EXPECT_EQ(*target, QByteArray(row.target)) << row.url;
        }
    }
}

TEST(DesktopEntry, ReadsOnlySmallRegularFilesAndNeverBlocks)
{
    Fixture fx;
    const QByteArray good = fx.write("good.desktop", aliasEntry("/etc"));
    // desktop-file-validate (an oracle nobody here wrote) accepts what is read as an entry.
    const auto validated = runOracle({"desktop-file-validate", QFile::decodeName(good)});
    EXPECT_EQ(validated.exitCode, 0) << qPrintable(validated.out);
    const QByteArray huge = fx.write("huge.desktop", "[Desktop Entry]\nType=Link\n" + QByteArray(70000, '#'));
    const QByteArray binary = fx.write("binary.desktop", QByteArray("\x7f"
                                                                    "ELF\0\0\0",
                                                                    7)
                                                             .repeated(100));
    const QByteArray fifo = fx.bytes("fifo.desktop");
    ASSERT_EQ(::mkfifo(fifo.constData(), 0644), 0);
    ASSERT_EQ(::symlink(fifo.constData(), fx.bytes("to-fifo.desktop").constData()), 0);
    const QByteArray folder = fx.mkdir("folder.desktop");
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(readDesktopEntry(good.constData()));
    for (const QByteArray &path : {huge, binary, fifo, fx.bytes("to-fifo.desktop"), folder, QByteArray("/dev/zero"),
                                   fx.bytes("missing.desktop")})
        EXPECT_FALSE(readDesktopEntry(path.constData())) << path.constData();
    EXPECT_LT(timer.elapsed(), 5000);
    for (const char *name : {"a.desktop", ".desktop", "/x/y.desktop"})
        EXPECT_TRUE(looksLikeDesktopEntry(name));
    for (const char *name : {"a.Desktop", "desktop", "a.desktop~", ""})
        EXPECT_FALSE(looksLikeDesktopEntry(name));
}

TEST(AliasResolution, FollowsChainsAndEndsEveryOne)
{
    Fixture fx;
    const QByteArray plain = fx.write("plain.txt", "x");
    const QByteArray folder = fx.mkdir("folder");
    fx.write("to-folder.desktop", aliasEntry(folder));
    fx.write("to-plain.desktop", aliasEntry(plain));
    fx.write("chain.desktop", aliasEntry(fx.bytes("to-plain.desktop")));
    fx.write("dangling.desktop", aliasEntry(fx.bytes("nothing-here")));
    fx.write("loop-a.desktop", aliasEntry(fx.bytes("loop-b.desktop")));
    fx.write("loop-b.desktop", aliasEntry(fx.bytes("loop-a.desktop")));
    fx.write("app.desktop", "[Desktop Entry]\nType=Application\nExec=true\n");
    fx.write("named-wrongly.txt", aliasEntry(plain)); // only .desktop names are read
    // Chains of 16 and 17 aliases: step i points at step i + 1, the last at plain.
    for (int length : {16, 17}) {
        for (int i = 0; i < length; ++i) {
            const QByteArray next =
                i + 1 < length ? fx.bytes(QStringLiteral("c%1-%2.desktop").arg(length).arg(i + 1)) : plain;
            fx.write(QStringLiteral("c%1-%2.desktop").arg(length).arg(i), aliasEntry(next));
        }
    }
    struct Row {
        const char *name;
        bool wasAlias;
        bool resolved;
        QByteArray target;
    };
    const Row rows[] = {
        {"plain.txt", false, true, plain},
        {"folder", false, true, folder},
        {"app.desktop", false, true, fx.bytes("app.desktop")},
        {"named-wrongly.txt", false, true, fx.bytes("named-wrongly.txt")},
        {"to-folder.desktop", true, true, folder},
        {"chain.desktop", true, true, plain},
        {"dangling.desktop", true, false, {}},
        {"loop-a.desktop", true, false, {}},
        {"c16-0.desktop", true, true, plain},
        {"c17-0.desktop", true, false, {}},
    };
    for (const Row &row : rows) {
        const AliasResolution resolution = resolveAliasFile(fx.bytes(QString::fromLatin1(row.name)));
        EXPECT_EQ(resolution.wasAlias, row.wasAlias) << row.name;
        EXPECT_EQ(resolution.resolved, row.resolved) << row.name;
        EXPECT_EQ(resolution.target, row.target) << row.name;
    }
}

} // namespace
