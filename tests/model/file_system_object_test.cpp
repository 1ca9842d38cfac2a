// RBFileSystemObject over real local items (a fresh folder of every kind),
// cross-checked with stat, getfattr and the identification of single paths;
// and over remote records built as a listing parser builds them.
#include <rkcore/AssertionFailure.h>
#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBPermission.h>
#include <rkcore/rpf_diagnostics.h>

#include <QDir>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "../log_capture.h"

using namespace rk;
namespace fs = std::filesystem;

namespace {

void writeFile(const QString &path, const std::string &text)
{
    std::ofstream(path.toStdString()) << text;
}

void writeDesktopLink(const QString &path, const QString &target)
{
    writeFile(path, "[Desktop Entry]\nType=Link\nName=x\nURL=file://" + target.toStdString() + "\n");
}

void setFinderInfo(const QString &path, const char type[4], uint16_t flags)
{
    std::array<unsigned char, 32> block{};
    std::memcpy(block.data(), type, 4);
    block[8] = static_cast<unsigned char>(flags >> 8U);
    block[9] = static_cast<unsigned char>(flags & 0xFFU);
    ASSERT_EQ(setxattr(path.toUtf8().constData(), "user.com.apple.FinderInfo", block.data(), block.size(), 0), 0);
}

std::shared_ptr<RBFileSystemObject> childNamed(const RBFileSystemObject &folder, const QString &name)
{
    for (const auto &child : folder.actualContents())
        if (child->name() == name) return child;
    return nullptr;
}

std::string shell(const std::string &command)
{
    std::string output;
    if (FILE *pipe = popen(command.c_str(), "r")) {
        std::array<char, 256> buffer{};
        while (fgets(buffer.data(), buffer.size(), pipe) != nullptr)
            output += buffer.data();
        pclose(pipe);
    }
    while (!output.empty() && output.back() == '\n')
        output.pop_back();
    return output;
}

// A folder holding one item of every kind the objects tell apart.
class LocalFolder : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        root = dir.path();
        const QDir d(root);
        writeFile(root + "/plain.txt", "hello");
        d.mkdir("folder");
        QFile::link(root + "/plain.txt", root + "/link-to-file");
        QFile::link(root + "/folder", root + "/link-to-folder");
        QFile::link(root + "/missing", root + "/dangling");
        ASSERT_EQ(mkfifo((root + "/fifo").toUtf8().constData(), 0644), 0);
        d.mkpath("Tool.app/Contents/MacOS");
        fs::copy_file("/bin/true", (root + "/Tool.app/Contents/MacOS/Tool").toStdString());
        d.mkpath("Empty.app");
        d.mkdir("Plugin.bundle");
        d.mkdir("Thing.AppDir");
        fs::copy_file("/bin/true", (root + "/Thing.AppDir/AppRun").toStdString());
        fs::copy_file("/bin/true", (root + "/program").toStdString());
        writeDesktopLink(root + "/to-folder.desktop", root + "/folder");
        writeDesktopLink(root + "/to-file.desktop", root + "/plain.txt");
        writeDesktopLink(root + "/to-program.desktop", root + "/program");
        writeDesktopLink(root + "/chain.desktop", root + "/to-folder.desktop");
        writeDesktopLink(root + "/broken.desktop", root + "/nothing-here");
        writeFile(root + "/launcher.desktop", "[Desktop Entry]\nType=Application\nName=x\nExec=true\n");
        writeFile(root + "/marked", "x");
        setFinderInfo(root + "/marked", "APPL", 0);
    }

    QTemporaryDir dir;
    QString root;
};

struct KindRow {
    const char *name;
    int32_t kind;
    int32_t targetKind; // -1: left as it was (0 for a new object)
    bool packaged;
};

const KindRow kKinds[] = {
    {"plain.txt", kRBKindFile, 0, false},
    {"folder", kRBKindFolder, 0, false},
    {"link-to-file", kRBKindSymbolicLink, kRBKindFile, false},
    {"link-to-folder", kRBKindSymbolicLink, kRBKindFolder, false},
    {"dangling", kRBKindNone, 0, false}, // the existence test follows the link
    {"fifo", kRBKindNone, 0, false},
    {"Tool.app", kRBKindApplication, 0, true},
    {"Empty.app", kRBKindPackage, 0, false},
    {"Plugin.bundle", kRBKindPackage, 0, false},
    {"Thing.AppDir", kRBKindApplication, 0, true},
    {"program", kRBKindApplication, 0, false},
    {"to-folder.desktop", kRBKindAlias, kRBKindFolder, false},
    {"to-file.desktop", kRBKindAlias, kRBKindFile, false},
    {"to-program.desktop", kRBKindApplication, 0, false}, // an alias to a single-file application
    {"chain.desktop", kRBKindAlias, kRBKindFolder, false},
    {"broken.desktop", kRBKindFile, 0, false},
    {"launcher.desktop", kRBKindApplication, 0, false},
    {"marked", kRBKindApplication, 0, false},
};

TEST_F(LocalFolder, ChildrenAreIdentifiedAsSinglePathsAre)
{
    const auto folder = RBFileSystemObject::newFSOForLocalPath(root, true);
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->fsoKind(), kRBKindFolder);
    EXPECT_EQ(folder->totalItems(), static_cast<int32_t>(std::size(kKinds)));
    for (const KindRow &row : kKinds) {
        const QString path = root + "/" + row.name;
        const auto child = childNamed(*folder, row.name);
        ASSERT_TRUE(child) << row.name;
        EXPECT_EQ(std::make_tuple(child->fsoKind(), child->aliasOrLinkTargetKind(), child->isApplicationPackaged()),
                  std::make_tuple(row.kind, row.targetKind, row.packaged))
            << row.name;
        int32_t target = 0;
        bool packaged = false;
        EXPECT_EQ(RBFileSystemObject::typeForItemAtPath(path, &target, &packaged), row.kind) << row.name;
        EXPECT_EQ(std::make_tuple(target, packaged), std::make_tuple(row.targetKind, row.packaged)) << row.name;
    }
    // Predicates read the kind; a local folder-like item is a directory when its record is one.
    const auto app = childNamed(*folder, "Tool.app");
    EXPECT_TRUE(app->isApplication() && app->isPackagedApplication() && app->isDir() && !app->isFile());
    EXPECT_TRUE(childNamed(*folder, "Plugin.bundle")->isDir());
    EXPECT_TRUE(childNamed(*folder, "link-to-folder")->isLink());
    EXPECT_FALSE(childNamed(*folder, "link-to-folder")->isDir());
    EXPECT_TRUE(childNamed(*folder, "to-folder.desktop")->isAlias());
    EXPECT_EQ(childNamed(*folder, "to-folder.desktop")->aliasOrLinkTargetPath(), root + "/folder");
    EXPECT_EQ(childNamed(*folder, "chain.desktop")->aliasOrLinkTargetPath(), root + "/folder");
    EXPECT_EQ(RBFileSystemObject::resolveAliasFromFileAtPath(root + "/plain.txt"), root + "/plain.txt");
    EXPECT_TRUE(RBFileSystemObject::resolveAliasFromFileAtPath(QString()).isNull());
}

TEST_F(LocalFolder, ObjectsOfATreeKeepItsRecordsAndNoCycleKeepsThemAlive)
{
    std::weak_ptr<RBFileSystemObject> weakFolder;
    std::shared_ptr<RBFileSystemObject> kept;
    {
        const auto folder = RBFileSystemObject::newFSOForLocalPath(root);
        ASSERT_TRUE(folder);
        weakFolder = folder;
        kept = childNamed(*folder, "plain.txt");
        // One object per record.
        EXPECT_EQ(RBFileSystemObject::newFSOWithCStruct(kept->cstruct()), kept);
        EXPECT_EQ(kept->parent(), folder);
    }
    EXPECT_TRUE(weakFolder.expired()); // children do not hold their parent
    // The child still holds the records: its parent comes back as a new object over the same record.
    auto parent = kept->parent();
    ASSERT_TRUE(parent);
    EXPECT_EQ(parent->completePath(), root);
    EXPECT_EQ(kept->completePath(), root + "/plain.txt");
    EXPECT_EQ(RBFileSystemObject::newFSOWithCStruct(parent->cstruct()), parent);

    // A record of the tree whose object has gone gets a new one that shares the tree: the records
    // outlive the objects the test held so far (AddressSanitizer would see a use after free).
    rpf_fso *folderRecord = rpf_fso_get_subitem_at_index(parent->cstruct(), 0, RPF_FSO_SUBDIRECTORIES);
    ASSERT_NE(folderRecord, nullptr);
    EXPECT_FALSE(rpf_fso_has_object(folderRecord));
    const auto again = RBFileSystemObject::newFSOWithCStruct(folderRecord);
    const QString expected = again->completePath();
    kept.reset();
    parent.reset();
    EXPECT_EQ(again->completePath(), expected);
    EXPECT_EQ(again->parent()->completePath(), root);
}

TEST_F(LocalFolder, LinkTargetsFollowTheFoldingRules)
{
    writeFile(root + "/x", "");
    writeFile(root + "/folder/y", "");
    writeFile(root + "/folder/z", "");
    QFile::link("../x", root + "/folder/up");
    QFile::link("./y", root + "/folder/here");
    QFile::link("z", root + "/folder/bare");
    QFile::link("../folder/./y", root + "/folder/unfolded");
    const std::map<QString, QString> expected = {
        {"up", root + "/x"},
        {"here", root + "/folder/y"},
        {"bare", root + "/folder/z"},
        {"unfolded", root + "/folder/./y"}, // one "../" is folded, nothing else is
    };
    const auto folder = RBFileSystemObject::newFSOForLocalPath(root + "/folder");
    for (const auto &[name, target] : expected) {
        const auto child = childNamed(*folder, name);
        ASSERT_TRUE(child) << name.toStdString();
        EXPECT_EQ(child->aliasOrLinkTargetPath(), target) << name.toStdString();
        EXPECT_EQ(shell("readlink -f " + child->aliasOrLinkTargetPath().toStdString()),
                  shell("readlink -f " + child->completePath().toStdString()));
    }
    EXPECT_TRUE(childNamed(*folder, "y")->aliasOrLinkTargetPath().isNull()); // neither link nor alias

    // In a folder just below "/", the shortened parent is "/" and the slash is doubled.
    const QString top = "/rkcore-link-test-" + QString::number(getpid());
    ASSERT_TRUE(QDir().mkpath(top));
    QFile::link("../" + top.mid(1), top + "/self");
    const auto link = childNamed(*RBFileSystemObject::newFSOForLocalPath(top), "self");
    EXPECT_EQ(link->aliasOrLinkTargetPath(), "/" + top);
    QFile::remove(top + "/self");
    QDir().rmdir(top);
}

TEST_F(LocalFolder, CatalogueInformationAgreesWithTheSystem)
{
    const QString plain = root + "/plain.txt";
    setFinderInfo(plain, "TEXT", 0x4000 | 0x0400);
    const auto folder = RBFileSystemObject::newFSOForLocalPath(root);
    const auto item = childNamed(*folder, "plain.txt");
    EXPECT_EQ(item->typeAsString(), "TEXT");
    EXPECT_EQ(item->type(), RBFileSystemObject::fourCharCodeToOSType("TEXT"));
    EXPECT_EQ(item->creator(), 0U);
    EXPECT_EQ(shell("getfattr --only-values -n user.com.apple.FinderInfo " + plain.toStdString() + " | head -c 4"),
              "TEXT");
    EXPECT_TRUE(item->isInvisible() && item->hasCustomIcon());
    EXPECT_FALSE(item->isLocked());

    struct stat status {};
    ASSERT_EQ(stat(plain.toUtf8().constData(), &status), 0);
    EXPECT_EQ(item->dateModified().date.toSecsSinceEpoch(), status.st_mtime);
    const std::string birth = shell("stat -c %W " + plain.toStdString());
    if (birth != "0") {
        EXPECT_EQ(item->dateCreated().toSecsSinceEpoch(), std::stoll(birth));
    }
    EXPECT_FALSE(item->dateModifiedAsString().isEmpty());

    // Damaged Finder information is not available.
    const QString damaged = root + "/damaged";
    writeFile(damaged, "");
    ASSERT_EQ(setxattr(damaged.toUtf8().constData(), "user.com.apple.FinderInfo", "short", 5, 0), 0);
    const auto broken = RBFileSystemObject::newFSOForLocalPath(damaged);
    EXPECT_EQ(broken->type(), static_cast<OSType>(-1));
    EXPECT_EQ(broken->creator(), static_cast<OSType>(-1));

    // The whole node-flags word is tested: folders and hard-linked files count as locked.
    EXPECT_TRUE(childNamed(*folder, "folder")->isLocked());
    EXPECT_FALSE(childNamed(*folder, "Plugin.bundle")->isLocked()); // packages never are
    ASSERT_EQ(link(plain.toUtf8().constData(), (root + "/hard").toUtf8().constData()), 0);
    EXPECT_TRUE(RBFileSystemObject::newFSOForLocalPath(plain)->isLocked());

    // The folder's .hidden file names hidden items.
    writeFile(root + "/.hidden", "folder\nnothing\n");
    const auto reread = RBFileSystemObject::newFSOForLocalPath(root);
    EXPECT_TRUE(childNamed(*reread, "folder")->isInvisible());
    EXPECT_FALSE(childNamed(*reread, "Plugin.bundle")->isInvisible());

    // Versions come from a bundle's information dictionary; a damaged one gives none.
    writeFile(root + "/Tool.app/Contents/Info.plist",
              "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleGetInfoString</key>"
              "<string>Tool 1.2</string></dict></plist>");
    EXPECT_EQ(RBFileSystemObject::newFSOForLocalPath(root + "/Tool.app")->versionString(), "Tool 1.2");
    writeFile(root + "/Tool.app/Contents/Info.plist", "<plist><dict><key>");
    EXPECT_TRUE(RBFileSystemObject::newFSOForLocalPath(root + "/Tool.app")->versionString().isNull());
    EXPECT_TRUE(item->versionString().isNull());

    EXPECT_EQ(RBFileSystemObject::newFSOForLocalPath("/")->volumeName().isEmpty(), false);
    EXPECT_EQ(item->kindAsString(), QStringLiteral("plain text document"));
    EXPECT_EQ(childNamed(*folder, "folder")->kindAsString(), QStringLiteral("folder"));
}

TEST_F(LocalFolder, MountPointsAreVolumes)
{
    const QString point = root + "/volume";
    QDir(root).mkdir("volume");
    if (mount("none", point.toUtf8().constData(), "tmpfs", 0, "size=1m") != 0) GTEST_SKIP() << "cannot mount here";
    const auto folder = RBFileSystemObject::newFSOForLocalPath(root);
    const auto volume = childNamed(*folder, "volume");
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->fsoKind(), kRBKindVolume);
    EXPECT_EQ(RBFileSystemObject::typeForItemAtPath(point, nullptr, nullptr), kRBKindVolume);
    EXPECT_EQ(volume->name(), "volume"); // no label: the mount point's last component
    EXPECT_EQ(shell("findmnt -n -o TARGET " + point.toStdString()), point.toStdString());
    umount(point.toUtf8().constData());
}

TEST_F(LocalFolder, CarbonApplicationsStartWithTheirSignature)
{
    writeFile(root + "/pef", "Joy!peffpwpc");
    writeFile(root + "/short", "Jo");
    writeFile(root + "/Tool.app/Contents/MacOS/Tool", "Joy!");
    const std::map<QString, bool> expected = {
        {"pef", true}, {"short", false}, {"plain.txt", false}, {"fifo", false}, {"Tool.app", true}};
    const auto folder = RBFileSystemObject::newFSOForLocalPath(root);
    for (const auto &[name, carbon] : expected)
        EXPECT_EQ(childNamed(*folder, name)->isCarbonApplication(), carbon) << name.toStdString();
}

TEST(FileSystemObjectFactories, RefuseWhatCannotBeReadWithTheirLogLines)
{
    EXPECT_EQ(RBFileSystemObject::newFSOForLocalPath(QString()), nullptr);
    rpf_diagnostics_set_stream(nullptr);
    const std::pair<QString, QString> rows[] = {
        {QString(), "RBFileSystemObject + ( id ) newFSOForLocalPath [ thePath was null ]"},
        {QString("/tmp/a") + QChar(0) + "b",
         QString("RBFileSystemObject + ( id ) newFSOForLocalPath could not get file "
                 "system rep [ /tmp/a") +
             QChar(0) + "b ]"},
        {"/no/such/item", "RBFileSystemObject + ( id ) newFSOForLocalPath:(NSString *)thePath Failed to get item "
                          "information"},
    };
    for (const auto &[path, line] : rows) {
        const rktest::LogCapture log;
        EXPECT_EQ(RBFileSystemObject::newFSOForLocalPath(path, true), nullptr);
        EXPECT_EQ(rktest::LogCapture::lines(), QStringList{line});
    }
    rpf_diagnostics_reset();
    try {
        RBFileSystemObject::newFSOWithCStruct(nullptr);
        FAIL() << "no assertion";
    } catch (const AssertionFailure &failure) {
        EXPECT_EQ(std::make_tuple(failure.file(), failure.line(), failure.description()),
                  std::make_tuple(QStringLiteral("UFServices/RBFileSystemObject"), 223,
                                  QStringLiteral("RBFilesystemObject : File Info Was NULL")));
    }
}

// A path given as bytes that are not UTF-8 keeps them: the folder is read, its
// child keeps its exact name, and both are identified by their own bytes
// (through a QString the bytes would turn into U+FFFD and name nothing).
TEST(FileSystemObjectFactories, PathsAsBytesNeedNotBeUtf8)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray folder = QFile::encodeName(dir.path()) + "/caf\xe9 \xff";
    ASSERT_EQ(mkdir(folder.constData(), 0755), 0);
    std::ofstream(folder.toStdString() + "/na\xefve").put('x');
    rpf_diagnostics_set_stream(nullptr);
    const auto object = RBFileSystemObject::newFSOForLocalPathBytes(folder, true);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->fsoKind(), kRBKindFolder);
    ASSERT_EQ(object->actualContents().size(), 1);
    const auto &child = object->actualContents().first();
    EXPECT_EQ(QByteArray(child->cstruct()->name), QByteArray("na\xefve"));
    EXPECT_EQ(child->fsoKind(), kRBKindFile);
    const auto file = RBFileSystemObject::newFSOForLocalPathBytes(folder + "/na\xefve", false);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->fsoKind(), kRBKindFile);
    // What cannot name an item: nothing, with errno saying why.
    const std::pair<QByteArray, int> refused[] = {
        {QByteArray(), EINVAL}, {QByteArray("/tmp/a\0b", 8), EINVAL}, {folder + "/missing", ENOENT}};
    for (const auto &[path, error] : refused) {
        errno = 0;
        EXPECT_EQ(RBFileSystemObject::newFSOForLocalPathBytes(path, true), nullptr) << path.constData();
        EXPECT_EQ(errno, error) << path.constData();
    }
    rpf_diagnostics_reset();
    (void)std::filesystem::remove_all(std::filesystem::path(folder.toStdString()));
}

TEST(FileSystemObjectDates, CatalogueTimesConvertBothWays)
{
    EXPECT_EQ(RBFileSystemObject::carbonReferenceDate(), -3061152000.0);
    const UTCDateTime epoch1970 = static_cast<UTCDateTime>(2082844800) << 16U;
    EXPECT_EQ(RBFileSystemObject::UTCDateTimeToNSDate(&epoch1970), QDateTime::fromSecsSinceEpoch(0, QTimeZone::utc()));
    UTCDateTime back = 0;
    RBFileSystemObject::NSDateToUTCDateTime(QDateTime::fromSecsSinceEpoch(0, QTimeZone::utc()), &back);
    EXPECT_EQ(back, epoch1970);
    EXPECT_EQ(RBFileSystemObject::osTypeToFourCharCode(0x54455854), "TEXT");
    EXPECT_EQ(RBFileSystemObject::fourCharCodeToOSType("APPL"), 0x4150504CU);
}

// ---- remote records, as a listing parser builds them ----

char *dup(const char *text)
{
    return strdup(text);
}

struct RemoteEntry {
    const char *name;
    int32_t type;
    uint16_t perms;
    int32_t size;
    int32_t mtime;
};

class RemoteFolder : public testing::Test {
protected:
    rpf_fso *add(const RemoteEntry &entry)
    {
        rpf_fso *child = rpf_fso_new(entry.type, RPF_FSO_REMOTE, entry.perms, dup("Jan 1 2020"), entry.name, dup("o"),
                                     dup("g"), 1, entry.size, nullptr, "/pub");
        child->mtime = entry.mtime;
        rpf_fso_add_subitem(folder, child);
        return child;
    }
    std::vector<QString> names(const std::shared_ptr<RBFileSystemObject> &object) const
    {
        std::vector<QString> result;
        for (int32_t i = 0; i < object->count(); ++i)
            result.push_back(object->objectAtIndex(i)->name());
        return result;
    }
    void TearDown() override { rpf_fso_destroy_deep(folder); }

    rpf_fso *folder = rpf_fso_new(RPF_FSO_TYPE_DIRECTORY, RPF_FSO_REMOTE, 755, dup("Jan 1 2020"), "pub", dup("o"),
                                  dup("g"), 2, 0, nullptr, "/");
};

TEST_F(RemoteFolder, SortsWithTheFourComparatorsAndTheirAsymmetry)
{
    add({"apple", 2, 644, 30, 300});
    add({"Banana", 2, 600, 1, 100});
    add({"cherry", 1, 755, 999, 200});
    rpf_diagnostics_set_stream(nullptr);
    const auto object = RBFileSystemObject::newFSOWithCStruct(folder);
    rpf_diagnostics_reset();
    ASSERT_EQ(object->count(), 3); // a remote folder gathers its children at once
    using Names = std::vector<QString>;
    const std::tuple<int32_t, int32_t, Names> rows[] = {
        {kRBSortByName, 0, {"cherry", "Banana", "apple"}},
        {kRBSortByName, 1, {"apple", "Banana", "cherry"}},
        {kRBSortByDate, 0, {"Banana", "cherry", "apple"}},
        {kRBSortByDate, 1, {"apple", "cherry", "Banana"}},
        {kRBSortBySize, 0, {"cherry", "Banana", "apple"}}, // a folder counts as 0
        {kRBSortBySize, 1, {"apple", "Banana", "cherry"}},
        {kRBSortByAccess, 0, {"Banana", "apple", "cherry"}},
        {3, 1, {"Banana", "apple", "cherry"}}, // stored, sorts nothing
    };
    for (const auto &[attribute, order, expected] : rows) {
        object->setSortsByAttribute(kRBSortByAccess, 0);
        object->setSortsByAttribute(attribute, order);
        EXPECT_EQ(names(object), expected) << attribute << "/" << order;
        EXPECT_EQ(std::make_tuple(object->sortAttribute(), object->sortOrder(), object->isSorted()),
                  std::make_tuple(attribute, order, true));
    }
    const auto a = object->objectAtIndex(0);
    const auto b = object->objectAtIndex(1);
    EXPECT_EQ(a->_sortByName(*b), -b->_sortByName(*a));
    EXPECT_EQ(a->_sortByName(*a), 0);
}

TEST_F(RemoteFolder, SortingByNameAgreesWithThePairwiseComparator)
{
    // Ties (a/A), ASCII against accented and wide letters, folding beyond ASCII (ß, Σ/σ/ς).
    for (const char *name :
         {"b", "A", "a", "é", "E", "Z", "_x", "ß", "ss", "Σίσυφος", "σίσυφος", "日本", "Ä", "ä", "10", "9"})
        add({name, 2, 644, 1, 1});
    rpf_diagnostics_set_stream(nullptr);
    const auto object = RBFileSystemObject::newFSOWithCStruct(folder);
    rpf_diagnostics_reset();
    for (const int32_t order : {0, 1}) {
        auto expected = object->actualContents();
        std::stable_sort(expected.begin(), expected.end(),
                         [](const auto &a, const auto &b) { return a->_sortByName(*b) < 0; });
        if (order == 1) std::reverse(expected.begin(), expected.end());
        object->setSortsByAttribute(kRBSortByDate, 0); // back to one fixed order first
        object->setSortsByAttribute(kRBSortByName, order);
        EXPECT_EQ(object->actualContents(), expected) << "order " << order;
    }
}

TEST_F(RemoteFolder, SortingByDateAndSizeAgreesWithThePairwiseComparators)
{
    // Negative and extreme times, equal keys, sizes that are negative in the record (they widen with their sign).
    const std::pair<int32_t, int32_t> values[] = {{5, 1},   {-5, -1},       {0, 0},        {INT32_MIN, 300},
                                                  {5, 300}, {INT32_MAX, 2}, {-1, 1 << 20}, {0, 1}};
    int number = 0;
    for (const auto &[mtime, size] : values) {
        const std::string name = "item" + std::to_string(number++);
        add({name.c_str(), 2, 644, size, mtime});
    }
    rpf_diagnostics_set_stream(nullptr);
    const auto object = RBFileSystemObject::newFSOWithCStruct(folder);
    rpf_diagnostics_reset();
    for (const int32_t attribute : {kRBSortByDate, kRBSortBySize}) {
        for (const int32_t order : {0, 1}) {
            object->setSortsByAttribute(kRBSortByName, 1); // back to one fixed order first
            auto expected = object->actualContents();
            std::stable_sort(expected.begin(), expected.end(), [attribute](const auto &a, const auto &b) {
                return (attribute == kRBSortByDate ? a->_sortByDate(*b) : a->_sortBySize(*b)) < 0;
            });
            if (order == 1) std::reverse(expected.begin(), expected.end());
            object->setSortsByAttribute(attribute, order);
            EXPECT_EQ(object->actualContents(), expected) << attribute << "/" << order;
        }
    }
}

TEST_F(RemoteFolder, HidesIntoTheVisibleListWhateverSetIsHiddenSays)
{
    for (const char *name : {"a", "b", "c", "d"})
        add({name, 2, 644, 1, 1});
    rpf_diagnostics_set_stream(nullptr);
    const auto object = RBFileSystemObject::newFSOWithCStruct(folder);
    rpf_diagnostics_reset();
    EXPECT_EQ(object->filteredItemCount(), 4); // nothing visible until a filtering pass
    object->invalidateFilteredItems();
    EXPECT_EQ(object->filteredItemCount(), 0);
    const auto b = object->objectAtIndex(1);
    b->setIsHidden(false); // false hides too
    object->hideItem(b.get());
    object->objectAtIndex(2)->setIsHidden(true);
    object->setIsFiltered(true);
    EXPECT_EQ(object->filteredItemCount(), 2);
    EXPECT_EQ(names(object), (std::vector<QString>{"a", "d"}));
    EXPECT_FALSE(b->isHidden());
    object->setSortsByAttribute(kRBSortByName, 0); // sorts the visible list only
    EXPECT_EQ(names(object), (std::vector<QString>{"d", "a"}));
    object->setIsFiltered(false);
    EXPECT_EQ(names(object), (std::vector<QString>{"a", "b", "c", "d"}));
}

TEST_F(RemoteFolder, RemoteItemsAnswerTheirNotAvailableValues)
{
    rpf_fso *file = add({"notes.txt", 2, 640, 12, 1});
    rpf_diagnostics_set_stream(nullptr);
    const auto object = RBFileSystemObject::newFSOWithCStruct(file);
    EXPECT_TRUE(object->url().isNull()); // the record has no URL
    rpf_diagnostics_reset();
    EXPECT_EQ(std::make_tuple(object->creator(), object->type(), object->creatorAsString().isNull(),
                              object->dateModified().isMinusOne(), object->dateCreated().isNull(),
                              object->kindAsString(), object->isInvisible(), object->isLocked()),
              std::make_tuple(static_cast<OSType>(-1), static_cast<OSType>(-1), true, true, true,
                              QStringLiteral("Remote File"), false, false));
    EXPECT_EQ(std::make_tuple(object->name(), object->completePath(), object->parentPath(), object->extension(),
                              object->extensionReal(), object->nameWithoutExtension(), object->isRoot()),
              std::make_tuple(QStringLiteral("notes.txt"), QStringLiteral("/pub/notes.txt"), QStringLiteral("/pub"),
                              QStringLiteral("txt"), QStringLiteral("txt"), QStringLiteral("notes"), false));
    const std::pair<const char *, QString> keys[] = {
        {"NAME", "notes.txt"},        {"DATE", "Jan 1 2020"}, {"USER", "o"},       {"GROUP", "g"},
        {"PERMISSIONS", "rw-r-----"}, {"SIZE", QString()},    {"name", QString()},
    };
    for (const auto &[key, value] : keys)
        EXPECT_EQ(object->getObjectForKey(key), value) << key;
    object->setOwner("someone");
    EXPECT_EQ(object->owner(), "someone");
    EXPECT_EQ(object->parent()->completePath(), "/pub");
}

TEST(NameFunctions, HiddenNamesPatternsAndEscapes)
{
    for (const char *name : {".profile", "bin", "Temporary Items", "Desktop DB", "mach.sym", "."})
        EXPECT_TRUE(rk::isHidden(name)) << name;
    for (const char *name : {"BIN", "Temporary items", "Applications", "", "bin "})
        EXPECT_FALSE(rk::isHidden(name)) << name;
    const std::tuple<const char *, const char *, bool> patterns[] = {
        {"Report.TXT", "txt$", true}, {"Report.TXT", "^rep", true},
        {"abc", "^b", false},         {"abc", "(", false}, // does not compile
        {"naïve", "ïve", true},
    };
    for (const auto &[text, pattern, matches] : patterns)
        EXPECT_EQ(rk::matchesRegex(QString::fromUtf8(text), QString::fromUtf8(pattern)), matches) << pattern;
    const std::pair<const char *, const char *> escapes[] = {
        {"a.b", "a.b"}, {".a.b", "\\.a\\.b"}, {"*x+", "\\*x\\+"}, {"  (a]", "  \\(a]"}, {"\\d.", "\\\\d\\."},
        {"", ""},       {"{x}", "\\{x}"},
    };
    for (const auto &[text, escaped] : escapes)
        EXPECT_EQ(rk::_escapeString(QString::fromUtf8(text)), QString::fromUtf8(escaped)) << text;
    EXPECT_EQ(rk::arrayValue("ab"), (QStringList{"a", "b"}));
}

} // namespace
