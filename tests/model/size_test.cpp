// Sizes: the record's texts, single items, volumes, remote records, and the
// folder walk over a real tree, cross-checked with find, du and statvfs; its
// caching and its cancellation from another thread.
#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBFileSystemObjectSize.h>
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_size.h>

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "../log_capture.h"

using namespace rk;

namespace {

std::string shell(const std::string &command)
{
    std::string output;
    if (FILE *pipe = popen(command.c_str(), "r")) {
        std::array<char, 4096> buffer{};
        size_t read = 0;
        while ((read = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
            output.append(buffer.data(), read);
        pclose(pipe);
    }
    while (!output.empty() && output.back() == '\n')
        output.pop_back();
    return output;
}

uint64_t shellNumber(const std::string &command)
{
    return std::stoull(shell(command));
}

void writeFile(const std::string &path, size_t bytes)
{
    std::ofstream(path) << std::string(bytes, 'x');
}

void setInvisible(const std::string &path)
{
    std::array<unsigned char, 32> block{};
    block[8] = 0x40; // the invisible flag, big-endian 0x4000
    ASSERT_EQ(setxattr(path.c_str(), "user.com.apple.FinderInfo", block.data(), block.size(), 0), 0);
}

std::shared_ptr<RBFileSystemObjectSize> sizeOf(std::array<uint64_t, 11> counters)
{
    auto record = std::make_unique<RBSizeRecord>();
    record->counters = counters;
    return RBFileSystemObjectSize::initWithLocalFileSize(std::move(record));
}

QString unitText(uint64_t value)
{
    char *text = _format_size(static_cast<uint32_t>(value), static_cast<uint32_t>(value >> 32U));
    QString result = QString::fromUtf8(text);
    std::free(text);
    return result;
}

} // namespace

TEST(SizeTexts, CommaGroupingGoesThroughADouble)
{
    const std::pair<uint64_t, const char *> rows[] = {
        {0, "0"},
        {999, "999"},
        {1000, "1,000"},
        {1234567, "1,234,567"},
        {100000, "100,000"},
        {(uint64_t{1} << 53U) + 1, "9,007,199,254,740,992"}, // the lowest digit is lost
        {UINT64_MAX, "18,446,744,073,709,551,616"},
    };
    for (const auto &[value, expected] : rows)
        EXPECT_EQ(RBFileSystemObjectSize::_commaDelimitedSize(value), QString::fromLatin1(expected)) << value;
}

TEST(SizeTexts, KeysPickTheirCountersAndGetInfoTextsKeepTheirSpacing)
{
    // Distinct values per counter, so that a key reading the wrong one shows.
    const auto size = sizeOf({1500, 4096, 2000000, 2097152, 700, 2001500, 2101248, 6, 1, 5, 1});
    const std::pair<int32_t, uint64_t> keys[] = {{0, 1500},    {1, 4096},    {2, 2000000},
                                                 {3, 2097152}, {4, 2001500}, {5, 2101248}};
    for (const auto &[key, counter] : keys)
        EXPECT_EQ(size->formattedStringForKey(key), unitText(counter)) << key;
    for (int32_t key : {6, -1, 11})
        EXPECT_EQ(size->formattedStringForKey(key), QStringLiteral("Unknown Key")) << key;

    EXPECT_EQ(size->dataGetInfoString(), unitText(4096) + QStringLiteral(" on disk. ( 1,500 bytes )"));
    EXPECT_EQ(size->resourceGetInfoString(), unitText(2097152) + QStringLiteral(" on disk. ( 2,000,000 bytes )"));
    EXPECT_EQ(size->totalSizeGetInfoString(), unitText(2101248) + QStringLiteral(" on disk. ( 2,001,500 bytes )"));
    EXPECT_EQ(size->capacityGetInfoString(), unitText(2001500));
    EXPECT_EQ(size->availableGetInfoString(), unitText(700));
    EXPECT_EQ(size->usedGetInfoString(), unitText(2001500 - 700));
    EXPECT_EQ(size->containsGetInfo(), QStringLiteral("5 Files. 1 Folders. ( 1 hidden )"));
    EXPECT_EQ(std::make_tuple(size->dataForkSize(), size->physicalDataForkSize(), size->resourceForkSize(),
                              size->physicalResourceForkSize(), size->totalSize(), size->physicalTotalSize(),
                              size->containedItemCount()),
              std::make_tuple(1500U, 4096U, 2000000U, 2097152U, 2001500U, 2101248U, 6U));

    EXPECT_EQ(sizeOf({})->containsGetInfo(), QStringLiteral("No items"));
    EXPECT_EQ(sizeOf({0, 0, 0, 0, 0, 0, 0, 0, 0, 1234, 0})->containsGetInfo(),
              QStringLiteral("1,234 Files. 0 Folders. ( 0 hidden )"));
    // Used space wraps as unsigned when available exceeds capacity.
    EXPECT_EQ(sizeOf({0, 0, 0, 0, 10, 4, 0, 0, 0, 0, 0})->usedGetInfoString(), unitText(uint64_t{0} - 6));
    EXPECT_EQ(RBFileSystemObjectSize::initWithLocalFileSize(nullptr), nullptr);
}

TEST(RemoteSizes, RecordSizeWidensWithItsSignAndFoldersAddTheirCounts)
{
    rpf_diagnostics_set_stream(nullptr);
    rpf_fso *file = rpf_fso_new(RPF_FSO_TYPE_FILE, RPF_FSO_REMOTE, 644, nullptr, "big.iso", nullptr, nullptr, 1, -2,
                                nullptr, "/pub");
    rpf_fso *folder = rpf_fso_new(RPF_FSO_TYPE_DIRECTORY, RPF_FSO_REMOTE, 755, nullptr, "pub", nullptr, nullptr, 2, 512,
                                  nullptr, "/");
    for (const char *name : {"a", "b"})
        rpf_fso_add_subitem(folder, rpf_fso_new(RPF_FSO_TYPE_FILE, RPF_FSO_REMOTE, 644, nullptr, name, nullptr, nullptr,
                                                1, 1, nullptr, "/pub"));
    rpf_fso_add_subitem(folder, rpf_fso_new(RPF_FSO_TYPE_DIRECTORY, RPF_FSO_REMOTE, 755, nullptr, "sub", nullptr,
                                            nullptr, 1, 0, nullptr, "/pub"));
    {
        const auto fileObject = RBFileSystemObject::newFSOWithCStruct(file);
        const auto size = fileObject->sizeObject();
        ASSERT_NE(size, nullptr);
        EXPECT_EQ(size->dataForkSize(), UINT64_MAX - 1);
        EXPECT_EQ(size->totalSize(), UINT64_MAX - 1);
        EXPECT_EQ(size->containedItemCount(), 0U);
        EXPECT_EQ(fileObject->sizeObject(), size); // cached

        const auto folderObject = RBFileSystemObject::newFSOWithCStruct(folder);
        const auto folderSize = folderObject->sizeObject();
        EXPECT_EQ(std::make_tuple(folderSize->totalSize(), folderSize->counter(kRBSizeFiles),
                                  folderSize->counter(kRBSizeFolders), folderSize->containedItemCount()),
                  std::make_tuple(512U, 2U, 1U, 3U));
    }
    rpf_fso_destroy_deep(folder);
    rpf_fso_destroy_deep(file);
    rpf_diagnostics_reset();
}

// A tree with an item of every kind the walk must count, and names of the
// cases that the sums must treat specially.
class SizeTree : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        root = dir.path().toStdString() + "/top";
        const std::string r = root;
        ASSERT_EQ(mkdir(r.c_str(), 0755), 0);
        writeFile(r + "/plain", 1000);
        writeFile(r + "/invisible", 10);
        setInvisible(r + "/invisible");
        writeFile(r + "/listed", 3);
        writeFile(r + "/.hidden", 0);
        std::ofstream(r + "/.hidden") << "listed\nsub\n\nnot-there\n";
        ASSERT_EQ(mkdir((r + "/sub").c_str(), 0755), 0);
        writeFile(r + "/sub/a", 5000);
        writeFile(r + "/sub/forked", 7);
        const std::string fork(100, 'r');
        ASSERT_EQ(setxattr((r + "/sub/forked").c_str(), "user.com.apple.ResourceFork", fork.data(), fork.size(), 0), 0);
        ASSERT_EQ(link((r + "/sub/a").c_str(), (r + "/sub/a-again").c_str()), 0); // a hard link
        std::ofstream(r + "/sparse").close();
        ASSERT_EQ(truncate((r + "/sparse").c_str(), 50 << 20), 0);
        ASSERT_EQ(mkdir((r + "/empty").c_str(), 0755), 0);
        ASSERT_EQ(mkdir((r + "/dark").c_str(), 0755), 0);
        setInvisible(r + "/dark");
        ASSERT_EQ(symlink("plain", (r + "/to-plain").c_str()), 0);
        ASSERT_EQ(symlink("/nowhere/at/all", (r + "/dangling").c_str()), 0);
        ASSERT_EQ(symlink("loop-b", (r + "/loop-a").c_str()), 0);
        ASSERT_EQ(symlink("loop-a", (r + "/loop-b").c_str()), 0);
        ASSERT_EQ(symlink("..", (r + "/sub/up").c_str()), 0); // never followed into
        writeFile(r + "/name-\xff\xfe", 9);                   // not UTF-8
    }

    // QTemporaryDir cannot remove a name that is not UTF-8.
    void TearDown() override { unlink((root + "/name-\xff\xfe").c_str()); }

    QTemporaryDir dir;
    std::string root;
};

TEST_F(SizeTree, WalkAgreesWithFindAndDu)
{
    const std::string q = "'" + root + "'";
    const auto walk = walkFolderSizes(QByteArray::fromStdString(root), {}, nullptr);
    ASSERT_TRUE(walk.found);
    const RBSizeRecord &r = walk.record;
    EXPECT_EQ(r[kRBSizeFolders], shellNumber("find " + q + " -mindepth 1 -type d | wc -l"));
    EXPECT_EQ(r[kRBSizeFiles], shellNumber("find " + q + " -mindepth 1 ! -type d | wc -l"));
    EXPECT_EQ(r[kRBSizeContainedItems], r[kRBSizeFolders] + r[kRBSizeFiles]);
    // Data forks: every non-folder's size, except links whose target cannot be
    // examined (find's %Y is N or L for them); physical: blocks of non-links.
    EXPECT_EQ(r[kRBSizeDataFork], shellNumber("find " + q +
                                              " -mindepth 1 ! -type d -printf '%Y %s\\n' | awk '$1!=\"N\" && $1!=\"L\" "
                                              "{s+=$2} END {print s+0}'"));
    EXPECT_EQ(r[kRBSizeDataForkPhysical],
              shellNumber("find " + q +
                          " -mindepth 1 ! -type d ! -type l -printf '%b\\n' | awk '{s+=$1*512} END "
                          "{print s+0}'"));
    struct stat forked {};
    ASSERT_EQ(stat((root + "/sub/forked").c_str(), &forked), 0);
    EXPECT_EQ(r[kRBSizeResourceFork], 100U);
    EXPECT_EQ(r[kRBSizeResourceForkPhysical], static_cast<uint64_t>(forked.st_blksize));
    EXPECT_EQ(r[kRBSizeTotal], r[kRBSizeDataFork] + 100U);
    EXPECT_EQ(r[kRBSizePhysicalTotal], r[kRBSizeDataForkPhysical] + r[kRBSizeResourceForkPhysical]);
    // invisible (Finder flag), dark (Finder flag), listed and sub (.hidden).
    EXPECT_EQ(r[kRBSizeHidden], 4U);
    EXPECT_EQ(r[kRBSizeAvailable], 0U);
    // The hard-link-aware totals are du's.
    EXPECT_EQ(walk.extras.diskUsage, shellNumber("du -s -B1 " + q + " | cut -f1"));
    EXPECT_EQ(walk.extras.apparentSize, shellNumber("du -s -b " + q + " | cut -f1"));
    EXPECT_FALSE(walk.extras.cancelled);

    // Helper threads give the same figures.
    for (int threads : {2, 3}) {
        RBFolderSizeWalkOptions options;
        options.threads = threads;
        const auto parallel = walkFolderSizes(QByteArray::fromStdString(root), options, nullptr);
        EXPECT_EQ(parallel.record.counters, r.counters) << threads;
        EXPECT_EQ(std::make_tuple(parallel.extras.diskUsage, parallel.extras.apparentSize, parallel.extras.entries),
                  std::make_tuple(walk.extras.diskUsage, walk.extras.apparentSize, walk.extras.entries))
            << threads;
    }
}

TEST_F(SizeTree, FolderObjectCachesItsWalkAndTheSizeText)
{
    const auto folder = RBFileSystemObject::newFSOForLocalPath(QString::fromStdString(root), false);
    ASSERT_NE(folder, nullptr);
    const auto size = folder->sizeObject();
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(size->containsGetInfo(), QStringLiteral("14 Files. 3 Folders. ( 4 hidden )"));
    EXPECT_EQ(folder->sizeObject(), size);
    const QString text = folder->totalSizeFormattedAsString();
    EXPECT_EQ(text, size->formattedStringForKey(4));

    writeFile(root + "/more", 1 << 20);
    EXPECT_EQ(folder->sizeObject()->totalSize(), size->totalSize()); // still the cached walk
    folder->invalidateCachedSize();
    const auto again = folder->sizeObject();
    EXPECT_NE(again, size);
    EXPECT_EQ(again->totalSize(), size->totalSize() + (1U << 20U));
    EXPECT_EQ(folder->totalSizeFormattedAsString(), text); // never refreshed
}

TEST_F(SizeTree, EmptyFolderHasNoItems)
{
    const auto folder = RBFileSystemObject::newFSOForLocalPath(QString::fromStdString(root + "/empty"), false);
    const auto size = folder->sizeObject();
    ASSERT_NE(size, nullptr);
    for (int i = 0; i < kRBSizeCounterCount; ++i)
        EXPECT_EQ(size->counter(i), 0U) << i;
    EXPECT_EQ(size->containsGetInfo(), QStringLiteral("No items"));
}

TEST_F(SizeTree, SingleItemsLinksAndMissingItems)
{
    struct Row {
        const char *name;
        uint64_t data;
        bool physical; // whether counter 1 holds the blocks
    };
    const Row rows[] = {{"plain", 1000, true}, {"to-plain", 5, false}, {"sparse", 50U << 20U, true}};
    for (const Row &row : rows) {
        const auto object = RBFileSystemObject::newFSOForLocalPath(QString::fromStdString(root + "/" + row.name));
        ASSERT_NE(object, nullptr) << row.name;
        const auto size = object->sizeObject();
        ASSERT_NE(size, nullptr) << row.name;
        struct stat status {};
        ASSERT_EQ(lstat((root + "/" + row.name).c_str(), &status), 0);
        EXPECT_EQ(size->dataForkSize(), row.data) << row.name;
        EXPECT_EQ(size->physicalDataForkSize(), row.physical ? static_cast<uint64_t>(status.st_blocks) * 512U : 0U)
            << row.name;
        EXPECT_EQ(size->totalSize(), row.data) << row.name;
    }

    const auto gone = RBFileSystemObject::newFSOForLocalPath(QString::fromStdString(root + "/plain"));
    ASSERT_EQ(unlink((root + "/plain").c_str()), 0);
    rktest::LogCapture log;
    EXPECT_EQ(gone->sizeObject(), nullptr);
    EXPECT_TRUE(gone->totalSizeFormattedAsString().isNull());
    EXPECT_TRUE(log.lines().contains(QStringLiteral("getLocalFileSize : FSRef was null")));
    writeFile(root + "/plain", 20); // nothing was cached: the next call reads again
    ASSERT_NE(gone->sizeObject(), nullptr);
    EXPECT_EQ(gone->sizeObject()->totalSize(), 20U);
}

TEST_F(SizeTree, SizeSortMeasuresFilesAndCountsFoldersAsZero)
{
    const auto folder = RBFileSystemObject::newFSOForLocalPath(QString::fromStdString(root + "/sub"));
    folder->setSortsByAttribute(kRBSortBySize, 0);
    QStringList names;
    for (int32_t i = 0; i < folder->count(); ++i)
        names << folder->objectAtIndex(i)->name();
    // up is a link (2 bytes), forked 7 + 100 bytes, a and a-again 5000 each.
    EXPECT_EQ(names.first(), QStringLiteral("up"));
    EXPECT_EQ(names.at(1), QStringLiteral("forked"));
}

TEST_F(SizeTree, CancelledWalkIsCachedPartialAndTheFlagStays)
{
    const auto folder = RBFileSystemObject::newFSOForLocalPath(QString::fromStdString(root), false);
    EXPECT_FALSE(folder->folderSizeCalulationCancelled());
    folder->cancelFolderSizeCalulation();
    EXPECT_TRUE(folder->folderSizeCalulationCancelled());
    for (int round = 0; round < 2; ++round) {
        const auto size = folder->sizeObject();
        ASSERT_NE(size, nullptr);
        EXPECT_EQ(size->containedItemCount(), 1U) << round; // stopped after its first entry
        ASSERT_TRUE(size->walkExtras().has_value());
        EXPECT_TRUE(size->walkExtras()->cancelled);
        EXPECT_EQ(folder->sizeObject(), size);
        folder->invalidateCachedSize(); // the flag is never reset
    }
}

TEST(FolderWalk, CancelFromAnotherThreadStopsTheWalk)
{
    QTemporaryDir dir;
    const std::string root = dir.path().toStdString();
    for (int i = 0; i < 40; ++i) {
        const std::string sub = root + "/d" + std::to_string(i);
        ASSERT_EQ(mkdir(sub.c_str(), 0755), 0);
        for (int j = 0; j < 50; ++j)
            std::ofstream(sub + "/f" + std::to_string(j)) << j;
    }
    const auto folder = RBFileSystemObject::newFSOForLocalPath(dir.path(), false);
    std::atomic<bool> started{false};
    std::shared_ptr<RBFileSystemObjectSize> size;
    RBFolderSizeWalkOptions options;
    options.progressInterval = std::chrono::milliseconds(0);
    options.progress = [&started](const RBFolderSizeProgress &) { started.store(true); };
    std::thread walker([&] { size = folder->sizeObject(options); });
    while (!started.load())
        std::this_thread::yield();
    folder->cancelFolderSizeCalulation();
    walker.join();
    ASSERT_NE(size, nullptr);
    const bool cancelled = size->walkExtras()->cancelled;
    // Either the request came in time, or the walk had already finished.
    EXPECT_TRUE(cancelled || size->containedItemCount() == 2040U);
    EXPECT_TRUE(size->containedItemCount() == 2040U || cancelled);
    EXPECT_TRUE(folder->folderSizeCalulationCancelled());
}

TEST(FolderWalk, TwoThreadsAgreeAndStopTogether)
{
    QTemporaryDir dir;
    const std::string root = dir.path().toStdString();
    uint64_t files = 0;
    for (int i = 0; i < 30; ++i) {
        std::string folder = root + "/d" + std::to_string(i);
        ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
        for (int depth = 0; depth < i % 4; ++depth) {
            folder += "/n";
            ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
        }
        for (int j = 0; j < 40; ++j, ++files)
            std::ofstream(folder + "/f" + std::to_string(j)) << std::string(static_cast<size_t>(j), 'z');
    }
    RBFolderSizeWalkOptions two;
    two.threads = 2;
    const auto one = walkFolderSizes(QByteArray::fromStdString(root), {}, nullptr);
    const auto both = walkFolderSizes(QByteArray::fromStdString(root), two, nullptr);
    EXPECT_EQ(both.record.counters, one.record.counters);
    EXPECT_EQ(both.record[kRBSizeFiles], files);
    EXPECT_EQ(both.extras.diskUsage, shellNumber("du -s -B1 '" + root + "' | cut -f1"));

    std::atomic<bool> cancel{false};
    std::atomic<bool> started{false};
    two.progressInterval = std::chrono::milliseconds(0);
    two.progress = [&started](const RBFolderSizeProgress &) { started.store(true); };
    RBFolderSizeWalkResult stopped;
    std::thread walker([&] { stopped = walkFolderSizes(QByteArray::fromStdString(root), two, &cancel); });
    while (!started.load())
        std::this_thread::yield();
    cancel.store(true);
    walker.join();
    EXPECT_TRUE(stopped.extras.cancelled || stopped.record.counters == one.record.counters);
    EXPECT_LE(stopped.record[kRBSizeContainedItems], one.record[kRBSizeContainedItems]);
}

TEST(FolderWalk, TreesDeeperThanDescriptorsAndPathLengthsAreWalkedWhole)
{
    QTemporaryDir dir;
    const std::string root = dir.path().toStdString();
    int folder = open(root.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(folder, 0);
    for (int depth = 0; depth < 1600; ++depth) { // paths of about 4,800 bytes: more than PATH_MAX
        ASSERT_EQ(mkdirat(folder, "dd", 0755), 0);
        const int child = openat(folder, "dd", O_RDONLY | O_DIRECTORY);
        close(folder);
        ASSERT_GE(child, 0);
        folder = child;
        const int file = openat(folder, "f", O_CREAT | O_WRONLY, 0644);
        ASSERT_EQ(write(file, "abc", 3), 3);
        close(file);
    }
    close(folder);
    for (int threads : {1, 2}) {
        RBFolderSizeWalkOptions options;
        options.threads = threads;
        const auto walk = walkFolderSizes(QByteArray::fromStdString(root), options, nullptr);
        EXPECT_EQ(walk.record[kRBSizeFolders], 1600U) << threads;
        EXPECT_EQ(walk.record[kRBSizeFiles], 1600U) << threads;
        EXPECT_EQ(walk.record[kRBSizeDataFork], 4800U) << threads;
        EXPECT_EQ(walk.extras.unreadableFolders, 0U) << threads;
        EXPECT_EQ(walk.extras.diskUsage, shellNumber("du -s -B1 '" + root + "' | cut -f1")) << threads;
    }
    // QTemporaryDir cannot remove paths this long.
    EXPECT_EQ(std::system(("rm -rf '" + root + "/dd'").c_str()), 0);
}

TEST(FolderWalk, ProgressIsReportedAndMissingPathsAreNotFound)
{
    QTemporaryDir dir;
    for (int i = 0; i < 3000; ++i)
        std::ofstream((dir.path() + QStringLiteral("/f%1").arg(i)).toStdString()) << "x";
    int calls = 0;
    RBFolderSizeProgress last;
    RBFolderSizeWalkOptions options;
    options.progressInterval = std::chrono::milliseconds(0);
    options.progress = [&](const RBFolderSizeProgress &progress) {
        EXPECT_GE(progress.items, last.items);
        last = progress;
        ++calls;
    };
    const auto walk = walkFolderSizes(QFile::encodeName(dir.path()), options, nullptr);
    EXPECT_GE(calls, 3); // every 1024 entries, and once at the end
    EXPECT_EQ(last.items, 3000U);
    EXPECT_EQ(last.bytes, 3000U);
    EXPECT_FALSE(walkFolderSizes("/no/such/folder", {}, nullptr).found);
}

TEST(FolderWalk, UnreadableFolderStillCounts)
{
    QTemporaryDir dir;
    const std::string locked = dir.path().toStdString() + "/locked";
    ASSERT_EQ(mkdir(locked.c_str(), 0755), 0);
    std::ofstream(locked + "/inside") << "secret";
    ASSERT_EQ(chmod(locked.c_str(), 0), 0);
    const auto walk = walkFolderSizes(QFile::encodeName(dir.path()), {}, nullptr);
    chmod(locked.c_str(), 0755);
    EXPECT_EQ(walk.record[kRBSizeFolders], 1U);
    if (geteuid() == 0) GTEST_SKIP() << "root reads every folder";
    EXPECT_EQ(walk.record[kRBSizeFiles], 0U);
    EXPECT_EQ(walk.extras.unreadableFolders, 1U);
}

TEST(FolderWalk, SecondFileSystemIsEnteredUnlessAskedToStayOnOne)
{
    QTemporaryDir dir;
    const std::string root = dir.path().toStdString();
    const std::string mountPoint = root + "/mnt";
    ASSERT_EQ(mkdir(mountPoint.c_str(), 0755), 0);
    std::ofstream(root + "/here") << std::string(3000, 'h');
    if (mount("rkcore-test", mountPoint.c_str(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "cannot mount a tmpfs here (" << std::strerror(errno) << ")";
    std::ofstream(mountPoint + "/there") << std::string(5000, 't');
    const QByteArray top = QByteArray::fromStdString(root);
    const auto across = walkFolderSizes(top, {}, nullptr);
    RBFolderSizeWalkOptions stay;
    stay.oneFileSystem = true;
    const auto one = walkFolderSizes(top, stay, nullptr);
    const uint64_t duAcross = shellNumber("du -s -B1 '" + root + "' | cut -f1");
    const uint64_t duOne = shellNumber("du -s -x -B1 '" + root + "' | cut -f1");
    umount(mountPoint.c_str());
    EXPECT_EQ(across.record[kRBSizeFiles], 2U);
    EXPECT_EQ(across.record[kRBSizeDataFork], 8000U);
    EXPECT_EQ(one.record[kRBSizeFiles], 1U);
    EXPECT_EQ(one.record[kRBSizeFolders], 1U); // the mount point still counts
    EXPECT_EQ(across.extras.diskUsage, duAcross);
    EXPECT_EQ(one.extras.diskUsage, duOne);
}

TEST(VolumeSizes, ReadAfreshFromStatvfsAndNeverCached)
{
    const auto volume = RBFileSystemObject::newFSOForLocalPath(QStringLiteral("/"), false);
    ASSERT_NE(volume, nullptr);
    ASSERT_TRUE(volume->isVolume());
    const auto first = volume->sizeObject();
    ASSERT_NE(first, nullptr);
    struct statvfs fs {};
    ASSERT_EQ(statvfs("/", &fs), 0);
    EXPECT_EQ(first->totalSize(), static_cast<uint64_t>(fs.f_blocks) * fs.f_frsize);
    EXPECT_EQ(first->totalSize(), shellNumber("df -B1 --output=size / | tail -1"));
    const auto avail = static_cast<uint64_t>(fs.f_bavail) * fs.f_frsize;
    EXPECT_NEAR(static_cast<double>(first->counter(kRBSizeAvailable)), static_cast<double>(avail), 64.0 * 1024 * 1024);
    // Others create files meanwhile: the inode count is close, not equal.
    EXPECT_NEAR(static_cast<double>(first->counter(kRBSizeFiles)),
                static_cast<double>(static_cast<uint32_t>(fs.f_files - fs.f_ffree)), 100000.0);
    EXPECT_EQ(first->containedItemCount(), first->counter(kRBSizeFiles));
    EXPECT_NE(volume->sizeObject(), first); // a new object each time
    const QString used = volume->totalSizeFormattedAsString();
    EXPECT_TRUE(used.endsWith(QStringLiteral("B"))) << used.toStdString();
    EXPECT_EQ(volume->totalSizeFormattedAsString(), used); // made once
}
