// Local items read into records, cross-checked against lstat/stat, the user
// and group databases, readdir and realpath.
#include <rkcore/rpf_date.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_url.h>

#include <gtest/gtest.h>

#include <dirent.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "core_test_support.h"
#include "fso_test_support.h"

using rktest::CapturedDiagnostics;
using rktest::take;
using rktest::Tree;

namespace {

// A fresh temporary folder, removed with everything in it (rights restored first) when it goes.
class TempFolder {
public:
    TempFolder() : path_((std::filesystem::temp_directory_path() / "rkcore-fso-XXXXXX").string())
    {
        if (mkdtemp(path_.data()) == nullptr) std::abort();
    }
    ~TempFolder()
    {
        namespace fs = std::filesystem;
        std::error_code error;
        for (const auto &entry : fs::recursive_directory_iterator(path_, error))
            if (!entry.is_symlink()) fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, error);
        fs::remove_all(path_, error);
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;
    const std::string &path() const { return path_; }
    std::string operator/(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

const auto writeFile = [](const std::string &path) { std::ofstream(path) << "x"; };
const auto text = [](const char *value) { return std::string(value == nullptr ? "<null>" : value); };
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

TEST(FsoLocal, TopItemIsExaminedWithLinksFollowedOrFails)
{
    TempFolder folder;
    const std::string path = folder / "notes 1.2.tXt";
    std::ofstream(path) << std::string(5000, 'a');
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    ASSERT_EQ(symlink("notes 1.2.tXt", (folder / "link").c_str()), 0);
    ASSERT_EQ(mkdir((folder / "dir").c_str(), 0755), 0);
    ASSERT_EQ(symlink("dir", (folder / "dirlink").c_str()), 0);
    Tree file(rpf_fso_get_local_fso(path.c_str()));
    expectAgreesWithStatus(file.get(), true);
    EXPECT_EQ(std::make_tuple(text(file->name), text(file->complete_path), text(file->extension), file->perms,
                              file->size, file->parent),
              std::make_tuple("notes 1.2.tXt", path, "tXt", uint16_t{640}, 5000, nullptr));
    Tree link(rpf_fso_get_local_fso((folder / "link").c_str()));
    expectAgreesWithStatus(link.get(), true);
    EXPECT_EQ(std::make_tuple(text(link->name), link->alias_location), std::make_tuple("link", nullptr));
    Tree dir(rpf_fso_get_local_fso((folder / "dirlink").c_str()));
    EXPECT_EQ(dir->type, RPF_FSO_TYPE_DIRECTORY);
    EXPECT_EQ(rpf_fso_file_count(dir.get()) + rpf_fso_subdirectory_count(dir.get()), 0);
    Tree device(rpf_fso_get_local_fso("/dev/null"));
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->type, RPF_FSO_TYPE_OTHER);

    // A missing path fails with two lines and errno kept; null is EINVAL.
    CapturedDiagnostics diagnostics;
    errno = 0;
    EXPECT_EQ(rpf_fso_get_local_fso((folder / "nothing").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(diagnostics.take(), "\t\tError getting item statistics\n\t\terror : No such file or directory\n");
    EXPECT_EQ(rpf_fso_get_local_fso(nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST(FsoLocal, EntryKindsAndLinkTargets)
{
    TempFolder folder;
    writeFile(folder / "a.txt");
    ASSERT_EQ(mkdir((folder / "sub").c_str(), 0750), 0);
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("a.txt", (folder / "to-file").c_str()), 0);
    ASSERT_EQ(symlink((folder / "sub").c_str(), (folder / "to-folder").c_str()), 0);
    ASSERT_EQ(symlink("missing", (folder / "dangling").c_str()), 0);
    ASSERT_EQ(symlink("/dev/null", (folder / "to-device").c_str()), 0);
    CapturedDiagnostics diagnostics;
    Tree record(rpf_fso_get_local_fso(folder.path().c_str()));
    EXPECT_EQ(diagnostics.take(), ""); // reading is silent
    expectAgreesWithStatus(record.get(), true);
    EXPECT_EQ(rpf_fso_file_count(record.get()) * 10 + rpf_fso_subdirectory_count(record.get()), 61);
    // The canonical target is absolute, so the complete alias path is a copy of it.
    const struct Row {
        const char *name;
        int32_t type, targetType;
        std::string alias;
    } rows[] = {{"a.txt", 2, 0, "<null>"},
                {"sub", 1, 0, "<null>"},
                {"pipe", 0, 0, "<null>"},
                {"to-file", 3, 2, canonical(folder / "a.txt")},
                {"to-folder", 3, 1, canonical(folder / "sub")},
                {"to-device", 3, 0, "/dev/null"},
                {"dangling", 3, 4, "<null>"}};
    for (const Row &row : rows) {
        const rpf_fso *item = child(record.get(), row.name);
        ASSERT_NE(item, nullptr) << row.name;
        expectAgreesWithStatus(item, false);
        EXPECT_EQ(std::make_tuple(item->type, item->link_target_type, text(item->alias_location),
                                  text(item->complete_alias_path)),
                  std::make_tuple(row.type, row.targetType, row.alias, row.alias))
            << row.name;
    }
    // Texts of one owner, group and second are shared between the records.
    EXPECT_EQ(child(record.get(), "a.txt")->owner_name, child(record.get(), "pipe")->owner_name);
    EXPECT_EQ(child(record.get(), "a.txt")->group_name, child(record.get(), "pipe")->group_name);
}

TEST(FsoLocal, TrailingSeparatorAndDev)
{
    TempFolder folder;
    writeFile(folder / "f");
    Tree record(rpf_fso_get_local_fso((folder.path() + "/").c_str()));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(text(record->name), "");
    EXPECT_EQ(text(record->complete_path), folder.path());
    ASSERT_EQ(rpf_fso_file_count(record.get()), 1);
    EXPECT_EQ(text(child(record.get(), "f")->complete_path), folder / "f");

    // "/dev" is a prefix test: folders under it are read without children.
    for (const char *path : {"/dev", "/dev/", "/dev/shm"}) {
        Tree dev(rpf_fso_get_local_fso(path));
        ASSERT_NE(dev, nullptr) << path;
        EXPECT_EQ(dev->type, RPF_FSO_TYPE_DIRECTORY) << path;
        EXPECT_EQ(rpf_fso_file_count(dev.get()) + rpf_fso_subdirectory_count(dev.get()), 0) << path;
    }
}

TEST(FsoLocal, OwnersAndGroupsWithoutANameReadUnknown)
{
    if (geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
    TempFolder folder;
    const uid_t nobodyKnows = 54321;
    ASSERT_EQ(getpwuid(nobodyKnows), nullptr);
    ASSERT_EQ(getgrgid(nobodyKnows), nullptr);
    for (const char *name : {"orphan", "half"}) {
        writeFile(folder / name);
        ASSERT_EQ(chown((folder / name).c_str(), name[0] == 'o' ? nobodyKnows : 0, nobodyKnows), 0);
    }
    Tree record(rpf_fso_get_local_fso(folder.path().c_str()));
    const rpf_fso *orphan = child(record.get(), "orphan"), *half = child(record.get(), "half");
    EXPECT_EQ(std::make_tuple(text(orphan->owner_name), text(orphan->group_name), text(half->group_name)),
              std::make_tuple("Unknown", "Unknown", "Unknown"));
    EXPECT_EQ(text(half->owner_name), userName(0));
}

TEST(FsoLocal, UnreadableFolderAndUnexaminableEntries)
{
    if (geteuid() == 0) GTEST_SKIP() << "root reads everything";
    TempFolder folder;
    const std::string closed = folder / "closed";
    ASSERT_EQ(mkdir(closed.c_str(), 0755), 0);
    writeFile(closed + "/inside");
    ASSERT_EQ(chmod(closed.c_str(), 0), 0);
    // A folder that cannot be opened is still an item, without children.
    Tree record(rpf_fso_get_local_fso(closed.c_str()));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->type, RPF_FSO_TYPE_DIRECTORY);
    EXPECT_EQ(rpf_fso_file_count(record.get()), 0);
    // Names that can be listed but not examined fail the whole read.
    ASSERT_EQ(chmod(closed.c_str(), 0444), 0);
    errno = 0;
    EXPECT_EQ(rpf_fso_get_local_fso(closed.c_str()), nullptr);
    EXPECT_EQ(errno, EACCES);
}

TEST(FsoLocal, TreesReadAndFreedOnSeveralThreadsAtOnce)
{
    // Owner, group, date and extension texts are shared through one table.
    TempFolder folder;
    for (int i = 0; i < 50; ++i)
        writeFile(folder / ("f" + std::to_string(i % 7) + "." + std::to_string(i)));
    std::vector<int32_t> counts(4);
    std::vector<std::thread> readers;
    for (size_t t = 0; t < counts.size(); ++t) {
        readers.emplace_back([&, t] {
            for (int round = 0; round < 20; ++round) {
                Tree record(rpf_fso_get_local_fso(folder.path().c_str()));
                counts[t] = record == nullptr ? -1 : rpf_fso_file_count(record.get());
            }
        });
    }
    for (std::thread &reader : readers)
        reader.join();
    EXPECT_EQ(counts, std::vector<int32_t>(4, 50));
}

// Every entry agrees with lstat and realpath, in readdir's order (files before folders), at the right path.
TEST(FsoLocal, SystemFoldersAgreeWithLstatAndReaddir)
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
