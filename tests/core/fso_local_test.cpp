// Local items read into records, cross-checked against lstat/stat, the user
// and group databases, readdir and realpath.
#include <rkcore/rpf_date.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_perms.h>
#include <rkcore/rpf_url.h>

#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "core_test_support.h"
#include "fso_test_support.h"

using rktest::CapturedDiagnostics;
using rktest::take;
using rktest::TempFolder;
using rktest::Tree;

namespace {

void writeFile(const std::string &path, const std::string &contents = "x")
{
    std::ofstream(path) << contents;
}

// Every child of a directory record, files first, in array order.
std::vector<rpf_fso *> children(const rpf_fso *dir)
{
    std::vector<rpf_fso *> all;
    for (int32_t which : {RPF_FSO_FILES, RPF_FSO_SUBDIRECTORIES}) {
        int32_t count = which == RPF_FSO_FILES ? rpf_fso_file_count(dir) : rpf_fso_subdirectory_count(dir);
        for (int32_t i = 0; i < count; ++i)
            all.push_back(rpf_fso_get_subitem_at_index(dir, i, which));
    }
    return all;
}

rpf_fso *child(const rpf_fso *dir, const std::string &name)
{
    for (rpf_fso *item : children(dir)) {
        if (item->name == name) return item;
    }
    return nullptr;
}

std::string userName(uid_t uid)
{
    const passwd *entry = getpwuid(uid);
    return entry == nullptr ? "Unknown" : entry->pw_name;
}

std::string groupName(gid_t gid)
{
    const group *entry = getgrgid(gid);
    return entry == nullptr ? "Unknown" : entry->gr_name;
}

// Checks a record against the status of its path (lstat for a child, stat
// for the top item).
void expectAgreesWithStatus(const rpf_fso *record, bool followLinks)
{
    ASSERT_NE(record, nullptr);
    SCOPED_TRACE(record->complete_path);
    struct stat data {};
    ASSERT_EQ((followLinks ? stat : lstat)(record->complete_path, &data), 0);
    const int32_t type = S_ISDIR(data.st_mode) ? 1 : S_ISREG(data.st_mode) ? 2 : S_ISLNK(data.st_mode) ? 3 : 0;
    EXPECT_EQ(record->type, type);
    EXPECT_EQ(record->locality, RPF_FSO_LOCAL);
    EXPECT_EQ(record->perms, rpf_get_perms_from_mode(static_cast<uint16_t>(data.st_mode)));
    const unsigned rights = data.st_mode & 0777U;
    EXPECT_EQ(record->perms, (rights >> 6) * 100 + ((rights >> 3) & 7U) * 10 + (rights & 7U));
    EXPECT_EQ(record->links, static_cast<int32_t>(data.st_nlink));
    EXPECT_EQ(record->size, static_cast<int32_t>(static_cast<uint32_t>(data.st_size)));
    EXPECT_EQ(record->mtime, static_cast<int32_t>(data.st_mtime));
    EXPECT_EQ(record->owner_name, userName(data.st_uid));
    EXPECT_EQ(record->group_name, groupName(data.st_gid));
    EXPECT_EQ(record->date_modified, take(rpf_date_string_from_time_t(data.st_mtime)));
    ASSERT_NE(record->url, nullptr);
    EXPECT_EQ(rpf_url_type(record->url), RPF_URL_TYPE_FILE);
    EXPECT_EQ(record->access_perms, nullptr);
    EXPECT_EQ(record->reserved1, nullptr);
    EXPECT_EQ(record->reserved2, nullptr);
    EXPECT_EQ(record->files != nullptr, type == 1);
}

std::string canonical(const std::string &path)
{
    char *resolved = realpath(path.c_str(), nullptr);
    return take(resolved);
}

TEST(FsoLocal, RegularFile)
{
    TempFolder folder;
    const std::string path = folder / "notes 1.2.tXt";
    writeFile(path, std::string(5000, 'a'));
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    Tree record(rpf_fso_get_local_fso(path.c_str()));
    expectAgreesWithStatus(record.get(), true);
    EXPECT_STREQ(record->name, "notes 1.2.tXt");
    EXPECT_EQ(record->complete_path, path);
    EXPECT_STREQ(record->extension, "tXt");
    EXPECT_EQ(record->perms, 640);
    EXPECT_EQ(record->size, 5000);
    EXPECT_EQ(record->parent, nullptr);
    EXPECT_STREQ(rpf_url_itemPath(record->url), path.c_str());
}

TEST(FsoLocal, TopItemIsExaminedWithLinksFollowed)
{
    TempFolder folder;
    writeFile(folder / "target");
    ASSERT_EQ(symlink("target", (folder / "link").c_str()), 0);
    ASSERT_EQ(mkdir((folder / "dir").c_str(), 0755), 0);
    ASSERT_EQ(symlink("dir", (folder / "dirlink").c_str()), 0);
    Tree file(rpf_fso_get_local_fso((folder / "link").c_str()));
    expectAgreesWithStatus(file.get(), true);
    EXPECT_EQ(file->type, RPF_FSO_TYPE_FILE);
    EXPECT_STREQ(file->name, "link");
    EXPECT_EQ(file->alias_location, nullptr);
    Tree dir(rpf_fso_get_local_fso((folder / "dirlink").c_str()));
    EXPECT_EQ(dir->type, RPF_FSO_TYPE_DIRECTORY);
    EXPECT_EQ(rpf_fso_file_count(dir.get()) + rpf_fso_subdirectory_count(dir.get()), 0);
    Tree device(rpf_fso_get_local_fso("/dev/null"));
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->type, RPF_FSO_TYPE_OTHER);
}

TEST(FsoLocal, FolderWithFilesFoldersAndLinks)
{
    TempFolder folder;
    const std::string dir = folder.path().string();
    writeFile(folder / "a.txt", "hello");
    ASSERT_EQ(mkdir((folder / "sub").c_str(), 0750), 0);
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("a.txt", (folder / "to-file").c_str()), 0);
    ASSERT_EQ(symlink((folder / "sub").c_str(), (folder / "to-folder").c_str()), 0);
    ASSERT_EQ(symlink("missing", (folder / "dangling").c_str()), 0);
    ASSERT_EQ(symlink("/dev/null", (folder / "to-device").c_str()), 0);

    Tree record(rpf_fso_get_local_fso(dir.c_str()));
    expectAgreesWithStatus(record.get(), true);
    EXPECT_EQ(record->complete_path, dir);
    EXPECT_EQ(rpf_fso_subdirectory_count(record.get()), 1);
    EXPECT_EQ(rpf_fso_file_count(record.get()), 6);
    for (rpf_fso *item : children(record.get())) {
        expectAgreesWithStatus(item, false);
        EXPECT_EQ(item->parent, record.get());
        EXPECT_EQ(item->complete_path, dir + "/" + item->name);
        EXPECT_STREQ(rpf_url_itemPath(item->url), item->complete_path);
    }
    const struct Row {
        const char *name;
        int32_t type, targetType;
        std::string aliasLocation; // "<null>" for none
    } rows[] = {
        {"a.txt", 2, 0, "<null>"},
        {"sub", 1, 0, "<null>"},
        {"pipe", 0, 0, "<null>"},
        {"to-file", 3, 2, canonical(folder / "a.txt")},
        {"to-folder", 3, 1, canonical(folder / "sub")},
        {"to-device", 3, 0, "/dev/null"},
        {"dangling", 3, 4, "<null>"},
    };
    for (const Row &row : rows) {
        const rpf_fso *item = child(record.get(), row.name);
        ASSERT_NE(item, nullptr) << row.name;
        EXPECT_EQ(item->type, row.type) << row.name;
        EXPECT_EQ(item->link_target_type, row.targetType) << row.name;
        EXPECT_EQ(take(item->alias_location == nullptr ? nullptr : strdup(item->alias_location)), row.aliasLocation)
            << row.name;
        // The canonical target is absolute, so the complete alias path is a copy of it.
        EXPECT_EQ(take(item->complete_alias_path == nullptr ? nullptr : strdup(item->complete_alias_path)),
                  row.aliasLocation)
            << row.name;
    }
    // Texts of one owner, group and second are shared between the records.
    const rpf_fso *a = child(record.get(), "a.txt");
    const rpf_fso *pipe = child(record.get(), "pipe");
    EXPECT_EQ(a->owner_name, pipe->owner_name);
    EXPECT_EQ(a->group_name, pipe->group_name);
}

TEST(FsoLocal, ChildrenComeInDirectoryOrderFilesBeforeFolders)
{
    TempFolder folder;
    for (int i = 0; i < 40; ++i) {
        const std::string name = "item " + std::to_string(i);
        if (i % 3 == 0) {
            ASSERT_EQ(mkdir((folder / name).c_str(), 0755), 0);
        } else {
            writeFile(folder / name);
        }
    }
    std::vector<std::string> files, folders;
    DIR *stream = opendir(folder.path().c_str());
    ASSERT_NE(stream, nullptr);
    while (const dirent *entry = readdir(stream)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        (name.substr(5) != "" && std::stoi(name.substr(5)) % 3 == 0 ? folders : files).push_back(name);
    }
    closedir(stream);
    files.insert(files.end(), folders.begin(), folders.end());

    CapturedDiagnostics diagnostics;
    Tree record(rpf_fso_get_local_fso(folder.path().c_str()));
    EXPECT_EQ(diagnostics.take(), ""); // reading is silent
    std::vector<std::string> walked;
    rpf_fso_reset(record.get());
    while (rpf_fso *item = rpf_fso_next_item(record.get()))
        walked.emplace_back(item->name);
    EXPECT_EQ(walked, files);
}

TEST(FsoLocal, TrailingSeparatorsRootAndDev)
{
    TempFolder folder;
    writeFile(folder / "f");
    const std::string slashed = folder.path().string() + "/";
    Tree record(rpf_fso_get_local_fso(slashed.c_str()));
    ASSERT_NE(record, nullptr);
    EXPECT_STREQ(record->name, "");
    EXPECT_EQ(record->complete_path, folder.path().string());
    ASSERT_EQ(rpf_fso_file_count(record.get()), 1);
    EXPECT_EQ(child(record.get(), "f")->complete_path, folder / "f");

    Tree root(rpf_fso_get_local_fso("/"));
    ASSERT_NE(root, nullptr);
    EXPECT_STREQ(root->complete_path, "/");
    const rpf_fso *usr = child(root.get(), "usr");
    ASSERT_NE(usr, nullptr);
    EXPECT_STREQ(usr->complete_path, "/usr");

    // "/dev" is a prefix test: folders under it are read without children.
    for (const char *path : {"/dev", "/dev/", "/dev/shm"}) {
        Tree dev(rpf_fso_get_local_fso(path));
        ASSERT_NE(dev, nullptr) << path;
        EXPECT_EQ(dev->type, RPF_FSO_TYPE_DIRECTORY) << path;
        EXPECT_EQ(rpf_fso_file_count(dev.get()) + rpf_fso_subdirectory_count(dev.get()), 0) << path;
    }
}

TEST(FsoLocal, MissingPathFailsWithTwoLines)
{
    TempFolder folder;
    CapturedDiagnostics diagnostics;
    errno = 0;
    EXPECT_EQ(rpf_fso_get_local_fso((folder / "nothing").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(diagnostics.take(), "\t\tError getting item statistics\n\t\terror : No such file or directory\n");
    EXPECT_EQ(rpf_fso_get_local_fso(nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST(FsoLocal, OwnersAndGroupsWithoutANameReadUnknown)
{
    if (geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
    TempFolder folder;
    writeFile(folder / "orphan");
    writeFile(folder / "half");
    const uid_t nobodyKnows = 54321;
    ASSERT_EQ(getpwuid(nobodyKnows), nullptr);
    ASSERT_EQ(getgrgid(nobodyKnows), nullptr);
    ASSERT_EQ(chown((folder / "orphan").c_str(), nobodyKnows, nobodyKnows), 0);
    ASSERT_EQ(chown((folder / "half").c_str(), 0, nobodyKnows), 0);
    Tree record(rpf_fso_get_local_fso(folder.path().c_str()));
    const rpf_fso *orphan = child(record.get(), "orphan");
    const rpf_fso *half = child(record.get(), "half");
    EXPECT_STREQ(orphan->owner_name, "Unknown");
    EXPECT_STREQ(orphan->group_name, "Unknown");
    EXPECT_EQ(half->owner_name, userName(0));
    EXPECT_STREQ(half->group_name, "Unknown");
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
    // Owner, group, date and extension texts are shared through one table:
    // trees read and freed at the same time must not disturb each other.
    TempFolder folder;
    for (int i = 0; i < 50; ++i)
        writeFile(folder / ("f" + std::to_string(i % 7) + "." + std::to_string(i)));
    std::vector<std::thread> readers;
    std::vector<int32_t> counts(4);
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
    for (int32_t count : counts)
        EXPECT_EQ(count, 50);
}

TEST(FsoLocal, EveryEntryOfASystemFolderAgreesWithLstat)
{
    for (const char *path : {"/usr/bin", "/etc"}) {
        Tree record(rpf_fso_get_local_fso(path));
        ASSERT_NE(record, nullptr) << path;
        const std::vector<rpf_fso *> items = children(record.get());
        EXPECT_GT(items.size(), 10U) << path;
        for (const rpf_fso *item : items) {
            expectAgreesWithStatus(item, false);
            if (item->type != RPF_FSO_TYPE_LINK) continue;
            struct stat target {};
            if (stat(item->complete_path, &target) != 0) {
                EXPECT_EQ(item->link_target_type, RPF_FSO_TARGET_UNREADABLE) << item->complete_path;
                EXPECT_EQ(item->alias_location, nullptr) << item->complete_path;
            } else {
                EXPECT_EQ(item->alias_location, canonical(item->complete_path)) << item->complete_path;
            }
        }
    }
}

} // namespace
