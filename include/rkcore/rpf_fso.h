/* rpf_fso: the record of one file-system item, local or remote.
 *
 * A record holds an item's type, names, paths, owner, group, permission
 * number, date text, size, link target and URL record; a directory record also
 * holds its children in two arrays (sub-folders, and everything else) with a
 * cursor that walks them: files first, then sub-folders, each in the order
 * they were added.
 *
 * Remote listings build records with rpf_fso_new; local items come from
 * rpf_fso_get_local_fso, which reads a folder one level deep.
 *
 * Ownership:
 * - rpf_fso_new keeps the owner, group and date pointers it is given, and the
 *   link target when it has no leading blanks; it allocates its own name,
 *   trimmed link target, complete alias path, complete path and extension.
 * - Arrays hold plain pointers; a child's `parent` is not owned.
 * - rpf_fso_destroy frees the record block only: texts, URL record, arrays and
 *   children stay allocated and valid (callers that keep them free them as
 *   they need).
 * - rpf_fso_destroy_deep frees a whole tree (see there).
 * - Records read by rpf_fso_get_local_fso: the records, texts and URL
 *   records of a folder's children are packed together in blocks of that
 *   read, so free a record only with rpf_fso_destroy or rpf_fso_destroy_deep
 *   (never with free(); this holds for every record). Each text
 *   field is still its own NUL-terminated text, but fields may overlap or be
 *   one text: the name is the tail of complete_path, the extension the tail
 *   of the name, the URL record's path is complete_path, and owner, group and
 *   date texts are shared between the read's records. So: never write into a
 *   text of a read record, and free each field with rpf_fso_free_text (the
 *   URL record with rpf_url_dealloc, the arrays with rpf_array_free) or with
 *   the deep free, never with free(). A field may be replaced: free the old
 *   text with rpf_fso_free_text and store a malloc'd one (the deep free
 *   passes it to free()). A block goes when the last field pointing into it
 *   is freed, on whatever thread that happens.
 *
 * Diagnostics (the walk's traces, the dump, error lines) go to the core's
 * diagnostic stream (rpf_diagnostics.h), standard output by default.
 *
 * Thread: a record is not synchronised; use a tree from one thread at a time.
 * Different trees may be read, used and freed on different threads at once,
 * and the fields of one read may be freed on different threads.
 */
#ifndef RKCORE_RPF_FSO_H
#define RKCORE_RPF_FSO_H

#include <stddef.h>
#include <stdint.h>

#include <rkcore/rpf_array.h>
#include <rkcore/rpf_export.h>
#include <rkcore/rpf_url.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Item types (`type`). */
enum { RPF_FSO_TYPE_OTHER = 0, RPF_FSO_TYPE_DIRECTORY = 1, RPF_FSO_TYPE_FILE = 2, RPF_FSO_TYPE_LINK = 3 };

/* Localities (`locality`). */
enum { RPF_FSO_LOCAL = 1, RPF_FSO_REMOTE = 2 };

/* Types of what a link points to (`link_target_type`); 0 for non-links. */
enum {
    RPF_FSO_TARGET_OTHER = 0,
    RPF_FSO_TARGET_DIRECTORY = 1,
    RPF_FSO_TARGET_FILE = 2,
    RPF_FSO_TARGET_UNREADABLE = 4 /* the target could not be examined */
};

/* `which` of rpf_fso_get_subitem_at_index: 1 selects the sub-folders, any
 * other value the files. */
enum { RPF_FSO_FILES = 0, RPF_FSO_SUBDIRECTORIES = 1 };

/* What a child operation answers for a record that is not a directory. */
#define RPF_FSO_NOT_A_DIRECTORY (-1234)

/* The link target text of a link whose target exists but whose canonical path
 * cannot be found. It stands in the target field itself. */
#define RPF_FSO_BROKEN_LINK_TEXT "Link is broken. Use the finder to fix"

typedef struct rpf_fso rpf_fso;

/* Fields in this order; a zeroed record has every field 0 or null. */
struct rpf_fso {
    int32_t locality;          /* 1 local, 2 remote */
    int32_t type;              /* 1 directory, 2 regular file, 3 symbolic link, 0 anything else */
    int32_t link_target_type;  /* links only: 1 directory, 2 file, 0 other, 4 not examinable */
    char *alias_location;      /* link target as given, leading blanks removed */
    char *complete_alias_path; /* link target as an absolute path (joined, never normalised) */
    char *access_perms;        /* permissions as display text; null unless a creator stores one */
    uint16_t perms;            /* rights as three octal digits read as decimal: rwxr-xr-x is 755 */
    char *date_modified;       /* modification date as display text */
    char *extension;           /* extension of `name`, or null */
    int32_t mtime;             /* modification time (seconds since 1970), local items only */
    char *name;                /* last component of the item's path */
    char *owner_name;          /* owner's user name */
    char *group_name;          /* group name */
    int32_t links;             /* hard-link count */
    int32_t size;              /* size in bytes, low 32 bits */
    rpf_fso *parent;           /* the directory record this item was added to; not owned */
    int32_t current_index;     /* cursor: 1-based position of the next child */
    int32_t array_index;       /* cursor: 0-based position within the array in use */
    int32_t in_subdirectories; /* cursor: 1 once it has moved on to the sub-folders */
    void *reserved1;           /* never read or written */
    rpf_url *url;              /* the item's URL record */
    char *complete_path;       /* parent path, separator, name; null without a parent path */
    char *reserved2;           /* never read or written */
    rpf_array *files;          /* directories only: children whose type is not 1 */
    rpf_array *subdirectories; /* directories only: children whose type is 1 */
    void *object;              /* a client's pointer, opaque here */
    int32_t has_object;        /* 1 once `object` was set */
};

/* ---- construction and destruction ---- */

/* A new record from parsed values, or null when memory is exhausted.
 * - link_target (null or empty: none): leading blanks are removed into a new
 *   text, otherwise the pointer is kept; complete_alias_path is a copy of an
 *   absolute target, else parent_path + "/" + target (no "/" after a parent
 *   that is "/" or empty), joined to the argument parent_path.
 * - An absolute path_or_name gives the name its last component, and the path
 *   without it replaces parent_path; otherwise the name is a copy.
 * - complete_path: parent + name when the parent is "/" or empty, parent +
 *   "/" + name for a non-empty name, the parent alone for an empty one; null
 *   when there is no parent path.
 * - A directory (type 1) gets its two empty arrays; its cursor must be reset
 *   (rpf_fso_reset) before the first rpf_fso_next_item.
 * A null path_or_name is read as the empty name. Allocations after the record
 * block are not checked: a text may be null after an exhaustion. */
RPF_EXPORT rpf_fso *rpf_fso_new(int32_t type, int32_t locality, uint16_t perms, const char *date_text,
                                const char *path_or_name, const char *owner, const char *group, int32_t links,
                                int32_t size, const char *link_target, const char *parent_path);

/* The record of a local path, links followed for the path itself, with one
 * record per entry as children when it is a directory (entries in the order
 * the directory gives them; "." and ".." skipped; paths beginning with the
 * four bytes "/dev" get no children; a folder that cannot be opened has none).
 * A child link's target is its canonical absolute path (or
 * RPF_FSO_BROKEN_LINK_TEXT); a link whose target cannot be examined has type
 * 4 and no target. Owner and group names that the system does not know read
 * "Unknown".
 * Null when the path cannot be examined (two diagnostic lines, errno kept),
 * when an entry vanishes or cannot be examined at all while the folder is
 * read, or when memory is exhausted; nothing is left allocated then.
 * Free the result with rpf_fso_destroy_deep. */
RPF_EXPORT rpf_fso *rpf_fso_get_local_fso(const char *path);

/* Frees the record block only (every field stays valid). Null is ignored. */
RPF_EXPORT void rpf_fso_destroy(rpf_fso *record);

/* Frees a record and everything it refers to: every non-null text field
 * (alias_location, complete_alias_path, access_perms, date_modified,
 * extension, name, owner_name, group_name, complete_path) through
 * rpf_fso_free_text, the URL record (rpf_url_dealloc), both arrays, and every
 * child, recursively. It never touches `parent`, `object`, the reserved
 * fields, or a record's siblings. Null is ignored.
 * A creator that handed rpf_fso_new texts it keeps (string literals, its own
 * buffers) must set those fields to null first: the deep free assumes every
 * text was malloc'd for the record. Do not use a child after its directory
 * was deep-freed, and do not deep-free a record twice. */
RPF_EXPORT void rpf_fso_destroy_deep(rpf_fso *record);

/* Frees one text field of a record: a packed text of a local read loses one
 * use (its block goes with the last use of anything in it); any other text
 * is passed to free(). Null is ignored. Any thread. */
RPF_EXPORT void rpf_fso_free_text(char *text);

/* The number of 1 MiB blocks holding records, texts and URL records of local reads
 * that are still in use: 0 once every record of every read has been freed
 * (leak checks in tests and benchmarks). Any thread. */
RPF_EXPORT size_t rpf_fso_packed_blocks_in_use(void);

/* Puts the child cursor at the start and returns the record (null stays
 * null). */
RPF_EXPORT rpf_fso *rpf_fso_reset(rpf_fso *record);

/* ---- children ---- */

/* Appends `child` to the directory's sub-folders (child type 1) or files and
 * makes `dir` its parent. 0 on success; RPF_FSO_NOT_A_DIRECTORY (with the line
 * "Dumb ass programmer detected") when `dir` is not a directory (or null); -1
 * when `child` is null or memory is exhausted (nothing changed). */
RPF_EXPORT int32_t rpf_fso_add_subitem(rpf_fso *dir, rpf_fso *child);

/* Child `index` of the sub-folders (which == 1) or the files (any other
 * value). An index below 0 or above the count prints "Index out of range" and
 * gives null; the count itself passes that test and gives null too. */
RPF_EXPORT rpf_fso *rpf_fso_get_subitem_at_index(const rpf_fso *dir, int32_t index, int32_t which);

/* The next child of the walk (files, then sub-folders), tracing each step;
 * null at the end, and (rpf_fso *)RPF_FSO_NOT_A_DIRECTORY for a record that is
 * not a directory (or null). Call rpf_fso_reset before the first step. */
RPF_EXPORT rpf_fso *rpf_fso_next_item(rpf_fso *dir);

/* Counts of the two child arrays; 0 for a record without arrays. */
RPF_EXPORT int32_t rpf_fso_subdirectory_count(const rpf_fso *dir);
RPF_EXPORT int32_t rpf_fso_file_count(const rpf_fso *dir);

/* ---- accessors (a null record answers 0 or null; setters do nothing) ---- */

RPF_EXPORT int rpf_fso_isDir(const rpf_fso *record);
RPF_EXPORT int rpf_fso_isFile(const rpf_fso *record);
RPF_EXPORT int rpf_fso_isLink(const rpf_fso *record);
RPF_EXPORT int rpf_fso_isLocal(const rpf_fso *record);
RPF_EXPORT int rpf_fso_isRemote(const rpf_fso *record);

RPF_EXPORT rpf_url *rpf_fso_get_url(const rpf_fso *record);
/* Stores the pointer (the old URL record is not freed); returns the record. */
RPF_EXPORT rpf_fso *rpf_fso_set_url(rpf_fso *record, rpf_url *url);
RPF_EXPORT rpf_fso *rpf_fso_parent(const rpf_fso *record);
RPF_EXPORT rpf_fso *rpf_fso_set_parent(rpf_fso *record, rpf_fso *parent);
RPF_EXPORT void *rpf_fso_object(const rpf_fso *record);
/* Stores the client's pointer and sets has_object to 1. */
RPF_EXPORT void rpf_fso_object_set(rpf_fso *record, void *object);
RPF_EXPORT int rpf_fso_has_object(const rpf_fso *record);

/* ---- query and diagnostics ---- */

/* Keys of rpf_fso_get_item_for_key. */
enum {
    RPF_FSO_KEY_ACCESS_PERMS = 0,         /* access_perms (record's text) */
    RPF_FSO_KEY_PERMS = 1,                /* perms */
    RPF_FSO_KEY_DATE = 2,                 /* date_modified (record's text) */
    RPF_FSO_KEY_NAME = 4,                 /* name (record's text) */
    RPF_FSO_KEY_OWNER = 5,                /* owner_name (record's text) */
    RPF_FSO_KEY_GROUP = 6,                /* group_name (record's text) */
    RPF_FSO_KEY_LINKS = 7,                /* links */
    RPF_FSO_KEY_SIZE_TEXT = 8,            /* NEW text: rpf_utility_format_size(size) */
    RPF_FSO_KEY_SIZE = 9,                 /* size */
    RPF_FSO_KEY_COMPLETE_ALIAS_PATH = 11, /* complete_alias_path (record's text) */
    RPF_FSO_KEY_ALIAS_LOCATION = 12,      /* alias_location (record's text) */
    RPF_FSO_KEY_URL_TEXT = 13,            /* NEW text: rpf_url_string(url); without a URL record its answer
                                             to null: the line "Null URL passed in" and null */
    RPF_FSO_KEY_RAVIX_URL = 14,           /* NEW text: rpf_ravix_url(url, type, size) */
    RPF_FSO_KEY_COMPLETE_PATH = 15,       /* complete_path (record's text) */
    RPF_FSO_KEY_PARENT_PATH = 16,         /* NEW text: rpf_parent_of_path(complete_path); free with rpf_path_free */
    RPF_FSO_KEY_LINK_TARGET_TYPE = 17,    /* link_target_type */
    RPF_FSO_KEY_PARENT = 18,              /* parent (record pointer) */
    RPF_FSO_KEY_EXTENSION = 19            /* extension (record's text) */
};

/* The field of `key` as a pointer-width integer: a text pointer, a number or
 * a record pointer. Keys 3, 10, negative keys and keys above 19 give 0, and so
 * does a null record; keys 14 and 16 give 0 when their source is null, and
 * key 13 gives 0 after printing "Null URL passed in" when the record has no
 * URL record (as rpf_url_string of null does).
 * Texts marked NEW above are the caller's to free. */
RPF_EXPORT intptr_t rpf_fso_get_item_for_key(const rpf_fso *record, int32_t key);

/* Writes the record (and, for a directory, its children) to the diagnostic
 * stream. A null text prints as "(null)". */
RPF_EXPORT void rpf_fso_dump(const rpf_fso *record);

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_FSO_H */
