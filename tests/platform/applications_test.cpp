// Application folders, packages and volumes, and ELF programs, cross-checked
// with xdg-mime (shared-mime-info and file) for real system binaries.
#include "../../src/platform/Applications_p.h"
#include "../../src/platform/MountTable_p.h"
#include "platform_test_support.h"

#include <rkcore/PropertyList.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace rk::platform;
using rktest::Fixture;
using rktest::kExecutable;
using rktest::runOracle;

namespace {

TEST(BundleExtension, NamesAreComparedWithoutCase)
{
    for (const char *name : {"A.app", "x.APP", "/p/q/Foo.framework", "b.Bundle", "c.rtfd", "d.pkg", "e.kext"})
        EXPECT_TRUE(hasBundleExtension(name)) << name;
    for (const char *name : {".app", "app", "x.apps", "x.app.txt", "/a.app/b", "", "x."})
        EXPECT_FALSE(hasBundleExtension(name)) << name;
}

TEST(ApplicationFolders, FlagsAndExecutablesOfRealFolders)
{
    Fixture fx;
    const QByteArray script = "#!/bin/sh\nexit 0\n";
    fx.write("Plain.app/Contents/MacOS/Plain", script, kExecutable);
    fx.write("Named.app/Contents/MacOS/Runner", script, kExecutable);
    fx.write("Named.app/Contents/MacOS/Named", script); // not executable: the plist's name counts
    ASSERT_TRUE(rk::PropertyList::writeFile(QVariantMap{{"CFBundleExecutable", "Runner"}},
                                            fx.path("Named.app/Contents/Info.plist"),
                                            rk::PropertyList::Format::Binary));
    fx.write("Flat.app/Flat", script, kExecutable);
    fx.write("Escape.app/Contents/Info.plist", "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                                               "<key>CFBundleExecutable</key><string>../../x</string></dict></plist>");
    fx.write("x", script, kExecutable);
    fx.write("NotExecutable.app/Contents/MacOS/NotExecutable", script);
    fx.write("Damaged.app/Contents/Info.plist", QByteArray("bplist00\xff\x01", 10));
    fx.write("Damaged.app/Contents/MacOS/Damaged", script, kExecutable);
    fx.write("Tool.AppDir/AppRun", script, kExecutable);
    fx.write("NotAppDir/AppRun", script);
    fx.mkdir("FolderAppRun/AppRun");
    fx.mkdir("Kit.framework");
    fx.mkdir("plain");
    const MountTable mounts = MountTable::fromMountInfo("1 0 8:1 / " + fx.bytes("plain") + " rw - ext4 /dev/x rw\n");
    constexpr uint32_t app = kItemIsApplication, package = kItemIsPackage;
    struct Row {
        const char *name;
        uint32_t flags;
        const char *executable; // relative to the folder; nullptr: none
    };
    const Row rows[] = {
        {"Plain.app", app | package, "Contents/MacOS/Plain"},
        {"Named.app", app | package, "Contents/MacOS/Runner"},
        {"Flat.app", app | package, "Flat"},
        {"Escape.app", package, nullptr},
        {"NotExecutable.app", package, nullptr},
        {"Damaged.app", app | package, "Contents/MacOS/Damaged"},
        {"Tool.AppDir", app, "AppRun"},
        {"NotAppDir", 0, nullptr},
        {"FolderAppRun", 0, nullptr},
        {"Kit.framework", package, nullptr},
        {"plain", kItemIsVolume, nullptr},
        {"missing.app", package, nullptr},
    };
    for (const Row &row : rows) {
        const QByteArray folder = fx.bytes(QString::fromLatin1(row.name));
        EXPECT_EQ(folderItemFlags(folder, mounts), row.flags) << row.name;
        EXPECT_EQ(applicationExecutable(folder), row.executable ? folder + '/' + row.executable : QByteArray())
            << row.name;
    }
    const auto info = bundleInfoDictionary(fx.bytes("Named.app"));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->value("CFBundleExecutable").toString(), QStringLiteral("Runner"));
    EXPECT_FALSE(bundleInfoDictionary(fx.bytes("Damaged.app")));
    EXPECT_FALSE(bundleInfoDictionary(fx.bytes("Plain.app")));
}

TEST(ExecutableProgram, AgreesWithXdgMimeOnSystemFiles)
{
    const QStringList programs = {"application/x-executable", "application/x-pie-executable",
                                  "application/vnd.appimage"};
    const QStringList candidates = {"/usr/bin/ls",
                                    "/usr/bin/bash",
                                    "/usr/sbin/ldconfig",
                                    "/usr/lib/x86_64-linux-gnu/libc.so.6",
                                    "/usr/lib/x86_64-linux-gnu/ld-linux-x86-64.so.2",
                                    "/usr/lib/x86_64-linux-gnu/libz.so.1",
                                    "/usr/bin/ldd",
                                    "/etc/passwd"};
    int checked = 0;
    for (const QString &path : candidates) {
        if (!QFileInfo::exists(path)) continue;
        const QString type = runOracle({"xdg-mime", "query", "filetype", path}).out;
        ASSERT_FALSE(type.isEmpty()) << qPrintable(path);
        EXPECT_EQ(isExecutableProgram(QFile::encodeName(path).constData()), programs.contains(type))
            << qPrintable(path) << " is " << qPrintable(type);
        ++checked;
    }
    EXPECT_GE(checked, 4);
}

TEST(ExecutableProgram, RefusesDamagedAndSpecialFiles)
{
    Fixture fx;
    QFile ls(QStringLiteral("/usr/bin/ls"));
    ASSERT_TRUE(ls.open(QIODevice::ReadOnly));
    const QByteArray program = ls.readAll();
    QByteArray appImage = program;
    appImage[8] = 'A';
    appImage[9] = 'I';
    appImage[10] = 2;
    QByteArray hugeTable = program.left(64);
    hugeTable[56] = '\xff'; // e_phnum
    hugeTable[57] = '\xff';
    QByteArray badEntrySize = program.left(64);
    badEntrySize[54] = 1;
    badEntrySize[55] = 0;
    struct Row {
        const char *name;
        QByteArray contents;
        bool program;
    };
    const Row rows[] = {
        {"program", program, true},
        {"appimage", appImage, true},
        {"truncated header", program.left(40), false},
        {"header only", program.left(64), false}, // ET_DYN, program headers missing
        {"huge header table", hugeTable, false},
        {"bad entry size", badEntrySize, false},
        {"script", "#!/bin/sh\n", false},
        {"empty", "", false},
    };
    for (const Row &row : rows)
        EXPECT_EQ(isExecutableProgram(fx.write(QString::fromLatin1(row.name), row.contents).constData()), row.program)
            << row.name;
    ASSERT_EQ(::mkfifo(fx.bytes("fifo").constData(), 0755), 0);
    for (const char *path : {"/dev/zero", "/dev/null", "/"})
        EXPECT_FALSE(isExecutableProgram(path)) << path;
    EXPECT_FALSE(isExecutableProgram(fx.bytes("fifo").constData()));
    EXPECT_FALSE(isExecutableProgram(fx.bytes("missing").constData()));
}

} // namespace
