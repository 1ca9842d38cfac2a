/* Permission bits and their text forms.
 *
 * Access rights come in three interchangeable forms: the nine-flag record
 * rpf_perms, the "octal value" (the three octal digits held as a decimal-looking
 * integer: rwxr-xr-x is 755, ---r--r-- is 44) and nine-character text
 * ("rwxr-xr-x"; the ten-character listing form "-rwxr-xr-x" is accepted).
 * Setuid, setgid and sticky are outside the record and the texts; only
 * modetToPerms reports them.
 *
 * Every function is reentrant and may be called from any thread. Returned
 * records and texts are fresh malloc buffers owned by the caller (free()).
 */
#ifndef RKCORE_RPF_PERMS_H
#define RKCORE_RPF_PERMS_H

#include <stdint.h>

#include <rkcore/rpf_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The index of each rights flag: its field's place (0-8) in declaration order,
 * the argument of rpf_toggle_permission and rpf_check_for_permission. */
typedef enum rpf_permission_index {
    RPF_PERM_USER_READ = 0,
    RPF_PERM_USER_WRITE = 1,
    RPF_PERM_USER_EXECUTE = 2,
    RPF_PERM_GROUP_READ = 3,
    RPF_PERM_GROUP_WRITE = 4,
    RPF_PERM_GROUP_EXECUTE = 5,
    RPF_PERM_WORLD_READ = 6,
    RPF_PERM_WORLD_WRITE = 7,
    RPF_PERM_WORLD_EXECUTE = 8
} rpf_permission_index;

/* Nine one-bit rights flags, in the order of rpf_permission_index. */
typedef struct rpf_perms {
    unsigned int user_read : 1;     /* 0 */
    unsigned int user_write : 1;    /* 1 */
    unsigned int user_execute : 1;  /* 2 */
    unsigned int group_read : 1;    /* 3 */
    unsigned int group_write : 1;   /* 4 */
    unsigned int group_execute : 1; /* 5 */
    unsigned int world_read : 1;    /* 6 */
    unsigned int world_write : 1;   /* 7 */
    unsigned int world_execute : 1; /* 8 */
} rpf_perms;

/* Inverts flag `index` in place. An index outside 0-8 or a null record
 * changes nothing. */
RPF_EXPORT void rpf_toggle_permission(int index, rpf_perms *perms);

/* 1 when flag `index` is set, else 0; 0 for an index outside 0-8 or a null
 * record. */
RPF_EXPORT int rpf_check_for_permission(int index, const rpf_perms *perms);

/* The octal value of a record: ------rwx gives 7, rwxr-x--- gives 750.
 * A null record gives 0. */
RPF_EXPORT int32_t rpf_permissions_perms_to_octal(const rpf_perms *perms);

/* A new record from an octal value. Only the first three characters of the
 * value's decimal text count (4755 reads as 475); a two-character text is the
 * group and world digits, a one-character text the owner digit (so 7 means
 * rwx------). A character other than 0-7 clears its class (-1 gives only
 * world_execute). Null when memory is exhausted. */
RPF_EXPORT rpf_perms *rpf_permissions_octal_to_perms(int32_t octal);

/* Nine-character text of an octal value, read as rpf_permissions_octal_to_perms
 * reads it; a missing or invalid digit gives an empty triple, so 0 gives "---"
 * and 7 gives "rwx". Never shows s, S, t or T. Null when memory is exhausted. */
RPF_EXPORT char *rpf_permissions_octal_to_string(int32_t octal);

/* Octal value of the ten-character listing form ("-rwxr-xr-x" gives 755).
 * The first character is skipped and anything after the tenth ignored; in each
 * triple r adds 4, w 2 and x 1 wherever they stand, other letters nothing
 * ("-rwsr-xr-x" gives 655). A null text or one of nine characters or fewer
 * gives -1. */
RPF_EXPORT int32_t rpf_permissions_string_to_octal(const char *text);

/* Mode word holding only the nine rights bits (owner read 0400 ... world
 * execute 01) of an octal value read as rpf_permissions_octal_to_perms reads
 * it. */
RPF_EXPORT uint16_t rpf_permissions_octal_to_mode(int32_t octal);

/* Octal value of the nine rights bits of a mode word. */
RPF_EXPORT int32_t rpf_get_perms_from_mode(uint16_t mode);

/* As rpf_get_perms_from_mode; also stores 1 or 0 into each output given
 * (non-null): sticky = bit 01000, setgid = 02000, setuid = 04000. */
RPF_EXPORT int32_t modetToPerms(uint16_t mode, int *sticky, int *setgid, int *setuid);

/* Ten-character `ls -l` text of a full mode word (file type, rights, and
 * s/S/t/T for setuid, setgid and sticky): 0100644 gives "-rw-r--r--", 040755
 * "drwxr-xr-x", 0104755 "-rwsr-xr-x". Unlike rpf_permissions_octal_to_string
 * it is right for every mode (007 gives "-------rwx"). An unknown file type
 * shows "?". A fresh malloc buffer; null when memory is exhausted. */
RPF_EXPORT char *rpf_permissions_mode_to_listing_string(uint32_t mode);

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_PERMS_H */
