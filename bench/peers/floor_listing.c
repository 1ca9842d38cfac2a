/* The floor of reading a folder into records: what any listing must pay.
 *   floor-listing FOLDER
 * getdents64 straight from the kernel, one fstatat per entry relative to the
 * open folder, a second only for symbolic links, owner and group names looked
 * up once per id, a date text per entry (its day part made once per day, the
 * time of day by arithmetic) and a compact record per entry kept in memory.
 * Prints "entries N read_us T max_rss_kb R" like the other listing programs. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>
#include "peer_clock.h"
#include "linux_dirent.h"

typedef struct entry {
    const char *name;
    const char *date;
    const char *owner;
    const char *group;
    int64_t size;
    int64_t mtime;
    uint32_t mode;
    uint32_t links;
    uint32_t target_mode;
} entry;

/* Texts go into big blocks that are never freed while the program runs. */
static char *block, *block_end;
static char *keep(const char *text, size_t length)
{
    if ((size_t)(block_end - block) < length + 1) {
        block = malloc(1 << 20);
        if (block == NULL) exit(1);
        block_end = block + (1 << 20);
    }
    char *copy = block;
    memcpy(copy, text, length);
    copy[length] = '\0';
    block += length + 1;
    return copy;
}

typedef struct name_slot {
    unsigned id;
    const char *text;
} name_slot;
static name_slot owners[64], groups[64];
static size_t owner_count, group_count;

static const char *cached_name(name_slot *slots, size_t *count, unsigned id, int group)
{
    for (size_t i = 0; i < *count; ++i)
        if (slots[i].id == id) return slots[i].text;
    char buffer[4096];
    const char *name = "Unknown";
    struct passwd pw, *pwf = NULL;
    struct group gr, *grf = NULL;
    if (group && getgrgid_r(id, &gr, buffer, sizeof buffer, &grf) == 0 && grf != NULL) name = grf->gr_name;
    if (!group && getpwuid_r(id, &pw, buffer, sizeof buffer, &pwf) == 0 && pwf != NULL) name = pwf->pw_name;
    const char *text = keep(name, strlen(name));
    if (*count < 64) slots[(*count)++] = (name_slot){id, text};
    return text;
}

/* The day part of the last day seen, and its first second. */
static time_t day_start = 1, day_end = 0;
static char day_prefix[96];
static size_t day_length;

static const char *date_text(time_t t)
{
    if (t < day_start || t >= day_end) {
        struct tm when;
        if (localtime_r(&t, &when) == NULL) return NULL;
        day_start = t - (when.tm_hour * 3600 + when.tm_min * 60 + when.tm_sec);
        day_end = day_start + 86400;
        day_length = strftime(day_prefix, sizeof day_prefix, "%a, %b %d, %Y, ", &when);
    }
    char text[128];
    int s = (int)(t - day_start);
    memcpy(text, day_prefix, day_length);
    char *clock = text + day_length;
    int parts[3] = {s / 3600, s / 60 % 60, s % 60};
    for (size_t i = 0; i < 3; ++i) {
        clock[3 * i] = (char)('0' + parts[i] / 10);
        clock[3 * i + 1] = (char)('0' + parts[i] % 10);
        clock[3 * i + 2] = ':';
    }
    return keep(text, day_length + 8);
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        (void)fprintf(stderr, "usage: floor-listing FOLDER\n");
        return 2;
    }
    double start = now_us();
    int fd = open(argv[1], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return 1;
    size_t count = 0, capacity = 1024;
    entry *entries = malloc(capacity * sizeof *entries);
    static char buffer[1 << 15];
    long got = 0;
    while (entries != NULL && (got = syscall(SYS_getdents64, fd, buffer, sizeof buffer)) > 0) {
        for (long at = 0; at < got;) {
            const struct linux_dirent64 *d = (const void *)(buffer + at);
            at += d->d_reclen;
            const char *name = d->d_name;
            if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
            struct stat st, target;
            if (fstatat(fd, name, &st, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) continue;
            uint32_t target_mode = 0;
            if (S_ISLNK(st.st_mode) && fstatat(fd, name, &target, AT_NO_AUTOMOUNT) == 0) target_mode = target.st_mode;
            if (count == capacity) {
                capacity *= 2;
                entries = realloc(entries, capacity * sizeof *entries);
                if (entries == NULL) return 1;
            }
            entries[count++] = (entry){keep(name, strlen(name)),
                                       date_text(st.st_mtime),
                                       cached_name(owners, &owner_count, st.st_uid, 0),
                                       cached_name(groups, &group_count, st.st_gid, 1),
                                       st.st_size,
                                       st.st_mtime,
                                       st.st_mode,
                                       (uint32_t)st.st_nlink,
                                       target_mode};
        }
    }
    double elapsed = now_us() - start;
    close(fd);
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf("entries %zu read_us %.0f max_rss_kb %ld\n", count, elapsed, usage.ru_maxrss);
    free(entries); /* the texts' blocks go with the process */
    return 0;
}
