/* Reading local items into records.
 *
 * One status call per entry relative to the open folder, a second only for
 * symbolic links; everything else is kept off the per-entry path: owner and
 * group names are looked up once per id, date texts come from a per-read
 * calendar (rpf_date_p.h), and a child's record, texts and URL record are
 * packed into the read's chunks (rpf_pack_p.h) instead of being allocated one
 * by one:
 * the complete path is one text whose tail is the name, whose tail in turn is
 * the extension, and the URL record's path is that same text. */
#include <rkcore/rpf_fso.h>

#include <rkcore/rpf_date.h>
#include <rkcore/rpf_path.h>
#include <rkcore/rpf_perms.h>

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "rpf_date_p.h"
#include "rpf_diagnostics_p.h"
#include "rpf_pack_p.h"
#include "rpf_strings_p.h"

/* The longest canonical link target the record takes (realpath's buffer as
 * the listing code has always sized it); longer ones count as broken. */
enum { TARGET_PATH_LIMIT = 1024 };

/* ---- per-read caches ---- */

typedef struct id_text {
    unsigned int id;
    char *text; /* packed */
} id_text;

typedef struct id_cache {
    id_text *items;
    size_t count;
    size_t capacity;
    size_t last; /* index of the last hit: entries often repeat in a row */
} id_cache;

enum { DATE_SLOTS = 64 };

typedef struct date_slot {
    time_t when;
    char *text; /* packed; null for an empty slot */
} date_slot;

typedef struct reader {
    rpf_pack pack;
    id_cache owners;
    id_cache groups;
    date_slot dates[DATE_SLOTS]; /* texts of recent times: files written together share one */
    rpf_date_cache calendar;
    char *buffer; /* scratch space for getpwuid_r / getgrgid_r */
    size_t buffer_size;
    char *folder_canonical; /* realpath of the folder, once a link needs it */
    int folder_examined;    /* 1 once realpath of the folder was tried */
} reader;

/* Publishes the uses of every packed piece and drops the caches. The caches'
 * texts belong to the records from here on; nothing may be released before. */
static void reader_finish(reader *r)
{
    rpf_pack_finish(&r->pack);
    rpf_date_cache_clear(&r->calendar);
    free(r->folder_canonical);
    free(r->owners.items);
    free(r->groups.items);
    free(r->buffer);
}

/* Grows the scratch buffer after ERANGE; 0 on success, -1 when it cannot. */
static int grow_buffer(reader *r)
{
    enum { FIRST_SIZE = 1024, MOST = 1 << 20 };
    size_t size = r->buffer_size == 0 ? FIRST_SIZE : r->buffer_size * 2;
    if (size > MOST) return -1;
    char *buffer = realloc(r->buffer, size);
    if (buffer == NULL) return -1;
    r->buffer = buffer;
    r->buffer_size = size;
    return 0;
}

/* A packed or malloc'd copy of `text`; null when memory is exhausted. */
static char *keep_text(reader *r, const char *text, size_t length)
{
    char *copy = rpf_pack_copy(&r->pack, text, length);
    return copy != NULL ? copy : rpf_copy_range(text, length);
}

/* A use of a text the read made: packed texts count it, malloc'd ones (made
 * when packing failed) cannot be shared and are copied. */
static char *share_text(reader *r, char *text)
{
    if (text == NULL || rpf_pack_contains(text)) {
        if (text != NULL) rpf_pack_use(text);
        return text;
    }
    return keep_text(r, text, strlen(text));
}

/* The user name of `uid`, or "Unknown" (valid until the next look-up). */
static const char *owner_name_of(reader *r, unsigned int uid)
{
    struct passwd entry;
    struct passwd *found = NULL;
    int status = -1;
    if (r->buffer_size > 0 || grow_buffer(r) == 0) {
        while ((status = getpwuid_r((uid_t)uid, &entry, r->buffer, r->buffer_size, &found)) == ERANGE &&
               grow_buffer(r) == 0) {
        }
    }
    return status == 0 && found != NULL ? found->pw_name : "Unknown";
}

/* The group name of `gid`, or "Unknown", as owner_name_of. */
static const char *group_name_of(reader *r, unsigned int gid)
{
    struct group entry;
    struct group *found = NULL;
    int status = -1;
    if (r->buffer_size > 0 || grow_buffer(r) == 0) {
        while ((status = getgrgid_r((gid_t)gid, &entry, r->buffer, r->buffer_size, &found)) == ERANGE &&
               grow_buffer(r) == 0) {
        }
    }
    return status == 0 && found != NULL ? found->gr_name : "Unknown";
}

/* A use of the name text of `id` for one record, looked up on first need;
 * null when memory is exhausted. */
static char *id_text_lookup(reader *r, id_cache *cache, unsigned int id,
                            const char *(*look_up)(reader *, unsigned int));

/* id_text_lookup, with the usual case (the same id as the entry before) kept
 * inline. */
static inline char *id_text_for(reader *r, id_cache *cache, unsigned int id,
                                const char *(*look_up)(reader *, unsigned int))
{
    if (cache->last < cache->count && cache->items[cache->last].id == id) {
        rpf_pack_use(cache->items[cache->last].text);
        return cache->items[cache->last].text;
    }
    return id_text_lookup(r, cache, id, look_up);
}

static char *id_text_lookup(reader *r, id_cache *cache, unsigned int id, const char *(*look_up)(reader *, unsigned int))
{
    /* The cache holds packed texts only. */
    if (cache->count > cache->last && cache->items[cache->last].id == id) {
        rpf_pack_use(cache->items[cache->last].text);
        return cache->items[cache->last].text;
    }
    for (size_t i = 0; i < cache->count; ++i) {
        if (cache->items[i].id == id) {
            cache->last = i;
            rpf_pack_use(cache->items[i].text);
            return cache->items[i].text;
        }
    }
    if (cache->count == cache->capacity) {
        size_t capacity = cache->capacity == 0 ? 4 : cache->capacity * 2;
        id_text *items = realloc(cache->items, capacity * sizeof *items);
        if (items == NULL) return NULL;
        cache->items = items;
        cache->capacity = capacity;
    }
    const char *name = look_up(r, id);
    char *text = keep_text(r, name, strlen(name));
    if (text == NULL) return NULL;
    /* A malloc'd text (packing failed) goes to this record alone. */
    if (!rpf_pack_contains(text)) return text;
    cache->items[cache->count] = (id_text){id, text};
    cache->last = cache->count++;
    return text;
}

/* The date text of `when` for one record; null when the time has no calendar
 * form or memory is exhausted (*failed tells which). */
static char *date_text_for(reader *r, time_t when, int *failed)
{
    date_slot *slot = &r->dates[(size_t)((unsigned long long)when % DATE_SLOTS)];
    if (slot->text != NULL && slot->when == when) return share_text(r, slot->text);
    char buffer[RPF_DATE_TEXT_SIZE];
    int length = rpf_date_cache_text(&r->calendar, when, buffer);
    if (length < 0) return NULL;
    char *text = keep_text(r, buffer, (size_t)length);
    if (text == NULL) {
        *failed = 1;
        return NULL;
    }
    if (rpf_pack_contains(text)) {
        slot->when = when;
        slot->text = text;
    }
    return text;
}

/* ---- one item ---- */

static int32_t type_of_mode(mode_t mode)
{
    if (S_ISDIR(mode)) return RPF_FSO_TYPE_DIRECTORY;
    if (S_ISREG(mode)) return RPF_FSO_TYPE_FILE;
    if (S_ISLNK(mode)) return RPF_FSO_TYPE_LINK;
    return RPF_FSO_TYPE_OTHER;
}

static int32_t target_type(const struct stat *target)
{
    if (S_ISREG(target->st_mode)) return RPF_FSO_TARGET_FILE;
    if (S_ISDIR(target->st_mode)) return RPF_FSO_TARGET_DIRECTORY;
    return RPF_FSO_TARGET_OTHER;
}

/* The rights as three octal digits read as a decimal number (755). */
static uint16_t perms_of_mode(mode_t mode)
{
    return (uint16_t)(((mode >> 6) & 7U) * 100U + ((mode >> 3) & 7U) * 10U + (mode & 7U));
}

/* The constructor's root test: "/" and the empty text get no separator. */
static int is_root_parent(const char *parent)
{
    return parent[0] == '\0' || (parent[0] == '/' && parent[1] == '\0');
}

/* The extension of a name with no trailing blanks: the tail after its last
 * dot (the first character never counts), or null. */
static const char *extension_tail(const char *name, size_t length)
{
    for (size_t i = length; i-- > 1;) {
        if (name[i] == '.') return name + i + 1;
    }
    return NULL;
}

/* What build_child needs to know about one entry. */
typedef struct child_source {
    const struct stat *data;   /* the entry's own status */
    const struct stat *target; /* status of what a link points to; null when unknown */
    const char *name;
    size_t name_length;
    const char *parent; /* every child's parent path */
    size_t parent_length;
    const char *link_path; /* a link's path (folder + name), for realpath; null for others */
    int folder_fd;         /* the open folder */
    const char *folder;    /* its path as given */
} child_source;

/* realpath of a child link, a new text or null. A link to an entry of the
 * same folder that is no link itself (the usual relative link) resolves to
 * the folder's canonical path, a separator and the entry's name: two calls
 * relative to the open folder instead of a look-up of every component. */
static char *canonical_link_target(reader *r, const child_source *source)
{
    char target[4096];
    ssize_t length = readlinkat(source->folder_fd, source->name, target, sizeof target);
    if (length > 0 && (size_t)length < sizeof target) {
        target[length] = '\0';
        struct stat data;
        if (memchr(target, '/', (size_t)length) == NULL && strcmp(target, ".") != 0 && strcmp(target, "..") != 0 &&
            fstatat(source->folder_fd, target, &data, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) == 0 &&
            !S_ISLNK(data.st_mode)) {
            if (!r->folder_examined) {
                r->folder_examined = 1;
                r->folder_canonical = realpath(source->folder, NULL);
            }
            if (r->folder_canonical != NULL) {
                return rpf_concat(r->folder_canonical, strcmp(r->folder_canonical, "/") == 0 ? "" : "/", target);
            }
        }
    }
    return realpath(source->link_path, NULL);
}

/* The link fields of a child link whose target could be examined. 0 when
 * memory ran out. */
static int set_link_target(reader *r, rpf_fso *record, const child_source *source)
{
    char *resolved = canonical_link_target(r, source);
    const char *target = RPF_FSO_BROKEN_LINK_TEXT;
    if (resolved != NULL && strlen(resolved) < TARGET_PATH_LIMIT) target = resolved;
    record->alias_location = keep_text(r, target, strlen(target));
    if (record->alias_location != NULL && target[0] == '/') {
        /* An absolute target is its own complete alias path. */
        record->complete_alias_path = share_text(r, record->alias_location);
    } else if (record->alias_location != NULL) {
        /* The broken-link text is relative: it is joined to the parent. */
        size_t parent = source->parent_length, separator = is_root_parent(source->parent) ? 0 : 1;
        size_t length = strlen(target);
        char *joined = rpf_pack_alloc(&r->pack, parent + separator + length + 1, 1);
        if (joined != NULL) {
            memcpy(joined, source->parent, parent);
            memcpy(joined + parent, "/", separator);
            memcpy(joined + parent + separator, target, length + 1);
        } else {
            joined = rpf_concat(source->parent, separator ? "/" : "", target);
        }
        record->complete_alias_path = joined;
    }
    free(resolved);
    return record->alias_location != NULL && record->complete_alias_path != NULL;
}

/* The URL record of a child: packed, its path shared with the complete path
 * (a link's own path where the two differ, as after a folder path "//").
 * Null, or a path left null, when memory ran out: nothing packed may be
 * released while the read builds, so the caller frees it later. */
static rpf_url *child_url(reader *r, rpf_fso *record, const child_source *source)
{
    rpf_url *url = rpf_pack_alloc(&r->pack, sizeof *url, _Alignof(rpf_url));
    if (url == NULL && (url = malloc(sizeof *url)) == NULL) return NULL;
    memset(url, 0, sizeof *url);
    url->type = RPF_URL_TYPE_FILE;
    if (source->link_path != NULL && strcmp(source->link_path, record->complete_path) != 0) {
        url->path = keep_text(r, source->link_path, strlen(source->link_path));
    } else {
        url->path = share_text(r, record->complete_path);
    }
    return url;
}

/* Fills the packed text fields of a child: complete path, name, extension.
 * 0 when memory ran out. */
static int set_paths(reader *r, rpf_fso *record, const child_source *source)
{
    size_t parent = source->parent_length, separator = is_root_parent(source->parent) ? 0 : 1;
    size_t length = parent + separator + source->name_length;
    char *complete = rpf_pack_alloc(&r->pack, length + 1, 1);
    int packed = complete != NULL;
    if (!packed && (complete = malloc(length + 1)) == NULL) return 0;
    memcpy(complete, source->parent, parent);
    memcpy(complete + parent, "/", separator);
    memcpy(complete + parent + separator, source->name, source->name_length + 1);
    record->complete_path = complete;
    char *name = complete + parent + separator;
    char last = source->name[source->name_length - 1];
    if (!packed) {
        record->name = rpf_copy_range(name, source->name_length);
        record->extension = rpf_string_get_extension(name);
        return record->name != NULL;
    }
    record->name = name;
    rpf_pack_use(name);
    if (last == ' ' || last == '\r' || last == '\n') {
        /* The extension of a name with trailing blanks is not its tail. */
        record->extension = rpf_string_get_extension(name);
    } else {
        const char *tail = extension_tail(name, source->name_length);
        record->extension = (char *)tail;
        if (tail != NULL) rpf_pack_use(tail);
    }
    return 1;
}

/* The numbers of a child record from its status. */
static void set_numbers(rpf_fso *record, const struct stat *st)
{
    record->locality = RPF_FSO_LOCAL;
    record->type = type_of_mode(st->st_mode);
    record->perms = perms_of_mode(st->st_mode);
    record->links = (int32_t)st->st_nlink;
    record->size = (int32_t)(uint32_t)st->st_size;
    record->mtime = (int32_t)st->st_mtime;
}

/* The link target and the arrays of a child: 0 when memory ran out. */
static int set_kind_fields(reader *r, rpf_fso *record, const child_source *source)
{
    int failed = 0;
    int32_t type = record->type;
    if (type == RPF_FSO_TYPE_LINK) {
        if (source->target != NULL) {
            record->link_target_type = target_type(source->target);
            failed = !set_link_target(r, record, source);
        } else {
            record->link_target_type = RPF_FSO_TARGET_UNREADABLE;
        }
    }
    if (!failed && type == RPF_FSO_TYPE_DIRECTORY) {
        record->files = rpf_array_new();
        record->subdirectories = rpf_array_new();
        failed = record->files == NULL || record->subdirectories == NULL;
    }
    return !failed;
}

/* The record of one entry of a folder made piece by piece, each piece packed
 * where it can be and malloc'd where not: the way when the entry's one piece
 * (see build_child) cannot be had. Null when memory is exhausted; a record
 * that could not be completed is handed back in *partial so that it is freed
 * once the read's packed uses are published. */
static rpf_fso *build_child_in_pieces(reader *r, const child_source *source, rpf_fso **partial)
{
    const struct stat *st = source->data;
    rpf_fso *record = rpf_pack_alloc(&r->pack, sizeof *record, _Alignof(rpf_fso));
    if (record == NULL && (record = calloc(1, sizeof *record)) == NULL) return NULL;
    set_numbers(record, st);
    int failed = !set_paths(r, record, source);
    if (!failed) {
        record->date_modified = date_text_for(r, st->st_mtime, &failed);
        record->group_name = id_text_for(r, &r->groups, (unsigned int)st->st_gid, group_name_of);
        record->owner_name = id_text_for(r, &r->owners, (unsigned int)st->st_uid, owner_name_of);
        record->url = child_url(r, record, source);
        failed = failed || record->group_name == NULL || record->owner_name == NULL || record->url == NULL ||
                 record->url->path == NULL;
    }
    if (failed || !set_kind_fields(r, record, source)) {
        *partial = record;
        return NULL;
    }
    return record;
}

/* The record of one entry of a folder as one packed piece: the record, its
 * URL record, the complete path (whose tail is the name, whose tail is the
 * extension; the URL record's path too) and, unless an earlier record of the
 * same time has one to share, its date text. Null when memory is exhausted,
 * as build_child_in_pieces. */
static rpf_fso *build_child(reader *r, const child_source *source, rpf_fso **partial)
{
    const struct stat *st = source->data;
    const char last = source->name[source->name_length - 1];
    if (last == ' ' || last == '\r' || last == '\n' || source->link_path != NULL) {
        /* A name with trailing blanks has an extension of its own; a link's
         * own path may differ from its complete path (and links are few). */
        return build_child_in_pieces(r, source, partial);
    }
    date_slot *slot = &r->dates[(size_t)((unsigned long long)st->st_mtime % DATE_SLOTS)];
    char *shared_date = slot->text != NULL && slot->when == st->st_mtime ? slot->text : NULL;
    /* The day of the entry before is the usual case: its text is written
     * straight into the piece. */
    const rpf_date_day *day = shared_date != NULL ? NULL : rpf_date_cache_day(&r->calendar, st->st_mtime);
    char date[RPF_DATE_TEXT_SIZE];
    int date_length = shared_date != NULL ? -1
                      : day != NULL       ? rpf_date_day_length(day)
                                          : rpf_date_cache_text(&r->calendar, st->st_mtime, date);
    size_t parent = source->parent_length, separator = is_root_parent(source->parent) ? 0 : 1;
    size_t path_length = parent + separator + source->name_length;
    size_t size =
        sizeof(rpf_fso) + sizeof(rpf_url) + path_length + 1 + (date_length >= 0 ? (size_t)date_length + 1 : 0);
    _Static_assert(sizeof(rpf_fso) % _Alignof(rpf_url) == 0, "the URL record follows the record aligned");
    char *piece = rpf_pack_alloc(&r->pack, size, _Alignof(rpf_fso));
    if (piece == NULL) return build_child_in_pieces(r, source, partial);
    /* Pieces come as zeros: every field not set below is 0 or null. */
    rpf_fso *record = (rpf_fso *)(void *)piece;
    rpf_url *url = (rpf_url *)(void *)(piece + sizeof(rpf_fso));
    char *complete = piece + sizeof(rpf_fso) + sizeof(rpf_url);
    set_numbers(record, st);
    memcpy(complete, source->parent, parent);
    memcpy(complete + parent, "/", separator);
    memcpy(complete + parent + separator, source->name, source->name_length + 1);
    char *name = complete + parent + separator;
    const char *extension = extension_tail(name, source->name_length);
    record->complete_path = complete;
    record->name = name;
    record->extension = (char *)extension;
    url->type = RPF_URL_TYPE_FILE;
    url->path = complete;
    record->url = url;
    /* The piece came with one use; the URL record, the complete path, the
     * name, the URL's path and the extension add theirs. */
    size_t uses = 4 + (extension != NULL);
    if (date_length >= 0) {
        char *own = complete + path_length + 1;
        if (day != NULL) {
            rpf_date_day_text(day, st->st_mtime, own);
        } else {
            memcpy(own, date, (size_t)date_length + 1);
        }
        record->date_modified = own;
        slot->when = st->st_mtime;
        slot->text = own;
        uses += 1;
    } else if (shared_date != NULL) {
        record->date_modified = shared_date;
        rpf_pack_use(shared_date);
    }
    rpf_pack_add_uses(piece, uses);
    record->group_name = id_text_for(r, &r->groups, (unsigned int)st->st_gid, group_name_of);
    record->owner_name = id_text_for(r, &r->owners, (unsigned int)st->st_uid, owner_name_of);
    if (record->group_name == NULL || record->owner_name == NULL || !set_kind_fields(r, record, source)) {
        *partial = record;
        return NULL;
    }
    return record;
}

/* The record of the path itself (never a link: it was examined with stat),
 * built by the constructor with texts of its own; null when memory is
 * exhausted. */
static rpf_fso *build_top(reader *r, const struct stat *st, const char *path)
{
    char *parent = experimental_rpf_path_without_last_component(path);
    char *name = rpf_path_last_component(path);
    char *group = strdup(group_name_of(r, (unsigned int)st->st_gid));
    char *owner = strdup(owner_name_of(r, (unsigned int)st->st_uid));
    char *date = rpf_date_string_from_time_t(st->st_mtime);
    rpf_fso *record = NULL;
    if (parent != NULL && name != NULL && group != NULL && owner != NULL) {
        record = rpf_fso_new(type_of_mode(st->st_mode), RPF_FSO_LOCAL, perms_of_mode(st->st_mode), date, name, owner,
                             group, (int32_t)st->st_nlink, (int32_t)(uint32_t)st->st_size, NULL, parent);
    }
    free(name);
    rpf_path_free(parent);
    if (record == NULL) {
        free(group);
        free(owner);
        free(date);
        return NULL;
    }
    /* The record holds owner, group and date from here on (the constructor
     * keeps the pointers it is given). */
    record->mtime = (int32_t)st->st_mtime; // NOLINT(clang-analyzer-unix.Malloc)
    record->url = rpf_url_new_local(path);
    int complete =
        record->name != NULL && record->complete_path != NULL && record->url != NULL &&
        (record->type != RPF_FSO_TYPE_DIRECTORY || (record->files != NULL && record->subdirectories != NULL));
    if (!complete) {
        rpf_fso_destroy_deep(record);
        return NULL;
    }
    return record;
}

/* ---- a folder ---- */

/* Reads the entries of the folder `record` describes into it. 0 when done,
 * -1 when an entry could not be examined or memory ran out (errno says
 * which; a record left half-built is in *partial). A folder that cannot be
 * opened has no children and gives 0. */
static int read_children(reader *r, rpf_fso *record, const char *path, rpf_fso **partial)
{
    int fd = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *dir = fd < 0 ? NULL : fdopendir(fd);
    if (dir == NULL) {
        if (fd >= 0) close(fd);
        return 0;
    }
    /* Every child's parent path: the folder's path as a child path ends
     * before the child's name ("/" for the root). */
    char *sample = rpf_path_by_appending_item(path, "x");
    char *parent = sample == NULL ? NULL : experimental_rpf_path_without_last_component(sample);
    free(sample);
    int status = parent == NULL ? -1 : 0;
    if (parent == NULL) errno = ENOMEM;
    size_t parent_length = parent == NULL ? 0 : strlen(parent);
    const struct dirent *entry = NULL;
    while (status == 0 && (entry = readdir(dir)) != NULL) {
        const char *name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
        struct stat data, target;
        int has_target = 0;
        if (fstatat(fd, name, &data, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) {
            /* Gone, or not examinable: following it is the last chance, and
             * failing that the whole read fails. */
            if (fstatat(fd, name, &data, AT_NO_AUTOMOUNT) != 0) {
                status = -1;
                break;
            }
        } else if (S_ISLNK(data.st_mode)) {
            has_target = fstatat(fd, name, &target, AT_NO_AUTOMOUNT) == 0;
        }
        /* A non-link's second status would be the same data; it is never
         * read. */
        /* Only a link needs its path before the record exists (to find its
         * target). */
        char *link_path = S_ISLNK(data.st_mode) ? rpf_path_by_appending_item(path, name) : NULL;
        child_source source = {
            &data, has_target ? &target : NULL, name, strlen(name), parent, parent_length, link_path, fd, path};
        rpf_fso *child = S_ISLNK(data.st_mode) && link_path == NULL ? NULL : build_child(r, &source, partial);
        free(link_path);
        /* rpf_fso_add_subitem, knowing the folder is one and the child is there. */
        rpf_array *array = child == NULL                           ? NULL
                           : child->type == RPF_FSO_TYPE_DIRECTORY ? record->subdirectories
                                                                   : record->files;
        if (child != NULL) child->parent = record;
        if (child == NULL || rpf_array_append(array, child) != 0) {
            if (child != NULL) *partial = child;
            errno = ENOMEM;
            status = -1;
        }
    }
    int saved = errno;
    closedir(dir);
    rpf_path_free(parent);
    errno = saved;
    return status;
}

static void report_stat_failure(int error)
{
    char buffer[256];
    rpf_diag_line("\t\tError getting item statistics");
    rpf_diag_printf("\t\terror : %s\n", strerror_r(error, buffer, sizeof buffer));
}

rpf_fso *rpf_fso_get_local_fso(const char *path)
{
    struct stat data;
    if (path == NULL || stat(path, &data) != 0) {
        int error = path == NULL ? EINVAL : errno;
        report_stat_failure(error);
        errno = error;
        return NULL;
    }
    reader *r = calloc(1, sizeof *r);
    rpf_fso *record = r == NULL ? NULL : build_top(r, &data, path);
    if (record == NULL) {
        if (r != NULL) reader_finish(r);
        free(r);
        errno = ENOMEM;
        return NULL;
    }
    rpf_fso *partial = NULL;
    int status = 0, error = 0;
    /* "/dev" is a prefix test: /devices gets no children either. */
    if (record->type == RPF_FSO_TYPE_DIRECTORY && strncmp(path, "/dev", 4) != 0) {
        status = read_children(r, record, path, &partial);
        error = errno;
    }
    /* Only now may anything packed be released. */
    reader_finish(r);
    free(r);
    if (status != 0) {
        rpf_fso_destroy_deep(partial);
        rpf_fso_destroy_deep(record);
        errno = error;
        return NULL;
    }
    return record;
}
