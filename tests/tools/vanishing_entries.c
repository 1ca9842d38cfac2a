/* Preloaded into rkcore by the usability tests: entries whose names begin
 * with "vanish-" cannot be examined (ENOENT), as if each were deleted between
 * the folder's listing and its examination. RKTEST_VANISH_TIMES=N limits this
 * to the first N examinations; without it they never can be. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

static long remaining = -1;

static int vanishes(const char *path)
{
    if (path == NULL || strncmp(path, "vanish-", 7) != 0) return 0;
    if (remaining < 0) {
        const char *times = getenv("RKTEST_VANISH_TIMES");
        remaining = times != NULL ? strtol(times, NULL, 10) : 1L << 40;
    }
    if (remaining == 0) return 0;
    --remaining;
    return 1;
}

typedef int (*fstatat_function)(int, const char *, struct stat *, int);

__attribute__((visibility("default"))) int fstatat(int directory, const char *path, struct stat *data, int flags)
{
    static fstatat_function real;
    if (real == NULL) real = (fstatat_function)dlsym(RTLD_NEXT, "fstatat");
    if (vanishes(path)) {
        errno = ENOENT;
        return -1;
    }
    return real(directory, path, data, flags);
}

__attribute__((visibility("default"))) int fstatat64(int directory, const char *path, struct stat64 *data, int flags)
{
    /* The same record on 64-bit Linux. */
    return fstatat(directory, path, (struct stat *)data, flags);
}
