/* Reading local items into records: one stat per entry relative to the open
 * folder, a second only for symbolic links, owner, group and date texts made
 * once per distinct value and shared by the records that show them. */
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

#include "rpf_diagnostics_p.h"
#include "rpf_shared_text_p.h"
#include "rpf_strings_p.h"

/* The longest canonical link target the record takes (realpath's buffer as
 * the listing code has always sized it); longer ones count as broken. */
enum { TARGET_PATH_LIMIT = 1024 };

/* ---- per-read caches of shared texts ---- */

typedef struct id_text {
    unsigned int id;
    char *text; /* one use held by the cache */
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
    char *text; /* one use held by the cache; null for an empty slot */
} date_slot;

enum { EXTENSION_SLOTS = 64 };

typedef struct reader {
    id_cache owners;
    id_cache groups;
    date_slot dates[DATE_SLOTS];
    char *extensions[EXTENSION_SLOTS]; /* shared texts, one use held by the cache */
    char *buffer;                      /* scratch space for getpwuid_r / getgrgid_r */
    size_t buffer_size;
} reader;

static void id_cache_clear(id_cache *cache)
{
    for (size_t i = 0; i < cache->count; ++i)
        rpf_fso_free_text(cache->items[i].text);
    free(cache->items);
}

static void reader_clear(reader *r)
{
    id_cache_clear(&r->owners);
    id_cache_clear(&r->groups);
    for (size_t i = 0; i < DATE_SLOTS; ++i)
        rpf_fso_free_text(r->dates[i].text);
    for (size_t i = 0; i < EXTENSION_SLOTS; ++i)
        rpf_fso_free_text(r->extensions[i]);
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

/* The user name of `uid`, or "Unknown"; a new shared text or null when memory
 * is exhausted. */
static char *look_up_owner(reader *r, unsigned int uid)
{
    struct passwd entry;
    struct passwd *found = NULL;
    int status = -1;
    if (r->buffer_size > 0 || grow_buffer(r) == 0) {
        while ((status = getpwuid_r((uid_t)uid, &entry, r->buffer, r->buffer_size, &found)) == ERANGE &&
               grow_buffer(r) == 0) {
        }
    }
    return rpf_shared_text_new(status == 0 && found != NULL ? found->pw_name : "Unknown");
}

/* The group name of `gid`, or "Unknown", as look_up_owner. */
static char *look_up_group(reader *r, unsigned int gid)
{
    struct group entry;
    struct group *found = NULL;
    int status = -1;
    if (r->buffer_size > 0 || grow_buffer(r) == 0) {
        while ((status = getgrgid_r((gid_t)gid, &entry, r->buffer, r->buffer_size, &found)) == ERANGE &&
               grow_buffer(r) == 0) {
        }
    }
    return rpf_shared_text_new(status == 0 && found != NULL ? found->gr_name : "Unknown");
}

/* A use of the name text of `id` for one record, looked up on first need;
 * null when memory is exhausted. */
static char *id_text_for(reader *r, id_cache *cache, unsigned int id, char *(*look_up)(reader *, unsigned int))
{
    if (cache->count > cache->last && cache->items[cache->last].id == id) {
        return rpf_shared_text_retain(cache->items[cache->last].text);
    }
    for (size_t i = 0; i < cache->count; ++i) {
        if (cache->items[i].id == id) {
            cache->last = i;
            return rpf_shared_text_retain(cache->items[i].text);
        }
    }
    if (cache->count == cache->capacity) {
        size_t capacity = cache->capacity == 0 ? 4 : cache->capacity * 2;
        id_text *items = realloc(cache->items, capacity * sizeof *items);
        if (items == NULL) return NULL;
        cache->items = items;
        cache->capacity = capacity;
    }
    char *text = look_up(r, id);
    if (text == NULL) return NULL;
    cache->items[cache->count] = (id_text){id, text};
    cache->last = cache->count++;
    return rpf_shared_text_retain(text);
}

/* A use of the date text of `when`; null when it has no calendar form or
 * memory is exhausted. */
static char *date_text_for(reader *r, time_t when)
{
    date_slot *slot = &r->dates[(size_t)((unsigned long long)when % DATE_SLOTS)];
    if (slot->text != NULL && slot->when == when) return rpf_shared_text_retain(slot->text);
    char *plain = rpf_date_string_from_time_t(when);
    if (plain == NULL) return NULL;
    char *text = rpf_shared_text_new(plain);
    free(plain);
    if (text == NULL) return NULL;
    rpf_fso_free_text(slot->text);
    slot->when = when;
    slot->text = text;
    return rpf_shared_text_retain(text);
}

/* The shared text equal to `own` (an extension the record made), taking the
 * place of `own`, which is freed; `own` itself when memory is exhausted.
 * Folders hold few distinct extensions, and a record's own copy costs as much
 * as a short name. */
static char *shared_extension(reader *r, char *own)
{
    if (own == NULL) return NULL;
    uint32_t hash = 2166136261U; /* FNV-1a */
    for (const unsigned char *p = (const unsigned char *)own; *p != '\0'; ++p)
        hash = (hash ^ *p) * 16777619U;
    char **slot = &r->extensions[hash % EXTENSION_SLOTS];
    if (*slot == NULL || strcmp(*slot, own) != 0) {
        char *text = rpf_shared_text_new(own);
        if (text == NULL) return own;
        rpf_fso_free_text(*slot);
        *slot = text;
    }
    free(own);
    return rpf_shared_text_retain(*slot);
}

/* ---- one item ---- */

static int32_t type_of_mode(mode_t mode)
{
    if (S_ISDIR(mode)) return RPF_FSO_TYPE_DIRECTORY;
    if (S_ISREG(mode)) return RPF_FSO_TYPE_FILE;
    if (S_ISLNK(mode)) return RPF_FSO_TYPE_LINK;
    return RPF_FSO_TYPE_OTHER;
}

/* The canonical absolute path of what `path` points to, or the broken-link
 * text when it has none; a new text, or null when memory is exhausted. */
static char *canonical_target(const char *path)
{
    char *resolved = realpath(path, NULL);
    if (resolved != NULL && strlen(resolved) < TARGET_PATH_LIMIT) return resolved;
    free(resolved);
    return rpf_copy_range(RPF_FSO_BROKEN_LINK_TEXT, strlen(RPF_FSO_BROKEN_LINK_TEXT));
}

/* What build_item needs to know about one item. */
typedef struct item_source {
    const struct stat *data;   /* the item's own status */
    const struct stat *target; /* status of what a link points to; null when unknown */
    const char *name;          /* last component */
    const char *parent;        /* parent path */
    const char *path;          /* the item's path; null for a child that is no link: its complete path */
} item_source;

static int32_t target_type(const struct stat *target)
{
    if (S_ISREG(target->st_mode)) return RPF_FSO_TARGET_FILE;
    if (S_ISDIR(target->st_mode)) return RPF_FSO_TARGET_DIRECTORY;
    return RPF_FSO_TARGET_OTHER;
}

/* The record of one item, or null when memory is exhausted (nothing left
 * allocated then). */
static rpf_fso *build_item(reader *r, const item_source *source)
{
    const struct stat *st = source->data;
    int32_t type = type_of_mode(st->st_mode);
    int32_t link_target_type = 0;
    char *target = NULL;
    if (type == RPF_FSO_TYPE_LINK && source->target != NULL) {
        link_target_type = target_type(source->target);
        target = source->path == NULL ? NULL : canonical_target(source->path);
        if (target == NULL) return NULL;
    } else if (type == RPF_FSO_TYPE_LINK) {
        link_target_type = RPF_FSO_TARGET_UNREADABLE;
    }
    char *group = id_text_for(r, &r->groups, (unsigned int)st->st_gid, look_up_group);
    char *owner = id_text_for(r, &r->owners, (unsigned int)st->st_uid, look_up_owner);
    char *date = date_text_for(r, st->st_mtime);
    uint16_t perms = (uint16_t)rpf_get_perms_from_mode((uint16_t)st->st_mode);
    rpf_fso *record = NULL;
    if (group != NULL && owner != NULL) {
        record = rpf_fso_new(type, RPF_FSO_LOCAL, perms, date, source->name, owner, group, (int32_t)st->st_nlink,
                             (int32_t)(uint32_t)st->st_size, target, source->parent);
    }
    if (record == NULL) {
        rpf_fso_free_text(group);
        rpf_fso_free_text(owner);
        rpf_fso_free_text(date);
        free(target);
        return NULL;
    }
    record->mtime = (int32_t)st->st_mtime;
    record->link_target_type = link_target_type;
    record->extension = shared_extension(r, record->extension);
    /* A child's complete path is its path (the folder's path, a separator
     * unless it ends in one, the name). */
    record->url = rpf_url_new_local(source->path != NULL ? source->path : record->complete_path);
    int complete = record->name != NULL && record->complete_path != NULL && record->url != NULL &&
                   (type != RPF_FSO_TYPE_DIRECTORY || (record->files != NULL && record->subdirectories != NULL)) &&
                   (target == NULL || record->complete_alias_path != NULL);
    if (!complete) {
        rpf_fso_destroy_deep(record);
        return NULL;
    }
    return record;
}

/* ---- a folder ---- */

/* Reads the entries of the folder `record` describes into it. 0 when done,
 * -1 when an entry could not be examined or memory ran out (errno says
 * which). A folder that cannot be opened has no children and gives 0. */
static int read_children(reader *r, rpf_fso *record, const char *path)
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
        item_source source = {&data, has_target ? &target : NULL, name, parent, link_path};
        rpf_fso *child = S_ISLNK(data.st_mode) && link_path == NULL ? NULL : build_item(r, &source);
        free(link_path);
        if (child == NULL || rpf_fso_add_subitem(record, child) != 0) {
            rpf_fso_destroy_deep(child);
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
    reader r = {0};
    char *parent = experimental_rpf_path_without_last_component(path);
    char *name = rpf_path_last_component(path);
    rpf_fso *record = NULL;
    if (parent != NULL && name != NULL) {
        item_source source = {&data, NULL, name, parent, path};
        record = build_item(&r, &source);
    }
    free(name);
    rpf_path_free(parent);
    int error = record == NULL ? ENOMEM : 0;
    /* "/dev" is a prefix test: /devices gets no children either. */
    if (record != NULL && record->type == RPF_FSO_TYPE_DIRECTORY && strncmp(path, "/dev", 4) != 0 &&
        read_children(&r, record, path) != 0) {
        error = errno;
        rpf_fso_destroy_deep(record);
        record = NULL;
    }
    reader_clear(&r);
    if (record == NULL) errno = error;
    return record;
}
