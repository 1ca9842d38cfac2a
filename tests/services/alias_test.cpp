#include <rkcore/FSSpec.h>
#include <rkcore/RBAlias.h>

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "AliasRecord_p.h"

using rk::RBAlias;

namespace {

void writeFile(const QString &path, const QByteArray &bytes = "x")
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

struct stat statOf(const QString &path)
{
    struct stat status {};
    EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0) << path.toStdString();
    return status;
}

// A fresh folder with a canonical path (the record keeps canonical paths).
struct Folder {
    QTemporaryDir dir;
    QString path = QFileInfo(dir.path()).canonicalFilePath();
    QString file(const char *name) const { return path + QLatin1Char('/') + QLatin1String(name); }
};

// The resolved path of an alias after its bytes made a round trip.
QString resolvedFromData(const std::shared_ptr<RBAlias> &alias)
{
    const auto copy = RBAlias::aliasWithData(alias->data());
    return copy ? copy->path() : QStringLiteral("(no alias)");
}

} // namespace

// Round trips, renames within the folder, replacements, moves elsewhere.
TEST(RBAlias, FollowsTheItemAndNothingElse)
{
    Folder folder;
    const QString original = folder.file("report.txt");
    writeFile(original);
    ASSERT_TRUE(QDir().mkdir(folder.file("sub")));
    ASSERT_TRUE(QFile::link(original, folder.file("link")));

    struct Row {
        const char *name;
        QString aliased;
        std::function<void()> change;
        QString expected; // null: no answer
    };
    const auto alias = RBAlias::aliasWithPath(original);
    ASSERT_TRUE(alias);
    EXPECT_EQ(resolvedFromData(alias), original) << "round trip";
    EXPECT_EQ(RBAlias::aliasWithPath(folder.file("link"))->path(), original) << "a link names its target";
    EXPECT_EQ(RBAlias::aliasWithPath(folder.path + QStringLiteral("/sub/../report.txt"))->path(), original);
    EXPECT_EQ(RBAlias::aliasWithPath(folder.file("sub"))->path(), folder.file("sub")) << "a folder";

    ASSERT_TRUE(QFile::rename(original, folder.file("renamed.txt")));
    EXPECT_EQ(resolvedFromData(alias), folder.file("renamed.txt")) << "renamed in its folder";

    writeFile(original, "a different item in the old place");
    EXPECT_EQ(alias->path(), folder.file("renamed.txt")) << "the replacement is never answered";

    ASSERT_TRUE(QFile::rename(folder.file("renamed.txt"), folder.file("sub/moved.txt")));
    EXPECT_TRUE(alias->path().isNull()) << "moved to another folder while a replacement holds the old name";

    // Deleted and replaced: even a reused inode number is not the same item.
    const auto second = RBAlias::aliasWithPath(original);
    ASSERT_TRUE(QFile::remove(original));
    EXPECT_TRUE(second->path().isNull());
    writeFile(original, "new");
    EXPECT_TRUE(second->path().isNull());

    const auto root = RBAlias::aliasWithPath(QStringLiteral("/"));
    ASSERT_TRUE(root);
    EXPECT_EQ(resolvedFromData(root), QStringLiteral("/"));
    const QByteArray rootBytes = root->data();
    const auto rootRecord =
        rk::alias::decode(reinterpret_cast<const uint8_t *>(rootBytes.data()), static_cast<size_t>(rootBytes.size()));
    ASSERT_TRUE(rootRecord);
    EXPECT_FALSE(rootRecord->relative) << "no relative-to folder for /";
    EXPECT_TRUE(rootRecord->name.empty());

    for (const QString &nothing : {QString(), QStringLiteral(""), folder.file("missing")}) {
        EXPECT_EQ(RBAlias::aliasWithPath(nothing), nullptr) << nothing.toStdString();
    }
    EXPECT_EQ(RBAlias::aliasWithData(QByteArray()), nullptr);
}

// Damaged, truncated, foreign and random bytes answer nothing, never a path.
TEST(RBAlias, DamagedRecordsAnswerNothing)
{
    Folder folder;
    writeFile(folder.file("target"));
    const QByteArray good = RBAlias::aliasWithPath(folder.file("target"))->data();
    ASSERT_EQ(RBAlias::aliasWithData(good)->path(), folder.file("target"));

    int tried = 0;
    const auto expectNothing = [&](const QByteArray &bytes, const std::string &what) {
        ++tried;
        const auto alias = RBAlias::aliasWithData(bytes);
        ASSERT_TRUE(alias) << what;
        EXPECT_TRUE(alias->path().isNull()) << what;
    };
    for (qsizetype bit = 0; bit < good.size() * 8; ++bit) {
        QByteArray flipped = good;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
        expectNothing(flipped, "bit " + std::to_string(bit));
    }
    for (qsizetype length = 0; length < good.size(); ++length) {
        expectNothing(good.left(length), "first " + std::to_string(length) + " bytes");
    }
    expectNothing(good + '\0', "one byte too many");
    std::mt19937 random(20260101);
    for (int i = 0; i < 2000; ++i) {
        QByteArray bytes(static_cast<qsizetype>(random() % 200), '\0');
        for (char &byte : bytes)
            byte = static_cast<char>(random());
        if (i % 2 == 0) bytes.replace(0, 4, "RKAl"); // past the magic, at least
        expectNothing(bytes, "random " + std::to_string(i));
    }
    expectNothing(QByteArray(""), "empty");
    expectNothing(QByteArray("\x89PNG\r\n\x1a\n", 8), "a PNG header");
    EXPECT_GT(tried, 2500);
}

// Records whose checksum is right but whose content is not a record.
TEST(AliasRecord, InconsistentContentIsRefused)
{
    const rk::alias::AliasRecord valid{"/tmp/a", "a", 1, 2, true, false, 0, 0};
    struct Row {
        const char *name;
        std::function<void(rk::alias::AliasRecord &)> spoil;
    };
    const Row rows[] = {
        {"relative path", [](auto &r) { r.path = "tmp/a"; }},
        {"dot-dot component", [](auto &r) { r.path = "/tmp/../a"; }},
        {"dot component", [](auto &r) { r.path = "/./a"; }},
        {"double slash", [](auto &r) { r.path = "//a"; }},
        {"final slash",
         [](auto &r) {
             r.path = "/tmp/a/";
             r.name = "";
         }},
        {"NUL in the path",
         [](auto &r) {
             r.path = std::string("/tmp/a\0b", 8);
             r.name = std::string("a\0b", 3);
         }},
        {"name not the last component", [](auto &r) { r.name = "b"; }},
        {"root marked relative",
         [](auto &r) {
             r.path = "/";
             r.name = "";
         }},
        {"item not marked relative", [](auto &r) { r.relative = false; }},
        {"nanoseconds out of range",
         [](auto &r) {
             r.hasBirthTime = true;
             r.birthNanoseconds = 1000000000;
         }},
        {"birth time without its flag", [](auto &r) { r.birthSeconds = 5; }},
        {"path too long",
         [](auto &r) {
             r.path = "/" + std::string(4095, 'p');
             r.name = std::string(4095, 'p');
         }},
    };
    const std::string bytes = rk::alias::encode(valid);
    ASSERT_TRUE(rk::alias::decode(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()));
    for (const Row &row : rows) {
        rk::alias::AliasRecord record = valid;
        row.spoil(record);
        const std::string spoilt = rk::alias::encode(record);
        EXPECT_FALSE(rk::alias::decode(reinterpret_cast<const uint8_t *>(spoilt.data()), spoilt.size())) << row.name;
        EXPECT_FALSE(rk::alias::resolve(record)) << row.name;
    }
}

TEST(FSSpec, SpecificationAndTheEmptyFile)
{
    Folder folder;
    writeFile(folder.file("existing"), "keep me");
    ASSERT_TRUE(QDir().mkdir(folder.file("sub")));
    struct Row {
        const char *name;
        QString path;
        bool create;
        bool expected;
        bool fileAfter;
    };
    const Row rows[] = {
        {"existing file", folder.file("existing"), false, true, true},
        {"existing file, create asked", folder.file("existing"), true, true, true},
        {"folder", folder.file("sub"), false, true, true},
        {"missing, no create", folder.file("missing"), false, false, false},
        {"missing, create", folder.file("made"), true, true, true},
        {"missing folder, create", folder.file("nofolder/x"), true, false, false},
        {"empty path", QStringLiteral(""), true, false, false},
    };
    for (const Row &row : rows) {
        rk::FSSpec spec;
        EXPECT_EQ(rk::getFSSpec(row.path, &spec, row.create), row.expected) << row.name;
        EXPECT_EQ(!row.path.isEmpty() && QFileInfo::exists(row.path), row.fileAfter) << row.name;
        if (!row.expected) continue;
        const struct stat item = statOf(row.path);
        const struct stat parent = statOf(QFileInfo(row.path).absolutePath());
        EXPECT_EQ(spec.device, static_cast<uint64_t>(item.st_dev)) << row.name;
        EXPECT_EQ(spec.parentInode, static_cast<uint64_t>(parent.st_ino)) << row.name;
        EXPECT_EQ(spec.name, QFileInfo(row.path).fileName()) << row.name;
    }
    QFile existing(folder.file("existing"));
    ASSERT_TRUE(existing.open(QIODevice::ReadOnly));
    EXPECT_EQ(existing.readAll(), QByteArray("keep me")) << "never truncated";
    EXPECT_EQ(QFileInfo(folder.file("made")).size(), 0);

    // A later step failing leaves the empty file behind.
    EXPECT_FALSE(rk::getFSSpec(folder.file("left behind"), nullptr, true));
    EXPECT_TRUE(QFileInfo(folder.file("left behind")).isFile());
    rk::FSSpec root;
    ASSERT_TRUE(rk::getFSSpec(QStringLiteral("/"), &root, false));
    EXPECT_EQ(root.name, QStringLiteral("/"));
}
