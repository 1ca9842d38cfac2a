// Local items read into records, cross-checked against lstat/stat, the user and group databases, readdir, realpath.
#include <rkcore/rpf_date.h>

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "../../src/core/rpf_clock_p.h"
#include "fso_test_support.h"

using namespace rktest;

namespace {

const auto canonical = [](const std::string &path) { return take(realpath(path.c_str(), nullptr)); };
const auto userName = [](uid_t id) { return text(getpwuid(id) ? getpwuid(id)->pw_name : "Unknown"); };
const auto groupName = [](gid_t id) { return text(getgrgid(id) ? getgrgid(id)->gr_name : "Unknown"); };

std::vector<rpf_fso *> children(const rpf_fso *dir)
{
    std::vector<rpf_fso *> all;
    for (int32_t i = 0; i < rpf_fso_file_count(dir); ++i)
        all.push_back(rpf_fso_get_subitem_at_index(dir, i, RPF_FSO_FILES));
    for (int32_t i = 0; i < rpf_fso_subdirectory_count(dir); ++i)
        all.push_back(rpf_fso_get_subitem_at_index(dir, i, RPF_FSO_SUBDIRECTORIES));
    return all;
}

rpf_fso *child(const rpf_fso *dir, const std::string &name)
{
    const auto all = children(dir);
    const auto found = std::ranges::find_if(all, [&](const rpf_fso *item) { return item->name == name; });
    return found == all.end() ? nullptr : *found;
}

// Checks a record against the status of its path (lstat for a child, stat for the top item).
void expectAgreesWithStatus(const rpf_fso *record, bool followLinks)
{
    ASSERT_TRUE(record != nullptr && record->url != nullptr);
    struct stat data {};
    ASSERT_EQ((followLinks ? stat : lstat)(record->complete_path, &data), 0) << record->complete_path;
    const int32_t type = S_ISDIR(data.st_mode) ? 1 : S_ISREG(data.st_mode) ? 2 : S_ISLNK(data.st_mode) ? 3 : 0;
    const unsigned rights = data.st_mode & 0777U;
    EXPECT_EQ(std::make_tuple(record->type, record->locality, record->perms, record->links, record->size, record->mtime,
                              record->access_perms, record->files != nullptr, rpf_url_type(record->url)),
              std::make_tuple(type, RPF_FSO_LOCAL, (rights >> 6) * 100 + ((rights >> 3) & 7U) * 10 + (rights & 7U),
                              static_cast<int32_t>(data.st_nlink),
                              static_cast<int32_t>(static_cast<uint32_t>(data.st_size)),
                              static_cast<int32_t>(data.st_mtime), nullptr, type == 1, RPF_URL_TYPE_FILE))
        << record->complete_path;
    EXPECT_EQ(std::make_tuple(text(record->owner_name), text(record->group_name), text(record->date_modified)),
              std::make_tuple(userName(data.st_uid), groupName(data.st_gid),
                              take(rpf_date_string_from_time_t(data.st_mtime))))
        << record->complete_path;
}

// Reads a folder that, entry by entry, agrees with lstat, realpath and readdir's order (files first).
void expectFolderAgrees(const std::string &path, Tree &record)
{
    std::vector<std::string> files, folders, names;
    DIR *stream = opendir(path.c_str());
    ASSERT_NE(stream, nullptr) << path;
    while (const dirent *entry = readdir(stream))
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0)
            (entry->d_type == DT_DIR ? folders : files).emplace_back(entry->d_name);
    closedir(stream);
    files.insert(files.end(), folders.begin(), folders.end());
    record.reset(rpf_fso_get_local_fso(path.c_str()));
    ASSERT_NE(record, nullptr) << path;
    expectAgreesWithStatus(record.get(), true);
    EXPECT_EQ(text(record->complete_path), path);
    for (const rpf_fso *item : children(record.get())) {
        names.emplace_back(item->name);
        expectAgreesWithStatus(item, false);
        EXPECT_EQ(
            std::make_tuple(item->parent, text(item->complete_path), text(rpf_url_itemPath(item->url))),
            std::make_tuple(record.get(), (path == "/" ? "" : path) + "/" + item->name, text(item->complete_path)));
        struct stat target {};
        if (item->type != RPF_FSO_TYPE_LINK) continue; // dangling: no target; else the absolute canonical one, twice
        EXPECT_EQ(std::make_tuple(item->link_target_type == RPF_FSO_TARGET_UNREADABLE, text(item->alias_location),
                                  text(item->complete_alias_path)),
                  stat(item->complete_path, &target) != 0
                      ? std::make_tuple(true, std::string("<null>"), std::string("<null>"))
                      : std::make_tuple(false, canonical(item->complete_path), canonical(item->complete_path)))
            << item->complete_path;
    }
    EXPECT_EQ(names, files) << path;
}

// A fresh temporary folder with one entry of each kind (6 files, 1 folder), removed after.
class FsoLocal : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_NE(mkdtemp(dir.data()), nullptr);
        std::ofstream(at("notes 1.2.tXt")) << std::string(5000, 'a');
        ASSERT_EQ(chmod(at("notes 1.2.tXt").c_str(), 0640) + mkdir(at("sub").c_str(), 0750) +
                      mkfifo(at("pipe").c_str(), 0600) + symlink("notes 1.2.tXt", at("to-file").c_str()) +
                      symlink(at("sub").c_str(), at("to-folder").c_str()) + symlink("missing", at("dangling").c_str()) +
                      symlink("/dev/null", at("to-device").c_str()),
                  0);
    }
    void TearDown() override { std::filesystem::remove_all(dir, error); }
    std::string at(const std::string &name) const { return dir + "/" + name; }
    std::string dir = std::filesystem::temp_directory_path().string() + "/rkcore-fso-XXXXXX";
    std::error_code error;
};

TEST_F(FsoLocal, TopItemIsExaminedWithLinksFollowedOrFails)
{
    Tree file(rpf_fso_get_local_fso(at("notes 1.2.tXt").c_str())), link(rpf_fso_get_local_fso(at("to-file").c_str()));
    expectAgreesWithStatus(file.get(), true);
    expectAgreesWithStatus(link.get(), true);
    EXPECT_EQ(
        std::make_tuple(text(file->name), text(file->extension), file->parent, text(link->name), link->alias_location),
        std::make_tuple("notes 1.2.tXt", "tXt", nullptr, "to-file", nullptr));
    // "/dev" is a prefix test: folders under it are read without children.
    for (const char *devPath : {"/dev", "/dev/", "/dev/shm", "/dev/null"}) {
        Tree dev(rpf_fso_get_local_fso(devPath));
        ASSERT_NE(dev, nullptr) << devPath;
        EXPECT_EQ(
            std::make_tuple(dev->type, children(dev.get()).size()),
            std::make_tuple(strcmp(devPath, "/dev/null") == 0 ? RPF_FSO_TYPE_OTHER : RPF_FSO_TYPE_DIRECTORY, size_t{0}))
            << devPath;
    }
    // A missing path fails with two lines and errno kept; null is EINVAL.
    CapturedDiagnostics diagnostics;
    errno = 0;
    EXPECT_EQ(rpf_fso_get_local_fso(at("nothing").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(diagnostics.take(), "\t\tError getting item statistics\n\t\terror : No such file or directory\n");
    EXPECT_EQ(rpf_fso_get_local_fso(nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(FsoLocal, EntryKindsAndLinkTargetsWithOrWithoutTrailingSeparator)
{
    CapturedDiagnostics diagnostics;
    Tree record, slashed(rpf_fso_get_local_fso((dir + "/").c_str()));
    expectFolderAgrees(dir, record);
    EXPECT_EQ(diagnostics.take(), ""); // reading is silent
    ASSERT_NE(slashed, nullptr);
    EXPECT_EQ(std::make_tuple(rpf_fso_file_count(record.get()), rpf_fso_subdirectory_count(record.get()),
                              text(slashed->name), text(slashed->complete_path)),
              std::make_tuple(6, 1, "", dir));
    // Name, type and link target type; the slashed read gives the same entries at the same paths.
    const std::tuple<const char *, int32_t, int32_t> rows[] = {
        {"notes 1.2.tXt", 2, 0}, {"sub", 1, 0},       {"pipe", 0, 0},    {"to-file", 3, 2},
        {"to-folder", 3, 1},     {"to-device", 3, 0}, {"dangling", 3, 4}};
    for (const auto &[name, type, targetType] : rows) {
        const rpf_fso *item = child(record.get(), name), *again = child(slashed.get(), name);
        ASSERT_TRUE(item != nullptr && again != nullptr) << name;
        EXPECT_EQ(std::make_tuple(item->type, item->link_target_type, again->type, again->link_target_type,
                                  text(again->complete_path), text(again->alias_location)),
                  std::make_tuple(type, targetType, type, targetType, at(name), text(item->alias_location)))
            << name;
    }
    // Texts of one owner and group are shared between the records.
    const rpf_fso *sub = child(record.get(), "sub"), *pipe = child(record.get(), "pipe");
    EXPECT_EQ(std::make_pair(sub->owner_name, sub->group_name), std::make_pair(pipe->owner_name, pipe->group_name));
}

TEST_F(FsoLocal, LinkTargetsThroughALinkedFolderAndAlongChains)
{
    // Targets are canonical whichever way they are named: a sibling, a sibling that is itself a link, a path
    // with "..", "." itself; read once directly and once through a link to the folder.
    std::ofstream(at("sub/x")) << "x";
    ASSERT_EQ(symlink("x", at("sub/near").c_str()) + symlink("near", at("sub/chain").c_str()) +
                  symlink("../notes 1.2.tXt", at("sub/up").c_str()) + symlink(".", at("sub/self").c_str()) +
                  symlink("gone", at("sub/dangling").c_str()),
              0);
    for (const std::string &path : {at("sub"), at("to-folder"), at("to-folder") + "/"}) {
        Tree record;
        expectFolderAgrees(path.back() == '/' ? path.substr(0, path.size() - 1) : path, record);
        const rpf_fso *chain = child(record.get(), "chain");
        ASSERT_NE(chain, nullptr) << path;
        EXPECT_EQ(text(chain->complete_alias_path), canonical(at("sub/x"))) << path;
    }
}

TEST_F(FsoLocal, OwnersAndGroupsWithoutANameReadUnknown)
{
    if (geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
    const uid_t nobodyKnows = 54321;
    ASSERT_EQ(std::make_tuple(getpwuid(nobodyKnows), getgrgid(nobodyKnows)), std::make_tuple(nullptr, nullptr));
    ASSERT_EQ(chown(at("notes 1.2.tXt").c_str(), nobodyKnows, nobodyKnows) + chown(at("pipe").c_str(), 0, nobodyKnows),
              0);
    Tree record(rpf_fso_get_local_fso(dir.c_str()));
    const rpf_fso *orphan = child(record.get(), "notes 1.2.tXt"), *half = child(record.get(), "pipe");
    EXPECT_EQ(std::make_tuple(text(orphan->owner_name), text(orphan->group_name), text(half->group_name),
                              text(half->owner_name)),
              std::make_tuple("Unknown", "Unknown", "Unknown", userName(0)));
}

TEST_F(FsoLocal, UnreadableFolderAndUnexaminableEntries)
{
    if (geteuid() == 0) GTEST_SKIP() << "root reads everything";
    const std::string closed = at("sub");
    std::ofstream(closed + "/inside") << "x";
    chmod(closed.c_str(), 0);                           // no early return until the rights are back, for the removal
    Tree record(rpf_fso_get_local_fso(closed.c_str())); // cannot be opened: still an item, without children
    const bool item = record != nullptr && record->type == RPF_FSO_TYPE_DIRECTORY && record->files != nullptr;
    chmod(closed.c_str(), 0444); // names can be listed but not examined: the whole read fails
    errno = 0;
    const bool failed = rpf_fso_get_local_fso(closed.c_str()) == nullptr && errno == EACCES;
    chmod(closed.c_str(), 0755);
    EXPECT_EQ(std::make_tuple(item, rpf_fso_file_count(record.get()), failed), std::make_tuple(true, 0, true));
}

TEST_F(FsoLocal, TreesReadAndFreedOnSeveralThreadsAtOnce)
{
    // Each read packs its texts into blocks of its own; a block goes back with its last field, on any thread:
    // here every tree is freed on another thread than the one that read it, while others still read.
    for (int i = 0; i < 50; ++i)
        std::ofstream(at("f" + std::to_string(i % 7) + "." + std::to_string(i))) << "x";
    std::vector<std::vector<Tree>> trees(4);
    std::vector<int32_t> counts(4);
    auto read = [this](std::vector<Tree> &mine, int32_t &count, std::vector<Tree> &toFree) {
        for (int round = 0; round < 20; ++round) {
            mine.emplace_back(rpf_fso_get_local_fso(dir.c_str()));
            count = rpf_fso_file_count(mine.back().get());
            if (!toFree.empty()) toFree.pop_back(); // a neighbour's tree, maybe read on its thread just now
        }
    };
    std::vector<std::vector<Tree>> handed(4);
    for (auto &list : handed)
        for (int i = 0; i < 10; ++i)
            list.emplace_back(rpf_fso_get_local_fso(dir.c_str()));
    {
        std::jthread a(read, std::ref(trees[0]), std::ref(counts[0]), std::ref(handed[1])),
            b(read, std::ref(trees[1]), std::ref(counts[1]), std::ref(handed[2])),
            c(read, std::ref(trees[2]), std::ref(counts[2]), std::ref(handed[3])),
            d(read, std::ref(trees[3]), std::ref(counts[3]), std::ref(handed[0])); // joined here
    }
    EXPECT_EQ(counts, std::vector<int32_t>(4, 56));
    {
        std::jthread a([&] { trees[1].clear(); }), b([&] { trees[2].clear(); }), c([&] { trees[3].clear(); }),
            d([&] { trees[0].clear(); });
    }
    EXPECT_EQ(rpf_fso_packed_blocks_in_use(), 0U);
}

TEST_F(FsoLocal, DatesOfManyDaysAgreeWithTheDateTextOfEachTime)
{
    // A zone with daylight saving (given by rule: no zone files needed): the days it changes on, their
    // edges, midnights, today and yesterday, long ago and far ahead, and a spread over five years.
    const char *zone = std::getenv("TZ");
    const std::string saved = zone == nullptr ? "" : zone;
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    constexpr time_t now = 1729990000; // fixed on a daylight-saving change day
    rpf_date_set_clock([] { return now; });
    std::vector<time_t> times = {now,        now - 86400, now + 3600, 0,          -1,         time_t{-86400} * 365,
                                 1711846799, 1711846800,  1711843200, 1711929599, 1729989000, 1729992600,
                                 1729990800, 1729987199,  1729900800, 1730000000, 2147483647, 1704063599,
                                 1704063600, 1704067199,  951782400,  951868799,  4102444800};
    for (time_t t = 1600000000; t < 1760000000; t += 1999999) // NOLINT(performance-inefficient-vector-operation)
        times.push_back(t);
    for (size_t i = 0; i < times.size(); ++i) {
        const std::string path = at("t" + std::to_string(i));
        std::ofstream(path) << i;
        const timespec stamps[2] = {{times[i], 0}, {times[i], 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), stamps, 0), 0) << times[i];
    }
    Tree record;
    expectFolderAgrees(dir, record); // each date text equals rpf_date_string_from_time_t of its time
    rpf_date_set_clock(nullptr);
    zone == nullptr ? unsetenv("TZ") : setenv("TZ", saved.c_str(), 1);
    tzset();
}

TEST_F(FsoLocal, FieldsOutliveTheBlockOnlyDestroyAndAreFreedOneByOne)
{
    const size_t blocksBefore = rpf_fso_packed_blocks_in_use();
    rpf_fso *top = rpf_fso_get_local_fso(dir.c_str());
    ASSERT_NE(top, nullptr);
    EXPECT_GT(rpf_fso_packed_blocks_in_use(), blocksBefore);
    for (rpf_fso *item : children(top)) {
        char *texts[] = {item->alias_location, item->complete_alias_path, item->date_modified, item->extension,
                         item->name,           item->owner_name,          item->group_name,    item->complete_path};
        std::vector<std::string> copies;
        for (const char *field : texts)
            copies.push_back(text(field));
        rpf_url *url = item->url;
        rpf_array *arrays[] = {item->files, item->subdirectories};
        rpf_fso_destroy(item); // the block only: every field stays valid, each freed on its own
        for (size_t i = 0; i < std::size(texts); ++i) {
            EXPECT_EQ(text(texts[i]), copies[i]);
            rpf_fso_free_text(texts[i]);
        }
        EXPECT_EQ(text(rpf_url_itemPath(url)), copies[7]);
        rpf_url_dealloc(url);
        for (rpf_array *array : arrays)
            rpf_array_free(array);
    }
    rpf_array_free(top->files);
    rpf_array_free(top->subdirectories);
    top->files = top->subdirectories = nullptr;
    rpf_fso_destroy_deep(top);
    EXPECT_EQ(rpf_fso_packed_blocks_in_use(), blocksBefore);
    // Replaced fields are the caller's malloc'd texts; the deep free passes them to free().
    Tree again(rpf_fso_get_local_fso(dir.c_str()));
    rpf_fso *item = child(again.get(), "notes 1.2.tXt");
    ASSERT_NE(item, nullptr);
    rpf_fso_free_text(item->name);
    item->name = strdup("renamed");
    rpf_url_setPath(item->url, "/elsewhere");
    rpf_url_set_passWord(item->url, "secret");
    EXPECT_EQ(std::make_tuple(text(item->name), text(rpf_url_itemPath(item->url)), text(item->extension)),
              std::make_tuple("renamed", "/elsewhere", "tXt"));
    again.reset();
    EXPECT_EQ(rpf_fso_packed_blocks_in_use(), blocksBefore);
}

TEST(FsoLocalSystem, FoldersAgreeWithLstatAndReaddir)
{
    // Folders nothing writes to while the tests run: the entries of "/" and /etc
    // (/tmp's date, for one) change under parallel tests.
    for (const std::string path : {"/usr/bin", "/usr/share"}) {
        Tree record;
        expectFolderAgrees(path, record);
    }
}

} // namespace
