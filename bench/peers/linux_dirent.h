/* The kernel's directory entry as getdents64 returns it (glibc 2.36 has no
 * declaration of its own), for the floor programs that read folders directly. */
#ifndef RKBENCH_LINUX_DIRENT_H
#define RKBENCH_LINUX_DIRENT_H

#include <stdint.h>

struct linux_dirent64 {
    uint64_t d_ino;
    int64_t d_off;
    unsigned short d_reclen;
    unsigned char d_type;
    char d_name[];
};

#endif
