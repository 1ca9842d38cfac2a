// The benchmark folder of the listing benchmarks: many entries in one folder,
// shaped like a big download or photo folder.
//
// Of every 100 entries: 98 small regular files, 1 sub-folder and 1 symbolic
// link (links alternate: dangling, to a folder, to a file). Names carry
// several dots, spaces and non-ASCII characters; when run as root, about one
// file in a thousand belongs to an owner and group without a name.
//
// The folder is the same on every machine: names, kinds, sizes (files are
// sparse, so a million entries take inodes but almost no blocks) and
// modification times (about three years of them, one entry in ten sharing the
// time of the one before, as files copied together do) follow from the
// entry's number alone.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <string>

namespace rkbench {

inline constexpr int kDefaultEntries = 100000;

inline std::string defaultFolder(int entries = kDefaultEntries)
{
    return "/tmp/rkcore-bench-tree-" + std::to_string(entries);
}

// The modification time of entry `i`.
inline time_t entryTime(int i)
{
    const int step = i - (i % 10 == 1 ? 1 : 0);
    return static_cast<time_t>(1700000000) + static_cast<time_t>(step) * 97;
}

inline std::string entryName(int i)
{
    static const char *const shapes[][2] = {
        {"photo ", ".2024.06.jpeg"},  {"Rapport été ", ".v1.2.pdf"}, {"naïve café ", ".tar.gz"},
        {"日本語 ファイル ", ".txt"}, {"data.", ".backup.old"},      {"Ünïcødé — notes ", ".md"},
    };
    char number[16];
    std::snprintf(number, sizeof number, "%06d", i);
    const auto &shape = shapes[i % 6];
    return std::string(shape[0]) + number + shape[1];
}

// Creates `entries` entries in `folder` (which must not exist); true when
// done. A folder with a ".complete" marker from an earlier run is reused.
inline bool makeListingFolder(const std::string &folder, int entries)
{
    const std::string marker = folder + "/.complete";
    if (access(marker.c_str(), F_OK) == 0) return true;
    if (mkdir(folder.c_str(), 0755) != 0) return false;
    const bool root = geteuid() == 0;
    std::string lastFolder, lastFile;
    for (int i = 1; i < entries; ++i) { // the marker is the last entry
        const std::string path = folder + "/" + entryName(i);
        if (i % 100 == 50) {
            if (mkdir(path.c_str(), 0755) != 0) return false;
            lastFolder = entryName(i);
        } else if (i % 100 == 0) {
            const int kind = (i / 100) % 3;
            const std::string target = kind == 0                          ? "../missing/" + entryName(i)
                                       : kind == 1 && !lastFolder.empty() ? lastFolder
                                                                          : lastFile;
            if (symlink(target.c_str(), path.c_str()) != 0) return false;
        } else {
            const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
            if (fd < 0) return false;
            const bool written = ftruncate(fd, static_cast<off_t>(i % 300)) == 0;
            if (root && i % 997 == 0) (void)fchown(fd, 60000 + i % 3, 60000 + i % 3);
            if (close(fd) != 0 || !written) return false;
            lastFile = entryName(i);
        }
        const timespec times[2] = {{entryTime(i), 0}, {entryTime(i), 0}};
        if (utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) return false;
    }
    const int fd = open(marker.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    return fd >= 0 && close(fd) == 0;
}

} // namespace rkbench
