// The item record built by hand: constructor rules, children and the walk,
// keys, dump and the deep free.
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_path.h>
#include <rkcore/rpf_size.h>
#include <rkcore/rpf_url.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "core_test_support.h"
#include "fso_test_support.h"

using rktest::CapturedDiagnostics;
using rktest::take;
using rktest::Tree;

namespace {

// A key's answer as the pointer it stands for.
template <typename T> T *pointer(intptr_t value)
{
    return reinterpret_cast<T *>(value); // NOLINT(performance-no-int-to-ptr)
}

std::string text(const char *value)
{
    return value == nullptr ? "<null>" : value;
}

// A record whose handed texts are the caller's literals: they are cleared
// before a deep free.
rpf_fso *withoutHandedTexts(rpf_fso *record)
{
    record->owner_name = nullptr;
    record->group_name = nullptr;
    record->date_modified = nullptr;
    return record;
}

// A remote-style record whose every text is the record's own (deep-freeable):
// a target with leading blanks is copied by the record, any other is handed
// over.
rpf_fso *ownedRecord(int32_t type, const char *name, const char *parent, const char *target = nullptr)
{
    // The record takes the texts (a failed allocation would leak them: a test fails then anyway).
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc)
    return rpf_fso_new(type, RPF_FSO_REMOTE, 644, strdup("Jan 1"), name, strdup("me"), strdup("staff"), 1, 10,
                       target == nullptr || target[0] == ' ' ? target : strdup(target), parent);
}

TEST(FsoConstructor, NamesAndCompletePaths)
{
    const struct Row {
        const char *pathOrName, *parent;
        const char *name, *completePath, *extension;
    } rows[] = {
        {"etc", "/", "etc", "/etc", "<null>"},
        {"etc", "/usr", "etc", "/usr/etc", "<null>"},
        {"", "/usr", "", "/usr", "<null>"},
        {"etc", nullptr, "etc", "<null>", "<null>"},
        {"etc", "", "etc", "etc", "<null>"},         // the empty parent counts as the root
        {"/a/b/c", "/zzz", "c", "/a/b/c", "<null>"}, // an absolute path wins over the parent
        {"/a", nullptr, "a", "/a", "<null>"},        // ... and supplies one
        {"/a/b/", "/zzz", "", "/a/b", "<null>"},     // empty last component: the parent alone
        {"file.tar.gz", "/p", "file.tar.gz", "/p/file.tar.gz", "gz"},
        {".profile", "/home/u", ".profile", "/home/u/.profile", "<null>"},
        {"été 1.2 x.txt", "/d", "été 1.2 x.txt", "/d/été 1.2 x.txt", "txt"},
        {"x", "//", "x", "///x", "<null>"}, // only "/" itself is the root
    };
    for (const Row &row : rows) {
        Tree record(withoutHandedTexts(rpf_fso_new(RPF_FSO_TYPE_FILE, RPF_FSO_REMOTE, 644, "d", row.pathOrName, "o",
                                                   "g", 1, 2, nullptr, row.parent)));
        ASSERT_NE(record, nullptr);
        SCOPED_TRACE(std::string("path_or_name \"") + row.pathOrName + "\", parent \"" + text(row.parent) + "\"");
        EXPECT_EQ(text(record->name), row.name);
        EXPECT_EQ(text(record->complete_path), row.completePath);
        EXPECT_EQ(text(record->extension), row.extension);
        EXPECT_EQ(record->alias_location, nullptr);
        EXPECT_EQ(record->complete_alias_path, nullptr);
        EXPECT_EQ(record->link_target_type, 0);
    }
}

TEST(FsoConstructor, LinkTargets)
{
    const struct Row {
        const char *target, *pathOrName, *parent;
        const char *aliasLocation, *completeAliasPath;
        bool keepsPointer;
    } rows[] = {
        {"  ../x", "l", "/p", "../x", "/p/../x", false}, // blanks removed, nothing normalised
        {"../x", "l", "/p", "../x", "/p/../x", true},
        {"/abs/t", "l", "/p", "/abs/t", "/abs/t", true},
        {"t", "l", "/", "t", "/t", true},
        {"t", "l", "", "t", "t", true},
        {"t", "/a/b/l", "/p", "t", "/p/t", true},    // joined to the argument, not to /a/b
        {" \tt", "l", "/p", "\tt", "/p/\tt", false}, // only spaces are blanks
        {"t", "l", nullptr, "t", "t", true},         // nothing to join to
    };
    for (const Row &row : rows) {
        rpf_fso *record = rpf_fso_new(RPF_FSO_TYPE_LINK, RPF_FSO_REMOTE, 777, nullptr, row.pathOrName, nullptr, nullptr,
                                      1, 0, row.target, row.parent);
        ASSERT_NE(record, nullptr);
        SCOPED_TRACE(std::string("target \"") + row.target + "\", parent \"" + text(row.parent) + "\"");
        EXPECT_EQ(text(record->alias_location), row.aliasLocation);
        EXPECT_EQ(text(record->complete_alias_path), row.completeAliasPath);
        EXPECT_EQ(record->alias_location == row.target, row.keepsPointer);
        EXPECT_NE(record->complete_alias_path, row.target);
        if (row.keepsPointer) record->alias_location = nullptr; // the literal is not the record's
        rpf_fso_destroy_deep(record);
    }
    for (const char *none : {static_cast<const char *>(nullptr), ""}) {
        Tree record(rpf_fso_new(RPF_FSO_TYPE_LINK, RPF_FSO_REMOTE, 0, nullptr, "l", nullptr, nullptr, 0, 0, none, "/"));
        EXPECT_EQ(record->alias_location, nullptr);
        EXPECT_EQ(record->complete_alias_path, nullptr);
    }
}

TEST(FsoConstructor, StoresValuesAndKeepsHandedPointers)
{
    const char *date = "Jan 15 10:30";
    const char *owner = "alice";
    const char *group = "staff";
    Tree file(withoutHandedTexts(
        rpf_fso_new(RPF_FSO_TYPE_FILE, RPF_FSO_REMOTE, 640, date, "a.txt", owner, group, 3, -5, nullptr, "/r")));
    EXPECT_EQ(file->date_modified, nullptr); // cleared above: the record had kept the very pointers
    Tree kept(rpf_fso_new(RPF_FSO_TYPE_FILE, RPF_FSO_LOCAL, 640, date, "a.txt", owner, group, 3, -5, nullptr, "/r"));
    EXPECT_EQ(kept->date_modified, date);
    EXPECT_EQ(kept->owner_name, owner);
    EXPECT_EQ(kept->group_name, group);
    EXPECT_EQ(kept->locality, RPF_FSO_LOCAL);
    EXPECT_EQ(kept->type, RPF_FSO_TYPE_FILE);
    EXPECT_EQ(kept->perms, 640);
    EXPECT_EQ(kept->links, 3);
    EXPECT_EQ(kept->size, -5);
    EXPECT_EQ(kept->mtime, 0);
    EXPECT_EQ(kept->access_perms, nullptr);
    EXPECT_EQ(kept->url, nullptr);
    EXPECT_EQ(kept->files, nullptr);
    EXPECT_EQ(kept->subdirectories, nullptr);
    EXPECT_EQ(kept->current_index, 0);
    EXPECT_EQ(rpf_fso_isFile(kept.get()), 1);
    EXPECT_EQ(rpf_fso_isDir(kept.get()), 0);
    EXPECT_EQ(rpf_fso_isLocal(kept.get()), 1);
    EXPECT_EQ(rpf_fso_isRemote(kept.get()), 0);
    withoutHandedTexts(kept.get());

    Tree dir(ownedRecord(RPF_FSO_TYPE_DIRECTORY, "d", "/"));
    ASSERT_NE(dir->files, nullptr);
    ASSERT_NE(dir->subdirectories, nullptr);
    EXPECT_NE(dir->files, dir->subdirectories);
    EXPECT_EQ(dir->current_index, 0); // walking needs a reset first
    EXPECT_EQ(rpf_fso_isDir(dir.get()), 1);
    EXPECT_EQ(rpf_fso_isRemote(dir.get()), 1);
}

TEST(FsoChildren, AddAndIndexAndWalkOrder)
{
    CapturedDiagnostics diagnostics;
    Tree dir(ownedRecord(RPF_FSO_TYPE_DIRECTORY, "d", "/"));
    rpf_fso *f1 = ownedRecord(RPF_FSO_TYPE_FILE, "F1", "/d");
    rpf_fso *d1 = ownedRecord(RPF_FSO_TYPE_DIRECTORY, "D1", "/d");
    rpf_fso *f2 = ownedRecord(RPF_FSO_TYPE_LINK, "F2", "/d", "F1");
    for (rpf_fso *child : {f1, d1, f2})
        ASSERT_EQ(rpf_fso_add_subitem(dir.get(), child), 0);
    EXPECT_EQ(f1->parent, dir.get());
    EXPECT_EQ(rpf_fso_parent(d1), dir.get());
    EXPECT_EQ(rpf_fso_file_count(dir.get()), 2);
    EXPECT_EQ(rpf_fso_subdirectory_count(dir.get()), 1);
    EXPECT_EQ(rpf_fso_get_subitem_at_index(dir.get(), 1, RPF_FSO_FILES), f2);
    EXPECT_EQ(rpf_fso_get_subitem_at_index(dir.get(), 0, RPF_FSO_SUBDIRECTORIES), d1);
    EXPECT_EQ(rpf_fso_get_subitem_at_index(dir.get(), 0, 7), f1); // any other value selects the files
    EXPECT_EQ(diagnostics.take(), "");

    // The count itself passes the range test (and gives nothing); beyond and
    // below it does not.
    EXPECT_EQ(rpf_fso_get_subitem_at_index(dir.get(), 2, RPF_FSO_FILES), nullptr);
    EXPECT_EQ(diagnostics.take(), "");
    EXPECT_EQ(rpf_fso_get_subitem_at_index(dir.get(), 3, RPF_FSO_FILES), nullptr);
    EXPECT_EQ(rpf_fso_get_subitem_at_index(dir.get(), -1, RPF_FSO_SUBDIRECTORIES), nullptr);
    EXPECT_EQ(diagnostics.take(), "Index out of range\nIndex out of range\n");

    ASSERT_EQ(rpf_fso_reset(dir.get()), dir.get());
    const char *steps[] = {
        "Entering rpf_fso_next_item\nTotal Items : 3\nGetting a file\nCurrent Index is 1\n"
        "Actual Array index is 0\nLeaving rpf_fso_next_item\n",
        "Entering rpf_fso_next_item\nTotal Items : 3\nGetting a file\nCurrent Index is 2\n"
        "Actual Array index is 1\nLeaving rpf_fso_next_item\n",
        "Entering rpf_fso_next_item\nTotal Items : 3\nGetting a dir\nCorrecting Index\nCurrent Index is 3\n"
        "Actual Array index is 0\nLeaving rpf_fso_next_item\n",
        "Entering rpf_fso_next_item\nTotal Items : 3\nLeaving rpf_fso_next_item\n",
    };
    rpf_fso *expected[] = {f1, f2, d1, nullptr};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(rpf_fso_next_item(dir.get()), expected[i]) << "step " << i;
        EXPECT_EQ(diagnostics.take(), steps[i]) << "step " << i;
    }
    EXPECT_EQ(rpf_fso_next_item(dir.get()), nullptr); // stays at the end
    rpf_fso_reset(dir.get());
    EXPECT_EQ(rpf_fso_next_item(dir.get()), f1); // and starts over after a reset
}

TEST(FsoChildren, NotADirectoryAndEmptyDirectory)
{
    CapturedDiagnostics diagnostics;
    Tree file(ownedRecord(RPF_FSO_TYPE_FILE, "f", "/"));
    Tree child(ownedRecord(RPF_FSO_TYPE_FILE, "c", "/"));
    EXPECT_EQ(rpf_fso_add_subitem(file.get(), child.get()), RPF_FSO_NOT_A_DIRECTORY);
    EXPECT_EQ(child->parent, nullptr);
    EXPECT_EQ(diagnostics.take(), "Dumb ass programmer detected\n");
    EXPECT_EQ(reinterpret_cast<intptr_t>(rpf_fso_next_item(file.get())), -1234);
    EXPECT_EQ(diagnostics.take(), "Entering rpf_fso_next_item\nDumb ass programmer detected\n");
    EXPECT_EQ(reinterpret_cast<intptr_t>(rpf_fso_next_item(nullptr)), -1234);
    EXPECT_EQ(rpf_fso_add_subitem(nullptr, child.get()), -1234);
    EXPECT_EQ(rpf_fso_file_count(file.get()), 0);
    EXPECT_EQ(rpf_fso_get_subitem_at_index(file.get(), 0, RPF_FSO_FILES), nullptr);
    diagnostics.take();

    Tree dir(ownedRecord(RPF_FSO_TYPE_DIRECTORY, "d", "/"));
    rpf_fso_reset(dir.get());
    EXPECT_EQ(rpf_fso_next_item(dir.get()), nullptr);
    EXPECT_EQ(diagnostics.take(),
              "Entering rpf_fso_next_item\nTotal Items : 0\nThere are no items in this directory\n");
    EXPECT_EQ(rpf_fso_add_subitem(dir.get(), nullptr), -1);
    EXPECT_EQ(rpf_fso_file_count(dir.get()), 0);
}

TEST(FsoAccessors, SettersAndObject)
{
    Tree record(ownedRecord(RPF_FSO_TYPE_FILE, "f", "/"));
    int marker = 0;
    EXPECT_EQ(rpf_fso_has_object(record.get()), 0);
    rpf_fso_object_set(record.get(), &marker);
    EXPECT_EQ(rpf_fso_object(record.get()), &marker);
    EXPECT_EQ(record->has_object, 1);
    rpf_fso_object_set(record.get(), nullptr);
    EXPECT_EQ(rpf_fso_has_object(record.get()), 1); // set once, stays set
    rpf_fso other{};
    EXPECT_EQ(rpf_fso_set_parent(record.get(), &other), record.get());
    EXPECT_EQ(rpf_fso_get_item_for_key(record.get(), RPF_FSO_KEY_PARENT), reinterpret_cast<intptr_t>(&other));
    rpf_fso_set_parent(record.get(), nullptr);
    rpf_url *url = rpf_url_new_local("/f");
    EXPECT_EQ(rpf_fso_set_url(record.get(), url), record.get());
    EXPECT_EQ(rpf_fso_get_url(record.get()), url);
    EXPECT_EQ(rpf_fso_isLink(nullptr), 0);
    EXPECT_EQ(rpf_fso_get_url(nullptr), nullptr);
    EXPECT_EQ(rpf_fso_reset(nullptr), nullptr);
}

TEST(FsoKeys, EveryKey)
{
    rpf_fso *record = ownedRecord(RPF_FSO_TYPE_LINK, "x.tar.gz", "/srv/data", " t");
    record->size = 2048;
    record->access_perms = strdup("rw-r--r--");
    record->url = rpf_url_new_local("/srv/data/x.tar.gz");
    Tree owner(record);
    const rpf_fso *r = record;
    auto key = [r](int32_t k) { return rpf_fso_get_item_for_key(r, k); };
    auto asText = [](intptr_t value) { return pointer<const char>(value); };
    EXPECT_EQ(asText(key(RPF_FSO_KEY_ACCESS_PERMS)), r->access_perms);
    EXPECT_EQ(key(RPF_FSO_KEY_PERMS), 644);
    EXPECT_EQ(asText(key(RPF_FSO_KEY_DATE)), r->date_modified);
    EXPECT_EQ(asText(key(RPF_FSO_KEY_NAME)), r->name);
    EXPECT_EQ(asText(key(RPF_FSO_KEY_OWNER)), r->owner_name);
    EXPECT_EQ(asText(key(RPF_FSO_KEY_GROUP)), r->group_name);
    EXPECT_EQ(key(RPF_FSO_KEY_LINKS), 1);
    EXPECT_EQ(take(pointer<char>(key(RPF_FSO_KEY_SIZE_TEXT))), take(rpf_utility_format_size(2048)));
    EXPECT_EQ(key(RPF_FSO_KEY_SIZE), 2048);
    EXPECT_EQ(text(asText(key(RPF_FSO_KEY_COMPLETE_ALIAS_PATH))), "/srv/data/t");
    EXPECT_EQ(text(asText(key(RPF_FSO_KEY_ALIAS_LOCATION))), "t");
    EXPECT_EQ(take(pointer<char>(key(RPF_FSO_KEY_URL_TEXT))), take(rpf_url_string(r->url)));
    EXPECT_EQ(take(pointer<char>(key(RPF_FSO_KEY_RAVIX_URL))), take(rpf_ravix_url(r->url, 3, 2048)));
    EXPECT_EQ(asText(key(RPF_FSO_KEY_COMPLETE_PATH)), r->complete_path);
    char *parent = pointer<char>(key(RPF_FSO_KEY_PARENT_PATH));
    EXPECT_EQ(text(parent), "/srv/data");
    rpf_path_free(parent);
    EXPECT_EQ(key(RPF_FSO_KEY_LINK_TARGET_TYPE), 0);
    EXPECT_EQ(key(RPF_FSO_KEY_PARENT), 0);
    EXPECT_EQ(text(asText(key(RPF_FSO_KEY_EXTENSION))), "gz");
    for (int32_t unused : {3, 10, -1, 20, INT32_MIN, INT32_MAX})
        EXPECT_EQ(key(unused), 0) << "key " << unused;
    EXPECT_EQ(rpf_fso_get_item_for_key(nullptr, RPF_FSO_KEY_NAME), 0);

    // Keys with a missing source answer 0 instead of reading through null.
    Tree bare(ownedRecord(RPF_FSO_TYPE_FILE, "n", nullptr));
    for (int32_t k : {RPF_FSO_KEY_URL_TEXT, RPF_FSO_KEY_RAVIX_URL, RPF_FSO_KEY_PARENT_PATH})
        EXPECT_EQ(rpf_fso_get_item_for_key(bare.get(), k), 0) << "key " << k;
}

TEST(FsoDump, FileLinkDirectoryAndNull)
{
    CapturedDiagnostics diagnostics;
    rpf_fso_dump(nullptr);
    EXPECT_EQ(diagnostics.take(), "File System Object was null\n");

    Tree link(ownedRecord(RPF_FSO_TYPE_LINK, "l", "/d", "/t"));
    rpf_fso_dump(link.get());
    EXPECT_EQ(diagnostics.take(), "Item is a File\n\t\tName : >l<\n\t\tSize : 10\n\t\tLinks : 1\n"
                                  "\t\tAccess Perms : (null)\n\t\tDate Modified : Jan 1\n\t\tOwner Name : >me<\n"
                                  "\t\tGroup Name : >staff<\n\t\tComplete Path : >/d/l<\n\t\tURL : >(null)<\n"
                                  "\t\tAlias Location : >/t<\n\t\tComplete Alias Path : >/t<\n");

    Tree dir(ownedRecord(RPF_FSO_TYPE_DIRECTORY, "d", "/"));
    rpf_fso *sub = ownedRecord(RPF_FSO_TYPE_DIRECTORY, "s", "/d");
    sub->url = rpf_url_new_local("/d/s");
    rpf_fso_add_subitem(dir.get(), sub);
    rpf_fso_add_subitem(dir.get(), ownedRecord(RPF_FSO_TYPE_LINK, "f", "/d", "x"));
    const std::string url = take(rpf_url_string(sub->url));
    rpf_fso_dump(dir.get());
    EXPECT_EQ(diagnostics.take(), "Item is a directory\nIt has 1 subdirectories and 1 files in it\nSubdirectories\n"
                                  "\t\tName : >s<\n\t\tAccess Perms : (null)\n\t\tDate Modified : Jan 1\n"
                                  "\t\tOwner Name : >me<\n\t\tGroup Name : >staff<\n\t\tLinks : 1\n"
                                  "\t\tOwner Name : >me<\n\t\tComplete Path : >/d/s<\n\t\tURL : >" +
                                      url +
                                      "<\n"
                                      "Files\n\t\tName : >f<\n\t\tSize : 10\n\t\tLinks : 1\n"
                                      "\t\tAccess Perms : (null)\n\t\tDate Modified : Jan 1\n\t\tOwner Name : >me<\n"
                                      "\t\tGroup Name : >staff<\n\t\tComplete Path : >/d/f<\n\t\tURL : >(null)<\n");

    // A null child ends the dump.
    ASSERT_EQ(rpf_array_append(dir->subdirectories, nullptr), 0);
    rpf_fso_dump(dir.get());
    const std::string dump = diagnostics.take();
    EXPECT_NE(dump.find("Subitem was NULL\n"), std::string::npos);
    EXPECT_EQ(dump.find("Files\n"), std::string::npos);
}

TEST(FsoDeepFree, NestedTreeAndSharedTexts)
{
    // A hand-built tree several levels deep; LeakSanitizer checks that the
    // deep free reaches every level.
    rpf_fso *root = ownedRecord(RPF_FSO_TYPE_DIRECTORY, "/", nullptr);
    rpf_fso *dir = root;
    for (int level = 0; level < 200; ++level) {
        rpf_fso *sub = ownedRecord(RPF_FSO_TYPE_DIRECTORY, "sub", "/x");
        sub->url = rpf_url_new_local("/x/sub");
        sub->access_perms = strdup("rwx------");
        rpf_fso_add_subitem(dir, ownedRecord(RPF_FSO_TYPE_LINK, "  l", "/x", "  ../t"));
        rpf_fso_add_subitem(dir, sub);
        dir = sub;
    }
    rpf_fso_destroy_deep(root);
    rpf_fso_destroy_deep(nullptr);

    // Plain texts go to free(); the block-only destroy leaves them alone.
    rpf_fso *block = ownedRecord(RPF_FSO_TYPE_FILE, "f", "/");
    char *texts[] = {block->name, block->complete_path, block->date_modified, block->owner_name, block->group_name};
    rpf_fso_destroy(block);
    for (char *kept : texts)
        rpf_fso_free_text(kept);
    rpf_fso_free_text(nullptr);
}

} // namespace
