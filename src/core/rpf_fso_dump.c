#include <rkcore/rpf_fso.h>

#include <stdlib.h>

#include "rpf_diagnostics_p.h"

/* printf's "%s" of a null pointer is undefined; the dump shows "(null)". */
static const char *shown(const char *text)
{
    return text == NULL ? "(null)" : text;
}

static void dump_url(const rpf_fso *record)
{
    char *url = record->url == NULL ? NULL : rpf_url_string(record->url); /* the text of the URL key */
    rpf_diag_printf("\t\tURL : >%s<\n", shown(url));
    free(url);
}

/* The nine detail lines of an item that is not a directory. */
static void dump_file_lines(const rpf_fso *record)
{
    rpf_diag_printf("\t\tName : >%s<\n", shown(record->name));
    rpf_diag_printf("\t\tSize : %d\n", record->size);
    rpf_diag_printf("\t\tLinks : %d\n", record->links);
    rpf_diag_printf("\t\tAccess Perms : %s\n", shown(record->access_perms));
    rpf_diag_printf("\t\tDate Modified : %s\n", shown(record->date_modified));
    rpf_diag_printf("\t\tOwner Name : >%s<\n", shown(record->owner_name));
    rpf_diag_printf("\t\tGroup Name : >%s<\n", shown(record->group_name));
    rpf_diag_printf("\t\tComplete Path : >%s<\n", shown(record->complete_path));
    dump_url(record);
}

/* The nine detail lines of a sub-folder; the owner line comes twice, as
 * folder dumps have always shown it. */
static void dump_subdirectory_lines(const rpf_fso *record)
{
    rpf_diag_printf("\t\tName : >%s<\n", shown(record->name));
    rpf_diag_printf("\t\tAccess Perms : %s\n", shown(record->access_perms));
    rpf_diag_printf("\t\tDate Modified : %s\n", shown(record->date_modified));
    rpf_diag_printf("\t\tOwner Name : >%s<\n", shown(record->owner_name));
    rpf_diag_printf("\t\tGroup Name : >%s<\n", shown(record->group_name));
    rpf_diag_printf("\t\tLinks : %d\n", record->links);
    rpf_diag_printf("\t\tOwner Name : >%s<\n", shown(record->owner_name));
    rpf_diag_printf("\t\tComplete Path : >%s<\n", shown(record->complete_path));
    dump_url(record);
}

/* Dumps every child of one array; 0 after a null child (which ends the
 * dump), else 1. */
static int dump_children(const rpf_fso *dir, int32_t which, void (*dump_lines)(const rpf_fso *))
{
    int32_t count = which == RPF_FSO_SUBDIRECTORIES ? rpf_fso_subdirectory_count(dir) : rpf_fso_file_count(dir);
    for (int32_t i = 0; i < count; ++i) {
        const rpf_fso *child = rpf_array_get(which == RPF_FSO_SUBDIRECTORIES ? dir->subdirectories : dir->files, i);
        if (child == NULL) {
            rpf_diag_line("Subitem was NULL");
            return 0;
        }
        dump_lines(child);
    }
    return 1;
}

void rpf_fso_dump(const rpf_fso *record)
{
    if (record == NULL) {
        rpf_diag_line("File System Object was null");
        return;
    }
    if (record->type != RPF_FSO_TYPE_DIRECTORY) {
        rpf_diag_line("Item is a File");
        dump_file_lines(record);
        if (record->type == RPF_FSO_TYPE_LINK) {
            rpf_diag_printf("\t\tAlias Location : >%s<\n", shown(record->alias_location));
            rpf_diag_printf("\t\tComplete Alias Path : >%s<\n", shown(record->complete_alias_path));
        }
        return;
    }
    rpf_diag_line("Item is a directory");
    rpf_diag_printf("It has %d subdirectories and %d files in it\n", rpf_fso_subdirectory_count(record),
                    rpf_fso_file_count(record));
    rpf_diag_line("Subdirectories");
    if (!dump_children(record, RPF_FSO_SUBDIRECTORIES, dump_subdirectory_lines)) return;
    rpf_diag_line("Files");
    dump_children(record, RPF_FSO_FILES, dump_file_lines);
}
