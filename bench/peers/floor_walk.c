/* The floor of a one-thread size walk: getdents64 over each open folder and
 * one fstatat per entry, nothing else. Prints "walk_us T entries N bytes B".
 *   rkcore-floor-walk FOLDER */
#include <dirent.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>
#include "linux_dirent.h"

static uint64_t entries, bytes;

static void walk(int folder)
{
    char buffer[32768];
    for (;;) {
        const long read = syscall(SYS_getdents64, folder, buffer, sizeof buffer);
        if (read <= 0) break;
        for (long at = 0; at < read;) {
            const struct linux_dirent64 *entry = (const struct linux_dirent64 *)(buffer + at);
            at += entry->d_reclen;
            const char *name = entry->d_name;
            if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) continue;
            struct stat status;
            if (fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) continue;
            ++entries;
            bytes += (uint64_t)status.st_blocks * 512U;
            if (S_ISDIR(status.st_mode)) {
                const int child = openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
                if (child >= 0) {
                    walk(child);
                    close(child);
                }
            }
        }
    }
}

int main(int argc, char **argv)
{
    if (argc != 2) return 2;
    const int top = open(argv[1], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (top < 0) return 1;
    struct timespec start, end;
    clock_gettime(CLOCK_MONOTONIC, &start);
    walk(top);
    clock_gettime(CLOCK_MONOTONIC, &end);
    printf("walk_us %.0f entries %llu bytes %llu\n",
           (double)(end.tv_sec - start.tv_sec) * 1e6 + (double)(end.tv_nsec - start.tv_nsec) / 1e3,
           (unsigned long long)entries, (unsigned long long)bytes);
    return 0;
}
