// Local items read into records, cross-checked against lstat/stat, the user
// and group databases, readdir and realpath.
#include <rkcore/rpf_date.h>

#include <dirent.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "fso_test_support.h"

using namespace rktest;

namespace {

const auto canonical = [](const std::string &path) { return take(realpath(path.c_str(), nullptr)); };
const auto userName = [](uid_t id) { return text(getpwuid(id) ? getpwuid(id)->pw_name : "Unknown"); };
const auto groupName = [](gid_t id) { return text(getgrgid(id) ? getgrgid(id)->gr_name : "Unknown"); };

// Every child of a directory record, files first, in array order.
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
    for (rpf_fso *item : children(dir))
        if (item->name == name) return item;
    return nullptr;
}

// Checks a record against the status of its path (lstat for a child, stat for the top item).
void expectAgreesWithStatus(const rpf_fso *record, bool followLinks)
{
    ASSERT_NE(record, nullptr);
    SCOPED_TRACE(record->complete_path);
    struct stat data {};
    ASSERT_EQ((followLinks ? stat : lstat)(record->complete_path, &data), 0);
    const int32_t type = S_ISDIR(data.st_mode) ? 1 : S_ISREG(data.st_mode) ? 2 : S_ISLNK(data.st_mode) ? 3 : 0;
    const unsigned rights = data.st_mode & 0777U;
    const auto perms = static_cast<uint16_t>((rights >> 6) * 100 + ((rights >> 3) & 7U) * 10 + (rights & 7U));
    EXPECT_EQ(
        std::make_tuple(record->type, record->locality, record->perms, record->links, record->size, record->mtime),
        std::make_tuple(type, RPF_FSO_LOCAL, perms, static_cast<int32_t>(data.st_nlink),
                        static_cast<int32_t>(static_cast<uint32_t>(data.st_size)),
                        static_cast<int32_t>(data.st_mtime)));
    EXPECT_EQ(text(record->owner_name), userName(data.st_uid));
    EXPECT_EQ(text(record->group_name), groupName(data.st_gid));
    EXPECT_EQ(text(record->date_modified), take(rpf_date_string_from_time_t(data.st_mtime)));
    ASSERT_NE(record->url, nullptr);
    EXPECT_EQ(rpf_url_type(record->url), RPF_URL_TYPE_FILE);
    EXPECT_EQ(record->access_perms, nullptr);
    EXPECT_EQ(record->files != nullptr, type == 1);
}

// A fresh temporary folder with one entry of each kind (6 files, 1 folder), removed after.
class FsoLocal : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_NE(mkdtemp(dir.data()), nullptr);
        std::ofstream(at("notes 1.2.tXt")) << std::string(5000, 'a');
        ASSERT_EQ(chmod(at("notes 1.2.tXt").c_str(), 0640), 0);
        ASSERT_EQ(mkdir(at("sub").c_str(), 0750), 0);
        ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
        ASSERT_EQ(symlink("notes 1.2.tXt", at("to-file").c_str()), 0);
        ASSERT_EQ(symlink(at("sub").c_str(), at("to-folder").c_str()), 0);
        ASSERT_EQ(symlink("missing", at("dangling").c_str()), 0);
        ASSERT_EQ(symlink("/dev/null", at("to-device").c_str()), 0);
    }
    void TearDown() override { std::filesystem::remove_all(dir, error); }
    std::string at(const std::string &name) const { return dir + "/" + name; }
    std::string dir = std::filesystem::temp_directory_path().string() + "/rkcore-fso-XXXXXX";
    std::error_code error;
};

TEST_F(FsoLocal, TopItemIsExaminedWithLinksFollowedOrFails)
{
    const std::string path = at("notes 1.2.tXt");
    Tree file(rpf_fso_get_local_fso(path.c_str()));
    expectAgreesWithStatus(file.get(), true);
    EXPECT_EQ(std::make_tuple(text(file->name), text(file->complete_path), text(file->extension), file->perms,
                              file->size, file->parent),
              std::make_tuple("notes 1.2.tXt", path, "tXt", uint16_t{640}, 5000, nullptr));
    Tree link(rpf_fso_get_local_fso(at("to-file").c_str()));
    expectAgreesWithStatus(link.get(), true);
    EXPECT_EQ(std::make_tuple(text(link->name), link->alias_location), std::make_tuple("to-file", nullptr));
    Tree folder(rpf_fso_get_local_fso(at("to-folder").c_str()));
    expectAgreesWithStatus(folder.get(), true);
    EXPECT_EQ(rpf_fso_file_count(folder.get()) + rpf_fso_subdirectory_count(folder.get()), 0);
    Tree device(rpf_fso_get_local_fso("/dev/null"));
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->type, RPF_FSO_TYPE_OTHER);
    // "/dev" is a prefix test: folders under it are read without children.
    for (const char *devPath : {"/dev", "/dev/", "/dev/shm"}) {
        Tree dev(rpf_fso_get_local_fso(devPath));
        ASSERT_NE(dev, nullptr) << devPath;
        EXPECT_EQ(std::make_tuple(dev->type, rpf_fso_file_count(dev.get()) + rpf_fso_subdirectory_count(dev.get())),
                  std::make_tuple(RPF_FSO_TYPE_DIRECTORY, 0))
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
    Tree record(rpf_fso_get_local_fso(dir.c_str())), slashed(rpf_fso_get_local_fso((dir + "/").c_str()));
    EXPECT_EQ(diagnostics.take(), ""); // reading is silent
    expectAgreesWithStatus(record.get(), true);
    EXPECT_EQ(rpf_fso_file_count(record.get()) * 10 + rpf_fso_subdirectory_count(record.get()), 61);
    ASSERT_NE(slashed, nullptr);
    EXPECT_EQ(std::make_tuple(text(slashed->name), text(slashed->complete_path), rpf_fso_file_count(slashed.get())),
              std::make_tuple("", dir, 6));
    // The canonical target is absolute, so the complete alias path is a copy of it.
    const struct Row {
        const char *name;
        int32_t type, targetType;
        std::string alias;
    } rows[] = {{"notes 1.2.tXt", 2, 0, "<null>"},
                {"sub", 1, 0, "<null>"},
                {"pipe", 0, 0, "<null>"},
                {"to-file", 3, 2, canonical(at("notes 1.2.tXt"))},
                {"to-folder", 3, 1, canonical(at("sub"))},
                {"to-device", 3, 0, "/dev/null"},
                {"dangling", 3, 4, "<null>"}};
    for (const Row &row : rows) {
        for (const rpf_fso *item : {child(record.get(), row.name), child(slashed.get(), row.name)}) {
            ASSERT_NE(item, nullptr) << row.name;
            expectAgreesWithStatus(item, false);
            EXPECT_EQ(std::make_tuple(item->type, item->link_target_type, text(item->alias_location),
                                      text(item->complete_alias_path), text(item->complete_path)),
                      std::make_tuple(row.type, row.targetType, row.alias, row.alias, at(row.name)))
                << row.name;
        }
    }
    // Texts of one owner, group and second are shared between the records.
    EXPECT_EQ(child(record.get(), "sub")->owner_name, child(record.get(), "pipe")->owner_name);
    EXPECT_EQ(child(record.get(), "sub")->group_name, child(record.get(), "pipe")->group_name);
}

TEST_F(FsoLocal, OwnersAndGroupsWithoutANameReadUnknown)
{
    if (geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
    const uid_t nobodyKnows = 54321;
    ASSERT_EQ(getpwuid(nobodyKnows), nullptr);
    ASSERT_EQ(getgrgid(nobodyKnows), nullptr);
    ASSERT_EQ(chown(at("notes 1.2.tXt").c_str(), nobodyKnows, nobodyKnows), 0);
    ASSERT_EQ(chown(at("pipe").c_str(), 0, nobodyKnows), 0);
    Tree record(rpf_fso_get_local_fso(dir.c_str()));
    const rpf_fso *orphan = child(record.get(), "notes 1.2.tXt"), *half = child(record.get(), "pipe");
    EXPECT_EQ(std::make_tuple(text(orphan->owner_name), text(orphan->group_name), text(half->group_name)),
              std::make_tuple("Unknown", "Unknown", "Unknown"));
    EXPECT_EQ(text(half->owner_name), userName(0));
}

TEST_F(FsoLocal, UnreadableFolderAndUnexaminableEntries)
{
    if (geteuid() == 0) GTEST_SKIP() << "root reads everything";
    const std::string closed = at("sub");
    std::ofstream(closed + "/inside") << "x";
    chmod(closed.c_str(), 0);                           // no early return until the rights are back, for the removal
    Tree record(rpf_fso_get_local_fso(closed.c_str())); // cannot be opened: still an item, without children
    EXPECT_EQ(std::make_tuple(record != nullptr, record ? record->type : -1, record ? record->files != nullptr : false,
                              rpf_fso_file_count(record.get())),
              std::make_tuple(true, RPF_FSO_TYPE_DIRECTORY, true, 0));
    chmod(closed.c_str(), 0444); // names can be listed but not examined: the whole read fails
    errno = 0;
    EXPECT_EQ(rpf_fso_get_local_fso(closed.c_str()), nullptr);
    EXPECT_EQ(errno, EACCES);
    chmod(closed.c_str(), 0755);
}

TEST_F(FsoLocal, TreesReadAndFreedOnSeveralThreadsAtOnce)
{
    // Owner, group, date and extension texts are shared through one table.
    for (int i = 0; i < 50; ++i)
        std::ofstream(at("f" + std::to_string(i % 7) + "." + std::to_string(i))) << "x";
    std::vector<int32_t> counts(4);
    std::vector<std::thread> readers;
    for (size_t t = 0; t < counts.size(); ++t) {
        readers.emplace_back([&, t] {
            for (int round = 0; round < 20; ++round) {
                Tree record(rpf_fso_get_local_fso(dir.c_str()));
                counts[t] = record == nullptr ? -1 : rpf_fso_file_count(record.get());
            }
        });
    }
    for (std::thread &reader : readers)
        reader.join();
    EXPECT_EQ(counts, std::vector<int32_t>(4, 56));
}

// Every entry agrees with lstat and realpath, in readdir's order (files before folders), at the right path.
TEST(FsoLocalSystem, FoldersAgreeWithLstatAndReaddir)
{
    for (const std::string path : {"/", "/usr/bin", "/etc"}) {
        std::vector<std::string> files, folders;
        DIR *stream = opendir(path.c_str());
        ASSERT_NE(stream, nullptr) << path;
        while (const dirent *entry = readdir(stream)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") (entry->d_type == DT_DIR ? folders : files).push_back(name);
        }
        closedir(stream);
        files.insert(files.end(), folders.begin(), folders.end());
        Tree record(rpf_fso_get_local_fso(path.c_str()));
        ASSERT_NE(record, nullptr) << path;
        expectAgreesWithStatus(record.get(), true);
        EXPECT_EQ(text(record->complete_path), path);
        std::vector<std::string> names;
        for (const rpf_fso *item : children(record.get())) {
            names.emplace_back(item->name);
            expectAgreesWithStatus(item, false);
            EXPECT_EQ(item->parent, record.get());
            EXPECT_EQ(text(item->complete_path), (path == "/" ? "" : path) + "/" + item->name);
            EXPECT_EQ(text(rpf_url_itemPath(item->url)), text(item->complete_path));
            struct stat target {};
            if (item->type != RPF_FSO_TYPE_LINK) continue;
            if (stat(item->complete_path, &target) != 0) {
                EXPECT_EQ(item->link_target_type, RPF_FSO_TARGET_UNREADABLE) << item->complete_path;
                EXPECT_EQ(item->alias_location, nullptr) << item->complete_path;
            } else {
                EXPECT_EQ(text(item->alias_location), canonical(item->complete_path)) << item->complete_path;
            }
        }
        EXPECT_EQ(names, files) << path;
    }
}

} // namespace
