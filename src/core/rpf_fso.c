#include <rkcore/rpf_fso.h>

#include <rkcore/rpf_path.h>
#include <rkcore/rpf_size.h>

#include <stdlib.h>
#include <string.h>

#include "rpf_diagnostics_p.h"
#include "rpf_pack_p.h"
#include "rpf_strings_p.h"
#include "rpf_url_p.h"

/* ---- construction ---- */

/* The constructor's root test: it compares at most the first two bytes of the
 * parent with "/" and its terminator, so "/" and the empty text both count as
 * the root and get no separator after them. */
static int is_root_parent(const char *parent)
{
    return parent[0] == '\0' || (parent[0] == '/' && parent[1] == '\0');
}

static char *copy_text(const char *text)
{
    return rpf_copy_range(text, strlen(text));
}

static void set_link_target(rpf_fso *record, const char *link_target, const char *parent_path)
{
    unsigned int blanks = rpf_utility_front_spaces(link_target);
    const char *target = link_target + blanks;
    record->alias_location = blanks > 0 ? copy_text(target) : (char *)link_target;
    if (rpf_path_is_absolute(target) || parent_path == NULL) {
        /* Without a parent path a relative target has nothing to join: it
         * stands as given. */
        record->complete_alias_path = copy_text(target);
    } else {
        record->complete_alias_path = rpf_concat(parent_path, is_root_parent(parent_path) ? "" : "/", target);
    }
}

static void set_name_and_path(rpf_fso *record, const char *path_or_name, const char *parent_path)
{
    char *derived_parent = NULL;
    if (rpf_path_is_absolute(path_or_name)) {
        record->name = rpf_path_last_component(path_or_name);
        derived_parent = experimental_rpf_path_without_last_component(path_or_name);
        parent_path = derived_parent;
    } else {
        record->name = copy_text(path_or_name);
    }
    if (parent_path != NULL && record->name != NULL) {
        if (is_root_parent(parent_path)) {
            record->complete_path = rpf_concat(parent_path, record->name, "");
        } else if (record->name[0] != '\0') {
            record->complete_path = rpf_concat(parent_path, "/", record->name);
        } else {
            record->complete_path = copy_text(parent_path);
        }
    }
    rpf_path_free(derived_parent);
}

rpf_fso *rpf_fso_new(int32_t type, int32_t locality, uint16_t perms, const char *date_text, const char *path_or_name,
                     const char *owner, const char *group, int32_t links, int32_t size, const char *link_target,
                     const char *parent_path)
{
    rpf_fso *record = calloc(1, sizeof *record);
    if (record == NULL) return NULL;
    if (link_target != NULL && link_target[0] != '\0') set_link_target(record, link_target, parent_path);
    set_name_and_path(record, path_or_name == NULL ? "" : path_or_name, parent_path);
    record->extension = rpf_string_get_extension(record->name);
    record->locality = locality;
    record->type = type;
    record->perms = perms;
    /* The record keeps these pointers as it was handed them. */
    record->date_modified = (char *)date_text;
    record->owner_name = (char *)owner;
    record->group_name = (char *)group;
    record->links = links;
    record->size = size;
    if (type == RPF_FSO_TYPE_DIRECTORY) {
        record->files = rpf_array_new();
        record->subdirectories = rpf_array_new();
        record->array_index = 0;
        record->in_subdirectories = 0;
    }
    return record;
}

/* ---- destruction ---- */

/* The records of a folder's children are packed with their texts. A packed
 * record is cleared first: its chunk lives on, and LeakSanitizer must not take
 * the pointers it held for references to what the caller still has to free. */
void rpf_fso_destroy(rpf_fso *record)
{
    if (record != NULL && rpf_pack_contains(record)) memset(record, 0, sizeof *record);
    rpf_text_free(record);
}

void rpf_fso_free_text(char *text)
{
    rpf_text_free(text);
}

size_t rpf_fso_packed_blocks_in_use(void)
{
    return rpf_pack_chunks_in_use();
}

/* The texts and URL record of a folder read are packed: their releases are
 * gathered in `batch`, one atomic step per run of the same chunk. */
static void free_fields(rpf_fso *record, rpf_pack_batch *batch)
{
    char *texts[] = {record->alias_location, record->complete_alias_path, record->access_perms,
                     record->date_modified,  record->extension,           record->name,
                     record->owner_name,     record->group_name,          record->complete_path};
    for (size_t i = 0; i < sizeof texts / sizeof texts[0]; ++i)
        rpf_text_free_batched(texts[i], batch);
    rpf_url_dealloc_batched(record->url, batch);
}

/* Frees the children of `array` and the array. Children are only one level
 * of records below their directory in a local read, but a tree built by hand
 * may be deep: the walk keeps its own stack of arrays instead of recursing. */
static void free_tree(rpf_fso *root)
{
    rpf_fso **stack = NULL;
    size_t depth = 0, capacity = 0;
    rpf_pack_batch batch = {0};
    rpf_fso *record = root;
    while (record != NULL) {
        rpf_array *arrays[] = {record->files, record->subdirectories};
        for (size_t a = 0; a < 2; ++a) {
            int32_t count = rpf_array_count(arrays[a]);
            for (int32_t i = 0; i < count; ++i) {
                rpf_fso *child = rpf_array_get(arrays[a], i);
                if (child == NULL) continue;
                if (depth == capacity) {
                    size_t grown = capacity == 0 ? 64 : capacity * 2;
                    rpf_fso **bigger = realloc(stack, grown * sizeof(rpf_fso *));
                    if (bigger == NULL) continue; /* the child leaks; nothing worse */
                    stack = bigger;
                    capacity = grown;
                }
                stack[depth++] = child;
            }
            rpf_array_free(arrays[a]);
        }
        free_fields(record, &batch);
        rpf_text_free_batched(record, &batch);
        record = depth > 0 ? stack[--depth] : NULL;
    }
    rpf_pack_batch_flush(&batch);
    free(stack);
}

void rpf_fso_destroy_deep(rpf_fso *record)
{
    if (record != NULL) free_tree(record);
}

/* ---- children ---- */

static int is_directory(const rpf_fso *record)
{
    return record != NULL && record->type == RPF_FSO_TYPE_DIRECTORY;
}

rpf_fso *rpf_fso_reset(rpf_fso *record)
{
    if (record == NULL) return NULL;
    record->current_index = 1;
    record->array_index = 0;
    record->in_subdirectories = 0;
    return record;
}

int32_t rpf_fso_add_subitem(rpf_fso *dir, rpf_fso *child)
{
    if (!is_directory(dir)) {
        rpf_diag_line("Dumb ass programmer detected");
        return RPF_FSO_NOT_A_DIRECTORY;
    }
    if (child == NULL) return -1;
    rpf_array *array = child->type == RPF_FSO_TYPE_DIRECTORY ? dir->subdirectories : dir->files;
    if (rpf_array_append(array, child) != 0) return -1;
    child->parent = dir;
    return 0;
}

static rpf_array *array_for(const rpf_fso *dir, int32_t which)
{
    if (dir == NULL) return NULL;
    return which == RPF_FSO_SUBDIRECTORIES ? dir->subdirectories : dir->files;
}

rpf_fso *rpf_fso_get_subitem_at_index(const rpf_fso *dir, int32_t index, int32_t which)
{
    const rpf_array *array = array_for(dir, which);
    if (index < 0 || index > rpf_array_count(array)) {
        rpf_diag_line("Index out of range");
        return NULL;
    }
    /* The test lets the count itself through; the array answers null there. */
    return rpf_array_get(array, index);
}

int32_t rpf_fso_subdirectory_count(const rpf_fso *dir)
{
    return rpf_array_count(array_for(dir, RPF_FSO_SUBDIRECTORIES));
}

int32_t rpf_fso_file_count(const rpf_fso *dir)
{
    return rpf_array_count(array_for(dir, RPF_FSO_FILES));
}

/* One step of the walk; `total` is the number of children (not 0). */
static rpf_fso *walk_step(rpf_fso *dir, int32_t total)
{
    if (dir->current_index > total) return NULL;
    rpf_fso *result = NULL;
    if (rpf_fso_file_count(dir) < dir->current_index) {
        rpf_diag_line("Getting a dir");
        if (dir->in_subdirectories == 0) {
            rpf_diag_line("Correcting Index");
            dir->array_index = 0;
            dir->in_subdirectories = 1;
        }
        result = rpf_fso_get_subitem_at_index(dir, dir->array_index, RPF_FSO_SUBDIRECTORIES);
    } else {
        rpf_diag_line("Getting a file");
        result = rpf_fso_get_subitem_at_index(dir, dir->array_index, RPF_FSO_FILES);
    }
    rpf_diag_printf("Current Index is %d\n", dir->current_index);
    rpf_diag_printf("Actual Array index is %d\n", dir->array_index);
    dir->current_index += 1;
    dir->array_index += 1;
    return result;
}

rpf_fso *rpf_fso_next_item(rpf_fso *dir)
{
    rpf_diag_line("Entering rpf_fso_next_item");
    if (!is_directory(dir)) {
        rpf_diag_line("Dumb ass programmer detected");
        /* The marker every child operation answers, in a pointer's place. */
        return (rpf_fso *)(intptr_t)RPF_FSO_NOT_A_DIRECTORY; /* NOLINT(performance-no-int-to-ptr) */
    }
    int32_t total = rpf_fso_file_count(dir) + rpf_fso_subdirectory_count(dir);
    rpf_diag_printf("Total Items : %d\n", total);
    if (total == 0) {
        rpf_diag_line("There are no items in this directory");
        return NULL;
    }
    rpf_fso *result = walk_step(dir, total);
    rpf_diag_line("Leaving rpf_fso_next_item");
    return result;
}

/* ---- accessors ---- */

int rpf_fso_isDir(const rpf_fso *record)
{
    return record != NULL && record->type == RPF_FSO_TYPE_DIRECTORY;
}

int rpf_fso_isFile(const rpf_fso *record)
{
    return record != NULL && record->type == RPF_FSO_TYPE_FILE;
}

int rpf_fso_isLink(const rpf_fso *record)
{
    return record != NULL && record->type == RPF_FSO_TYPE_LINK;
}

int rpf_fso_isLocal(const rpf_fso *record)
{
    return record != NULL && record->locality == RPF_FSO_LOCAL;
}

int rpf_fso_isRemote(const rpf_fso *record)
{
    return record != NULL && record->locality == RPF_FSO_REMOTE;
}

rpf_url *rpf_fso_get_url(const rpf_fso *record)
{
    return record == NULL ? NULL : record->url;
}

rpf_fso *rpf_fso_set_url(rpf_fso *record, rpf_url *url)
{
    if (record != NULL) record->url = url;
    return record;
}

rpf_fso *rpf_fso_parent(const rpf_fso *record)
{
    return record == NULL ? NULL : record->parent;
}

rpf_fso *rpf_fso_set_parent(rpf_fso *record, rpf_fso *parent)
{
    if (record != NULL) record->parent = parent;
    return record;
}

void *rpf_fso_object(const rpf_fso *record)
{
    return record == NULL ? NULL : record->object;
}

void rpf_fso_object_set(rpf_fso *record, void *object)
{
    if (record == NULL) return;
    record->object = object;
    record->has_object = 1;
}

int rpf_fso_has_object(const rpf_fso *record)
{
    return record != NULL && record->has_object != 0;
}

/* ---- query ---- */

intptr_t rpf_fso_get_item_for_key(const rpf_fso *record, int32_t key)
{
    if (record == NULL) return 0;
    switch (key) {
    case RPF_FSO_KEY_ACCESS_PERMS: return (intptr_t)record->access_perms;
    case RPF_FSO_KEY_PERMS: return (intptr_t)record->perms;
    case RPF_FSO_KEY_DATE: return (intptr_t)record->date_modified;
    case RPF_FSO_KEY_NAME: return (intptr_t)record->name;
    case RPF_FSO_KEY_OWNER: return (intptr_t)record->owner_name;
    case RPF_FSO_KEY_GROUP: return (intptr_t)record->group_name;
    case RPF_FSO_KEY_LINKS: return (intptr_t)record->links;
    case RPF_FSO_KEY_SIZE_TEXT: return (intptr_t)rpf_utility_format_size(record->size);
    case RPF_FSO_KEY_SIZE: return (intptr_t)record->size;
    case RPF_FSO_KEY_COMPLETE_ALIAS_PATH: return (intptr_t)record->complete_alias_path;
    case RPF_FSO_KEY_ALIAS_LOCATION: return (intptr_t)record->alias_location;
    /* Without a URL record this is rpf_url_string's answer to null: the
     * "Null URL passed in" line and null. */
    case RPF_FSO_KEY_URL_TEXT: return (intptr_t)rpf_url_string(record->url);
    case RPF_FSO_KEY_RAVIX_URL:
        return record->url == NULL ? 0 : (intptr_t)rpf_ravix_url(record->url, record->type, record->size);
    case RPF_FSO_KEY_COMPLETE_PATH: return (intptr_t)record->complete_path;
    case RPF_FSO_KEY_PARENT_PATH:
        return record->complete_path == NULL ? 0 : (intptr_t)rpf_parent_of_path(record->complete_path);
    case RPF_FSO_KEY_LINK_TARGET_TYPE: return (intptr_t)record->link_target_type;
    case RPF_FSO_KEY_PARENT: return (intptr_t)record->parent;
    case RPF_FSO_KEY_EXTENSION: return (intptr_t)record->extension;
    default: return 0;
    }
}
