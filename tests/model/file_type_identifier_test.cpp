// The data types file: its default content, never replacing what exists,
// damaged files, and lookups by extension.
#include <rkcore/PropertyList.h>
#include <rkcore/RKFileTypeIdentifier.h>

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/stat.h>

using namespace rk;

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

class DataTypesFile : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        path = dir.path() + QStringLiteral("/Data Types.plist");
    }
    QTemporaryDir dir;
    QString path;
};

} // namespace

TEST_F(DataTypesFile, DefaultTableIsWrittenInItsOrderWithItsQuirks)
{
    const auto identifier = RKFileTypeIdentifier::createWithDataFilePath(path);
    ASSERT_TRUE(QFile::exists(path));
    // Read back through libplist's own command-line reader as well as ours.
    const auto document = PropertyList::readFile(path);
    ASSERT_TRUE(document.has_value());
    const QVariantList entries = document->toList();
    ASSERT_EQ(entries.size(), 23);
    const char *expected[23][3] = {
        {"txt", "Text File.", "2"},
        {"jpg", "JPEG Graphics File", "1"},
        {"gif", "GIF Graphics File", "1"},
        {"pct", "PICT", "1"},
        {"pict", "PICT Graphics File", "1"},
        {"png", "PNG Graphics File", "1"},
        {"tif", "TIFF Graphics File", "1"},
        {"tiff", "TIFF Graphics File", "1"},
        {"html", "HTML File", "2"},
        {"htm", "HTML File", "2"},
        {"php", "PHP File", "2"},
        {"pl", "Perl Source File", "2"},
        {"php3", "PHP 3 Source File", "2"},
        {"php3", "PHP 3 Source File", "2"},
        {"log", "Log File", "2"},
        {"msg", "Server Message File", "2"},
        {"txt", "Text File", "2"},
        {"asp", "Active Server Page", "2"},
        {"cgi", "Component Gateway Interface", "2"},
        {"h", "Header File", "2"},
        {"c", "C Source File", "2"},
        {"cpp", "C++ Source File", "2"},
        {"m", "Objective-C Source File", "2"},
    };
    for (int i = 0; i < 23; ++i) {
        const QVariantMap entry = entries.at(i).toMap();
        const bool other = i >= 21;
        const QString extensionKey = other ? QStringLiteral("EXTENSION") : QStringLiteral("IC_EXTENSION");
        const QString verboseKey = other ? QStringLiteral("VERBOSE_TYPE") : QStringLiteral("IC_VERBOSE_TYPE");
        QStringList keys{extensionKey, QStringLiteral("RB_TYPE"), verboseKey};
        keys.sort();
        EXPECT_EQ(entry.keys(), keys) << i;
        EXPECT_EQ(entry.value(extensionKey).toString(), QString::fromUtf8(expected[i][0])) << i;
        EXPECT_EQ(entry.value(verboseKey).toString(), QString::fromUtf8(expected[i][1])) << i;
        EXPECT_EQ(entry.value(QStringLiteral("RB_TYPE")).typeId(), QMetaType::LongLong) << i;
        EXPECT_EQ(entry.value(QStringLiteral("RB_TYPE")).toString(), QString::fromUtf8(expected[i][2])) << i;
    }
    EXPECT_EQ(identifier->typeMappings()->size(), 23);
    // An independent reader: plistutil (libplist's tool) when installed.
    if (std::system("command -v plistutil >/dev/null 2>&1") == 0) {
        const QString converted = dir.path() + QStringLiteral("/converted.plist");
        const QString command = QStringLiteral("plistutil -i '%1' -o '%2' -f bin").arg(path, converted);
        ASSERT_EQ(std::system(command.toUtf8().constData()), 0);
        EXPECT_EQ(PropertyList::readFile(converted), document);
    }
}

TEST_F(DataTypesFile, LookupsAreCaseSensitiveAndFirstInFileOrder)
{
    const auto identifier = RKFileTypeIdentifier::createWithDataFilePath(path);
    const std::pair<const char *, int32_t> rows[] = {
        {"photo.JPG", 0},      {"photo.jpg", 1}, {"notes.txt", 2},      {"README", 0},
        {"archive.tar.gz", 0}, {"main.m", 0},    {"main.cpp", 0},       {"Sites/index.html", 2},
        {"file.", 0},          {"x.php3", 2},    {"a.b/c", 0},          {"/abs/pic.tiff/", 1},
        {".gif", 1},           {"", 0},          {"weird.\xc3\xa9", 0},
    };
    for (const auto &[name, type] : rows)
        EXPECT_EQ(identifier->typeForFileName(QString::fromUtf8(name)), type) << name;
    const auto first = identifier->findEntryForExtension(QStringLiteral("txt"));
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->value(QStringLiteral("IC_VERBOSE_TYPE")).toString(), QStringLiteral("Text File."));
    EXPECT_FALSE(identifier->findEntryForExtension(QStringLiteral("cpp")).has_value());
    EXPECT_FALSE(identifier->findEntryForExtension(QStringLiteral("TXT")).has_value());
}

TEST_F(DataTypesFile, ExistingFilesAreNeverReplaced)
{
    const QByteArray array = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><array>
<dict><key>IC_EXTENSION</key><string>txt</string><key>RB_TYPE</key><string>1 image</string></dict>
<string>not an entry</string>
<dict><key>IC_EXTENSION</key><integer>7</integer><key>RB_TYPE</key><integer>2</integer></dict>
<dict><key>IC_EXTENSION</key><string>raw</string><key>RB_TYPE</key><real>1.9</real></dict>
<dict><key>IC_EXTENSION</key><string>neg</string><key>RB_TYPE</key><real>-1e300</real></dict>
<dict><key>IC_EXTENSION</key><string>yes</string><key>RB_TYPE</key><true/></dict>
<dict><key>IC_EXTENSION</key><string>none</string></dict>
<dict><key>IC_EXTENSION</key><string>txt</string><key>RB_TYPE</key><integer>2</integer></dict>
</array></plist>)";
    struct Row {
        const char *name;
        QByteArray contents;
        std::vector<std::pair<const char *, int32_t>> lookups;
    };
    const Row rows[] = {
        {"empty", QByteArray(), {{"a.txt", 0}, {"a.jpg", 0}}},
        {"damaged", QByteArray("<?xml version=\"1.0\"?><plist><array><dict>"), {{"a.txt", 0}}},
        {"dictionary root",
         QByteArray("<plist version=\"1.0\"><dict><key>txt</key><integer>2</integer></dict></plist>"),
         {{"a.txt", 0}}},
        {"entries of the wrong types",
         array,
         {{"a.txt", 1}, {"a.7", 0}, {"a.raw", 1}, {"a.neg", 0}, {"a.yes", 1}, {"a.none", 0}}},
    };
    for (const Row &row : rows) {
        writeAll(path, row.contents);
        const auto identifier = RKFileTypeIdentifier::createWithDataFilePath(path);
        EXPECT_EQ(readAll(path), row.contents) << row.name;
        for (const auto &[name, type] : row.lookups)
            EXPECT_EQ(identifier->typeForFileName(QString::fromUtf8(name)), type) << row.name << ": " << name;
    }
    // A dangling link at the path is left as it is, too.
    QFile::remove(path);
    ASSERT_TRUE(QFile::link(dir.path() + QStringLiteral("/nowhere"), path));
    const auto identifier = RKFileTypeIdentifier::createWithDataFilePath(path);
    EXPECT_FALSE(QFile::exists(dir.path() + QStringLiteral("/nowhere")));
    EXPECT_EQ(identifier->typeForFileName(QStringLiteral("a.txt")), 0);
}

TEST_F(DataTypesFile, MissingFolderIsNotCreatedAndTheTableStaysEmpty)
{
    const QString inMissing = dir.path() + QStringLiteral("/Ravix/Data Types.plist");
    const auto identifier = RKFileTypeIdentifier::createWithDataFilePath(inMissing);
    EXPECT_FALSE(QFile::exists(dir.path() + QStringLiteral("/Ravix")));
    EXPECT_FALSE(identifier->typeMappings().has_value());
    EXPECT_EQ(identifier->typeForFileName(QStringLiteral("a.jpg")), 0);
}

TEST_F(DataTypesFile, PathMapsTheSupportFolderToTheXdgDataFolder)
{
    const QByteArray saved = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.path()));
    EXPECT_EQ(RKFileTypeIdentifier::expandedDataFilePath(), dir.path() + QStringLiteral("/Ravix/Data Types.plist"));
    EXPECT_STREQ(kDATA_FILE_PATH, "~/Library/Application Support/Ravix/Data Types.plist");
    ASSERT_EQ(mkdir((dir.path() + QStringLiteral("/Ravix")).toUtf8().constData(), 0755), 0);
    const auto identifier = RKFileTypeIdentifier::create();
    EXPECT_TRUE(QFile::exists(dir.path() + QStringLiteral("/Ravix/Data Types.plist")));
    EXPECT_EQ(identifier->typeForFileName(QStringLiteral("x.png")), 1);
    if (saved.isNull())
        qunsetenv("XDG_DATA_HOME");
    else
        qputenv("XDG_DATA_HOME", saved);
}
