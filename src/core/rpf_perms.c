#include <rkcore/rpf_perms.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { RIGHTS_READ = 4, RIGHTS_WRITE = 2, RIGHTS_EXECUTE = 1 };

/* The octal value is read through its decimal text cut to three characters,
 * exactly as the listing code has always done: 4755 reads as "475". */
enum { OCTAL_TEXT_LIMIT = 3 };

static unsigned digit_of(unsigned read, unsigned write, unsigned execute)
{
    return (read ? RIGHTS_READ : 0U) + (write ? RIGHTS_WRITE : 0U) + (execute ? RIGHTS_EXECUTE : 0U);
}

/* Prints `octal` into `text` (at most three characters) and returns the three
 * class characters: owner, group, world. A missing class is '\0'. */
static void class_digits(int32_t octal, char classes[3])
{
    char text[OCTAL_TEXT_LIMIT + 1];
    (void)snprintf(text, sizeof text, "%d", (int)octal);
    size_t length = strlen(text);
    if (length == 2) {
        classes[0] = '0'; /* the owner class is empty: "---" */
        classes[1] = text[0];
        classes[2] = text[1];
        return;
    }
    classes[0] = text[0];
    classes[1] = (char)(length > 1 ? text[1] : '\0');
    classes[2] = (char)(length > 2 ? text[2] : '\0');
}

/* Bits 4/2/1 of a class character, or -1 for anything but '0'-'7'. */
static int class_value(char c)
{
    return (c >= '0' && c <= '7') ? c - '0' : -1;
}

static int32_t octal_from_digits(unsigned owner, unsigned group, unsigned world)
{
    /* Each sum is printed with "%d%d%d" and read back as one decimal number:
     * for single digits that is plain arithmetic (leading zeros vanish either
     * way); sums above 9 (a triple such as "rrr") widen the text. */
    if (owner < 10 && group < 10 && world < 10) return (int32_t)(owner * 100 + group * 10 + world);
    char text[3 * 12 + 1];
    (void)snprintf(text, sizeof text, "%u%u%u", owner, group, world);
    return (int32_t)strtol(text, NULL, 10);
}

void rpf_toggle_permission(int index, rpf_perms *perms)
{
    if (perms == NULL) return;
    switch (index) {
    case RPF_PERM_USER_READ: perms->user_read ^= 1U; break;
    case RPF_PERM_USER_WRITE: perms->user_write ^= 1U; break;
    case RPF_PERM_USER_EXECUTE: perms->user_execute ^= 1U; break;
    case RPF_PERM_GROUP_READ: perms->group_read ^= 1U; break;
    case RPF_PERM_GROUP_WRITE: perms->group_write ^= 1U; break;
    case RPF_PERM_GROUP_EXECUTE: perms->group_execute ^= 1U; break;
    case RPF_PERM_WORLD_READ: perms->world_read ^= 1U; break;
    case RPF_PERM_WORLD_WRITE: perms->world_write ^= 1U; break;
    case RPF_PERM_WORLD_EXECUTE: perms->world_execute ^= 1U; break;
    default: break;
    }
}

int rpf_check_for_permission(int index, const rpf_perms *perms)
{
    if (perms == NULL) return 0;
    switch (index) {
    case RPF_PERM_USER_READ: return perms->user_read;
    case RPF_PERM_USER_WRITE: return perms->user_write;
    case RPF_PERM_USER_EXECUTE: return perms->user_execute;
    case RPF_PERM_GROUP_READ: return perms->group_read;
    case RPF_PERM_GROUP_WRITE: return perms->group_write;
    case RPF_PERM_GROUP_EXECUTE: return perms->group_execute;
    case RPF_PERM_WORLD_READ: return perms->world_read;
    case RPF_PERM_WORLD_WRITE: return perms->world_write;
    case RPF_PERM_WORLD_EXECUTE: return perms->world_execute;
    default: return 0;
    }
}

int32_t rpf_permissions_perms_to_octal(const rpf_perms *perms)
{
    if (perms == NULL) return 0;
    return octal_from_digits(digit_of(perms->user_read, perms->user_write, perms->user_execute),
                             digit_of(perms->group_read, perms->group_write, perms->group_execute),
                             digit_of(perms->world_read, perms->world_write, perms->world_execute));
}

rpf_perms *rpf_permissions_octal_to_perms(int32_t octal)
{
    rpf_perms *perms = calloc(1, sizeof *perms);
    if (perms == NULL) return NULL;
    char classes[3];
    class_digits(octal, classes);
    int owner = class_value(classes[0]);
    int group = class_value(classes[1]);
    int world = class_value(classes[2]);
    if (owner > 0) {
        perms->user_read = (owner & RIGHTS_READ) != 0;
        perms->user_write = (owner & RIGHTS_WRITE) != 0;
        perms->user_execute = (owner & RIGHTS_EXECUTE) != 0;
    }
    if (group > 0) {
        perms->group_read = (group & RIGHTS_READ) != 0;
        perms->group_write = (group & RIGHTS_WRITE) != 0;
        perms->group_execute = (group & RIGHTS_EXECUTE) != 0;
    }
    if (world > 0) {
        perms->world_read = (world & RIGHTS_READ) != 0;
        perms->world_write = (world & RIGHTS_WRITE) != 0;
        perms->world_execute = (world & RIGHTS_EXECUTE) != 0;
    }
    return perms;
}

static const char *triple_text(char c)
{
    static const char *const triples[] = {"---", "--x", "-w-", "-wx", "r--", "r-x", "rw-", "rwx"};
    int value = class_value(c);
    return value < 0 ? "" : triples[value];
}

char *rpf_permissions_octal_to_string(int32_t octal)
{
    enum { TEXT_SIZE = 10 };
    char *text = malloc(TEXT_SIZE);
    if (text == NULL) return NULL;
    char classes[3];
    class_digits(octal, classes);
    (void)snprintf(text, TEXT_SIZE, "%s%s%s", triple_text(classes[0]), triple_text(classes[1]),
                   triple_text(classes[2]));
    return text;
}

static unsigned triple_sum(const char *triple)
{
    unsigned sum = 0;
    for (int i = 0; i < 3; ++i) {
        switch (triple[i]) {
        case 'r': sum += RIGHTS_READ; break;
        case 'w': sum += RIGHTS_WRITE; break;
        case 'x': sum += RIGHTS_EXECUTE; break;
        default: break;
        }
    }
    return sum;
}

int32_t rpf_permissions_string_to_octal(const char *text)
{
    enum { LISTING_FORM_LENGTH = 10 };
    if (text == NULL || strnlen(text, LISTING_FORM_LENGTH) < LISTING_FORM_LENGTH) return -1;
    return octal_from_digits(triple_sum(text + 1), triple_sum(text + 4), triple_sum(text + 7));
}

uint16_t rpf_permissions_octal_to_mode(int32_t octal)
{
    rpf_perms *perms = rpf_permissions_octal_to_perms(octal);
    if (perms == NULL) return 0;
    unsigned mode =
        (perms->user_read ? 0400U : 0U) | (perms->user_write ? 0200U : 0U) | (perms->user_execute ? 0100U : 0U) |
        (perms->group_read ? 040U : 0U) | (perms->group_write ? 020U : 0U) | (perms->group_execute ? 010U : 0U) |
        (perms->world_read ? 04U : 0U) | (perms->world_write ? 02U : 0U) | (perms->world_execute ? 01U : 0U);
    free(perms);
    return (uint16_t)mode;
}

int32_t rpf_get_perms_from_mode(uint16_t mode)
{
    return octal_from_digits((mode >> 6) & 07U, (mode >> 3) & 07U, mode & 07U);
}

int32_t modetToPerms(uint16_t mode, int *sticky, int *setgid, int *setuid)
{
    if (sticky != NULL) *sticky = (mode & 01000U) != 0;
    if (setgid != NULL) *setgid = (mode & 02000U) != 0;
    if (setuid != NULL) *setuid = (mode & 04000U) != 0;
    return rpf_get_perms_from_mode(mode);
}

static char file_type_letter(uint32_t mode)
{
    switch (mode & 0170000U) {
    case 0100000U: return '-';
    case 0040000U: return 'd';
    case 0120000U: return 'l';
    case 0020000U: return 'c';
    case 0060000U: return 'b';
    case 0010000U: return 'p';
    case 0140000U: return 's';
    default: return '?';
    }
}

/* Execute position: x or -, replaced by `set`/`unset` (s/S, t/T) when the
 * special bit is on. */
static char execute_letter(uint32_t mode, uint32_t execute_bit, uint32_t special_bit, char set, char unset)
{
    int executable = (mode & execute_bit) != 0;
    if (mode & special_bit) {
        if (executable) return set;
        return unset;
    }
    if (executable) return 'x';
    return '-';
}

char *rpf_permissions_mode_to_listing_string(uint32_t mode)
{
    char *text = malloc(11);
    if (text == NULL) return NULL;
    text[0] = file_type_letter(mode);
    text[1] = (mode & 0400U) ? 'r' : '-';
    text[2] = (mode & 0200U) ? 'w' : '-';
    text[3] = execute_letter(mode, 0100U, 04000U, 's', 'S');
    text[4] = (mode & 040U) ? 'r' : '-';
    text[5] = (mode & 020U) ? 'w' : '-';
    text[6] = execute_letter(mode, 010U, 02000U, 's', 'S');
    text[7] = (mode & 04U) ? 'r' : '-';
    text[8] = (mode & 02U) ? 'w' : '-';
    text[9] = execute_letter(mode, 01U, 01000U, 't', 'T');
    text[10] = '\0';
    return text;
}
