// The item record built by hand: constructor rules, children and the walk, keys, dump and the deep free.
#include <rkcore/rpf_path.h>
#include <rkcore/rpf_size.h>

#include "fso_test_support.h"

using namespace rktest;

namespace {

const auto address = [](const void *value) { return reinterpret_cast<intptr_t>(value); };

// A remote-style record owning every text; a target with leading blanks is copied, any other handed over.
rpf_fso *ownedRecord(int32_t type, const char *name, const char *parent, const char *target = nullptr)
{
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): a failed allocation fails the test anyway
    return rpf_fso_new(type, RPF_FSO_REMOTE, 644, strdup("Jan 1"), name, strdup("me"), strdup("staff"), 1, 10,
                       target == nullptr || target[0] == ' ' ? target : strdup(target), parent);
}

TEST(FsoConstructor, NamesAndCompletePaths)
{
    // Path or name, parent; name, complete path, extension.
    const std::tuple<const char *, const char *, const char *, const char *, const char *> rows[] = {
        {"etc", "/", "etc", "/etc", "<null>"},
        {nullptr, "/usr", "", "/usr", "<null>"}, // read as the empty name
        {"etc", nullptr, "etc", "<null>", "<null>"},
        {"etc", "", "etc", "etc", "<null>"},         // the empty parent counts as the root
        {"/a/b/c", "/zzz", "c", "/a/b/c", "<null>"}, // an absolute path wins over the parent
        {"/a", nullptr, "a", "/a", "<null>"},        // ... and supplies one
        {"/a/b/", "/zzz", "", "/a/b", "<null>"},     // empty last component: the parent alone
        {".profile", "/home/u", ".profile", "/home/u/.profile", "<null>"},
        {"été 1.2 x.tar.gz", "/d", "été 1.2 x.tar.gz", "/d/été 1.2 x.tar.gz", "gz"},
        {"x", "//", "x", "///x", "<null>"}, // only "/" itself is the root
    };
    for (const auto &[pathOrName, parent, name, completePath, extension] : rows) {
        Tree record(ownedRecord(RPF_FSO_TYPE_FILE, pathOrName, parent));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(std::make_tuple(text(record->name), text(record->complete_path), text(record->extension)),
                  std::make_tuple(name, completePath, extension))
            << "path_or_name \"" << text(pathOrName) << "\", parent \"" << text(parent) << "\"";
    }
}

TEST(FsoConstructor, LinkTargets)
{
    // Target, path or name, parent; alias location, complete alias path, whether the target pointer is kept.
    const std::tuple<const char *, const char *, const char *, const char *, const char *, bool> rows[] = {
        {"  ../x", "l", "/p", "../x", "/p/../x", false}, // blanks removed, nothing normalised
        {"/abs/t", "l", "/p", "/abs/t", "/abs/t", true},
        {"t", "l", "/", "t", "/t", true},
        {"t", "l", "", "t", "t", true},
        {"t", "/a/b/l", "/p", "t", "/p/t", true},    // joined to the argument, not to /a/b
        {" \tt", "l", "/p", "\tt", "/p/\tt", false}, // only spaces are blanks
        {"t", "l", nullptr, "t", "t", true},         // nothing to join to
        {nullptr, "l", "/", "<null>", "<null>", false},
        {"", "l", "/", "<null>", "<null>", false},
    };
    for (const auto &[target, pathOrName, parent, aliasLocation, completeAliasPath, keepsPointer] : rows) {
        rpf_fso *record = rpf_fso_new(RPF_FSO_TYPE_LINK, RPF_FSO_REMOTE, 777, nullptr, pathOrName, nullptr, nullptr, 1,
                                      0, target, parent);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(std::make_tuple(text(record->alias_location), text(record->complete_alias_path),
                                  target != nullptr && record->alias_location == target,
                                  target != nullptr && record->complete_alias_path == target), // always a copy
                  std::make_tuple(aliasLocation, completeAliasPath, keepsPointer, false))
            << "target \"" << text(target) << "\", parent \"" << text(parent) << "\"";
        if (keepsPointer) record->alias_location = nullptr; // the literal is not the record's
        rpf_fso_destroy_deep(record);
    }
}

TEST(FsoConstructor, AccessorsAndAnObjectSetOnce)
{
    Tree file(ownedRecord(RPF_FSO_TYPE_FILE, "f", "/")), dir(ownedRecord(RPF_FSO_TYPE_DIRECTORY, "d", "/"));
    EXPECT_EQ(std::make_tuple(rpf_fso_has_object(file.get()), rpf_fso_isFile(file.get()), rpf_fso_isLocal(file.get()),
                              rpf_fso_isRemote(file.get()), rpf_fso_isDir(dir.get()), dir->current_index, file->url),
              std::make_tuple(0, 1, 0, 1, 1, 0, nullptr)); // a directory's cursor needs a reset first
    int marker = 0;
    rpf_fso_object_set(file.get(), &marker);
    rpf_fso_object_set(file.get(), nullptr);
    EXPECT_EQ(std::make_tuple(rpf_fso_has_object(file.get()), rpf_fso_isLink(nullptr), rpf_fso_get_url(nullptr),
                              rpf_fso_reset(nullptr)),
              std::make_tuple(1, 0, nullptr, nullptr)); // an object set once stays set
}

TEST(FsoChildren, AddIndexWalkAndNotADirectory)
{
    CapturedDiagnostics diagnostics;
    Tree dir(ownedRecord(RPF_FSO_TYPE_DIRECTORY, "d", "/"));
    rpf_fso *f1 = ownedRecord(RPF_FSO_TYPE_FILE, "F1", "/d"), *d1 = ownedRecord(RPF_FSO_TYPE_DIRECTORY, "D1", "/d");
    rpf_fso *f2 = ownedRecord(RPF_FSO_TYPE_LINK, "F2", "/d", "F1");
    for (rpf_fso *child : {f1, d1, f2})
        ASSERT_EQ(rpf_fso_add_subitem(dir.get(), child), 0);
    auto at = [&](int32_t index, int32_t kind) { return rpf_fso_get_subitem_at_index(dir.get(), index, kind); };
    EXPECT_EQ(std::make_tuple(f1->parent, rpf_fso_parent(d1), rpf_fso_file_count(dir.get()),
                              rpf_fso_subdirectory_count(dir.get()), at(1, RPF_FSO_FILES),
                              at(0, RPF_FSO_SUBDIRECTORIES), at(0, 7)), // any other kind selects the files
              std::make_tuple(dir.get(), dir.get(), 2, 1, f2, d1, f1));
    // The count itself passes the range test (and gives nothing); beyond and below it does not.
    EXPECT_EQ(at(2, RPF_FSO_FILES), nullptr);
    EXPECT_EQ(diagnostics.take(), "");
    EXPECT_EQ(std::make_tuple(at(3, RPF_FSO_FILES), at(-1, RPF_FSO_SUBDIRECTORIES)), std::make_tuple(nullptr, nullptr));
    EXPECT_EQ(diagnostics.take(), "Index out of range\nIndex out of range\n");

    ASSERT_EQ(rpf_fso_reset(dir.get()), dir.get());
    auto step = [](const std::string &body) {
        return "Entering rpf_fso_next_item\nTotal Items : 3\n" + body + "Leaving rpf_fso_next_item\n";
    };
    const std::pair<rpf_fso *, std::string> steps[] = {
        {f1, step("Getting a file\nCurrent Index is 1\nActual Array index is 0\n")},
        {f2, step("Getting a file\nCurrent Index is 2\nActual Array index is 1\n")},
        {d1, step("Getting a dir\nCorrecting Index\nCurrent Index is 3\nActual Array index is 0\n")},
        {nullptr, step("")},
        {nullptr, step("")}, // stays at the end
    };
    for (size_t i = 0; i < std::size(steps); ++i) {
        EXPECT_EQ(rpf_fso_next_item(dir.get()), steps[i].first) << "step " << i;
        EXPECT_EQ(diagnostics.take(), steps[i].second) << "step " << i;
    }
    rpf_fso_reset(dir.get());
    EXPECT_EQ(rpf_fso_next_item(dir.get()), f1); // and starts over after a reset
    diagnostics.take();
    Tree file(ownedRecord(RPF_FSO_TYPE_FILE, "f", "/")), child(ownedRecord(RPF_FSO_TYPE_FILE, "c", "/"));
    EXPECT_EQ(rpf_fso_add_subitem(file.get(), child.get()), RPF_FSO_NOT_A_DIRECTORY);
    EXPECT_EQ(child->parent, nullptr);
    EXPECT_EQ(diagnostics.take(), "Dumb ass programmer detected\n");
    EXPECT_EQ(address(rpf_fso_next_item(file.get())), RPF_FSO_NOT_A_DIRECTORY);
    EXPECT_EQ(diagnostics.take(), "Entering rpf_fso_next_item\nDumb ass programmer detected\n");
    EXPECT_EQ(std::make_tuple(address(rpf_fso_next_item(nullptr)), rpf_fso_add_subitem(nullptr, child.get()),
                              rpf_fso_file_count(file.get()),
                              rpf_fso_get_subitem_at_index(file.get(), 0, RPF_FSO_FILES)),
              std::make_tuple(intptr_t{RPF_FSO_NOT_A_DIRECTORY}, int32_t{RPF_FSO_NOT_A_DIRECTORY}, 0, nullptr));
    diagnostics.take();

    Tree empty(ownedRecord(RPF_FSO_TYPE_DIRECTORY, "e", "/"));
    rpf_fso_reset(empty.get());
    EXPECT_EQ(rpf_fso_next_item(empty.get()), nullptr);
    EXPECT_EQ(diagnostics.take(),
              "Entering rpf_fso_next_item\nTotal Items : 0\nThere are no items in this directory\n");
    EXPECT_EQ(rpf_fso_add_subitem(empty.get(), nullptr), -1);
    EXPECT_EQ(rpf_fso_file_count(empty.get()), 0);
}

TEST(FsoKeys, EveryKey)
{
    // The owner, group and date are the very pointers handed over.
    char *date = strdup("Jan 1"), *owner = strdup("me"), *group = strdup("staff");
    Tree record(
        rpf_fso_new(RPF_FSO_TYPE_LINK, RPF_FSO_LOCAL, 644, date, "x.tar.gz", owner, group, 3, 2048, " t", "/srv/data"));
    rpf_fso *r = record.get();
    r->link_target_type = RPF_FSO_TARGET_FILE;
    r->parent = r;
    r->access_perms = strdup("rw-r--r--");
    r->url = rpf_url_new_local("/srv/data/x.tar.gz");
    auto key = [r](int32_t k) { return rpf_fso_get_item_for_key(r, k); };
    auto newText = [&](int32_t k) { return take(reinterpret_cast<char *>(key(k))); }; // NOLINT
    // The record's own texts (the very pointers), numbers, and 0 for every unused key.
    const int32_t textKeys[] = {RPF_FSO_KEY_ACCESS_PERMS,   RPF_FSO_KEY_DATE,          RPF_FSO_KEY_NAME,
                                RPF_FSO_KEY_OWNER,          RPF_FSO_KEY_GROUP,         RPF_FSO_KEY_COMPLETE_ALIAS_PATH,
                                RPF_FSO_KEY_ALIAS_LOCATION, RPF_FSO_KEY_COMPLETE_PATH, RPF_FSO_KEY_PARENT,
                                RPF_FSO_KEY_EXTENSION};
    const void *texts[] = {r->access_perms,  date, r->name,     owner, group, r->complete_alias_path, r->alias_location,
                           r->complete_path, r,    r->extension};
    for (size_t i = 0; i < std::size(textKeys); ++i)
        EXPECT_EQ(key(textKeys[i]), address(texts[i])) << "key " << textKeys[i];
    EXPECT_EQ(std::make_tuple(key(RPF_FSO_KEY_PERMS), key(RPF_FSO_KEY_LINKS), key(RPF_FSO_KEY_SIZE),
                              key(RPF_FSO_KEY_LINK_TARGET_TYPE)),
              std::make_tuple(644, 3, 2048, RPF_FSO_TARGET_FILE));
    r->parent = nullptr;
    for (int32_t unused : {3, 10, -1, 20, INT32_MIN, INT32_MAX})
        EXPECT_EQ(key(unused), 0) << "key " << unused;
    // New texts, owned by the caller.
    EXPECT_EQ(
        std::make_tuple(newText(RPF_FSO_KEY_SIZE_TEXT), newText(RPF_FSO_KEY_URL_TEXT), newText(RPF_FSO_KEY_RAVIX_URL)),
        std::make_tuple(take(rpf_utility_format_size(2048)), take(rpf_url_string(r->url)),
                        take(rpf_ravix_url(r->url, RPF_FSO_TYPE_LINK, 2048))));
    char *parent = reinterpret_cast<char *>(key(RPF_FSO_KEY_PARENT_PATH)); // NOLINT(performance-no-int-to-ptr)
    EXPECT_EQ(text(parent), "/srv/data");
    rpf_path_free(parent);
    EXPECT_EQ(rpf_fso_get_item_for_key(nullptr, RPF_FSO_KEY_NAME), 0);
    // Keys with a missing source answer 0 instead of reading through null; the URL text answers as
    // rpf_url_string of null does, with its line.
    Tree bare(ownedRecord(RPF_FSO_TYPE_FILE, "n", nullptr));
    CapturedDiagnostics diagnostics;
    const char *nullUrlLine = rpf_url_string(nullptr) == nullptr ? "Null URL passed in\n" : "<a text>";
    EXPECT_EQ(diagnostics.take(), nullUrlLine);
    for (int32_t k : {RPF_FSO_KEY_URL_TEXT, RPF_FSO_KEY_RAVIX_URL, RPF_FSO_KEY_PARENT_PATH}) {
        const intptr_t value = rpf_fso_get_item_for_key(bare.get(), k);
        EXPECT_EQ(std::make_pair(value, diagnostics.take()),
                  std::make_pair(intptr_t{0}, std::string(k == RPF_FSO_KEY_URL_TEXT ? nullUrlLine : "")))
            << "key " << k;
    }
}

std::string fileLines(const std::string &name, const std::string &path)
{
    return "\t\tName : >" + name + "<\n\t\tSize : 10\n\t\tLinks : 1\n\t\tAccess Perms : (null)\n" +
           "\t\tDate Modified : Jan 1\n\t\tOwner Name : >me<\n\t\tGroup Name : >staff<\n\t\tComplete Path : >" + path +
           "<\n\t\tURL : >(null)<\n";
}

TEST(FsoDump, FileLinkDirectoryAndNull)
{
    CapturedDiagnostics diagnostics;
    rpf_fso_dump(nullptr);
    EXPECT_EQ(diagnostics.take(), "File System Object was null\n");
    Tree link(ownedRecord(RPF_FSO_TYPE_LINK, "l", "/d", "/t"));
    rpf_fso_dump(link.get());
    EXPECT_EQ(diagnostics.take(), "Item is a File\n" + fileLines("l", "/d/l") +
                                      "\t\tAlias Location : >/t<\n\t\tComplete Alias Path : >/t<\n");
    // A directory lists its sub-folders (owner twice, no size), then its files (a link's target left out).
    Tree dir(ownedRecord(RPF_FSO_TYPE_DIRECTORY, "d", "/"));
    rpf_fso *sub = ownedRecord(RPF_FSO_TYPE_DIRECTORY, "s", "/d");
    sub->url = rpf_url_new_local("/d/s");
    rpf_fso_add_subitem(dir.get(), sub);
    rpf_fso_add_subitem(dir.get(), ownedRecord(RPF_FSO_TYPE_LINK, "f", "/d", "x"));
    rpf_fso_dump(dir.get());
    EXPECT_EQ(diagnostics.take(), "Item is a directory\nIt has 1 subdirectories and 1 files in it\nSubdirectories\n"
                                  "\t\tName : >s<\n\t\tAccess Perms : (null)\n\t\tDate Modified : Jan 1\n"
                                  "\t\tOwner Name : >me<\n\t\tGroup Name : >staff<\n\t\tLinks : 1\n"
                                  "\t\tOwner Name : >me<\n\t\tComplete Path : >/d/s<\n\t\tURL : >" +
                                      take(rpf_url_string(sub->url)) + "<\nFiles\n" + fileLines("f", "/d/f"));
    // A null child ends the dump.
    ASSERT_EQ(rpf_array_append(dir->subdirectories, nullptr), 0);
    rpf_fso_dump(dir.get());
    const std::string dump = diagnostics.take();
    EXPECT_EQ(std::make_pair(dump.find("Subitem was NULL\n") != std::string::npos, dump.find("Files\n")),
              std::make_pair(true, std::string::npos));
}

TEST(FsoDeepFree, NestedTreeAndSharedTexts)
{
    // 200 levels deep; LeakSanitizer checks that the deep free reaches every one.
    rpf_fso *root = ownedRecord(RPF_FSO_TYPE_DIRECTORY, "/", nullptr), *dir = root;
    for (int level = 0; level < 200; ++level, dir = rpf_fso_get_subitem_at_index(dir, 0, RPF_FSO_SUBDIRECTORIES)) {
        rpf_fso *sub = ownedRecord(RPF_FSO_TYPE_DIRECTORY, "sub", "/x");
        sub->url = rpf_url_new_local("/x/sub");
        sub->access_perms = strdup("rwx------");
        rpf_fso_add_subitem(dir, ownedRecord(RPF_FSO_TYPE_LINK, "  l", "/x", "  ../t"));
        rpf_fso_add_subitem(dir, sub);
    }
    rpf_fso_destroy_deep(root);
    rpf_fso_destroy_deep(nullptr);
    // Plain texts go to free(); the block-only destroy leaves them alone.
    rpf_fso *block = ownedRecord(RPF_FSO_TYPE_FILE, "f", "/");
    char *texts[] = {block->name, block->complete_path, block->date_modified, block->owner_name, block->group_name};
    rpf_fso_destroy(block);
    for (char *kept : {texts[0], texts[1], texts[2], texts[3], texts[4], static_cast<char *>(nullptr)})
        rpf_fso_free_text(kept);
}

} // namespace
