// The folder-size walk: every descendant of a folder, read once each relative
// to its open folder, summed into the eleven counters of a size record
// (rkcore/RBFileSystemObjectSize.h), plus a few figures beyond them.
//
// What the counters hold (descendants only; the folder itself is not counted):
//   - a folder adds 1 to the folder count; it is hidden when its Finder flags
//     say invisible or its parent's ".hidden" file lists its name;
//   - anything else adds 1 to the file count, and, when it can be examined,
//     its data fork (st_size, st_blocks * 512) and resource fork (the
//     "user.com.apple.ResourceFork" attribute: its length, and that rounded up
//     to the block size). A symbolic link adds only its own length, and only
//     when its target can be examined; its hidden state is its target's Finder
//     flags or its own name in ".hidden";
//   - symbolic links are never followed into; a folder that cannot be read
//     still counts, with no contents.
//
// Beyond the counters (RBFolderWalkExtras): the on-disk total as `du` counts
// it (every inode once, folders' own blocks and the top item included) and the
// apparent total as `du --apparent-size` counts it; an option to stay on the
// top item's file system; a progress callback; mount points of network file
// systems that do not answer within a few seconds, and automount points that
// are not mounted, are skipped (counted as folders, not entered) and reported.
//
// Memory: one folder and its path per level of depth, plus one entry for each
// hard-linked file met (to count it once); nothing else per entry. At most 128
// folders per thread stay open: deeper ones are read whole and closed, and
// their entries reached relative to an open folder above them, so trees of any
// depth are walked whole. Where a path is longer than PATH_MAX, the Finder
// information, resource forks and ".hidden" files (read by whole path) are
// not read.
//
// Thread: the walk runs on the calling thread (and on helper threads when
// options.threads > 1, all joined before it returns); `cancel` may be set
// from any thread and is read after every entry.
#pragma once

#include <QByteArray>
#include <QStringList>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>

#include <rkcore/Conventions.h>

namespace rk {

// Indexes of the eleven counters of a size record, in their fixed order.
enum RBSizeCounter : int {
    kRBSizeDataFork = 0,
    kRBSizeDataForkPhysical = 1,
    kRBSizeResourceFork = 2,
    kRBSizeResourceForkPhysical = 3,
    kRBSizeAvailable = 4, // volumes: free bytes
    kRBSizeTotal = 5,     // data + resource fork; volumes: capacity
    kRBSizePhysicalTotal = 6,
    kRBSizeContainedItems = 7, // files + folders
    kRBSizeFolders = 8,
    kRBSizeFiles = 9,
    kRBSizeHidden = 10,
    kRBSizeCounterCount = 11,
};

// The size record: eleven unsigned 64-bit counters, all 0 when made.
struct RBSizeRecord {
    std::array<uint64_t, kRBSizeCounterCount> counters{};
    uint64_t &operator[](int index) { return counters.at(static_cast<size_t>(index)); }
    uint64_t operator[](int index) const { return counters.at(static_cast<size_t>(index)); }
};

// Figures a walk gives beyond the eleven counters.
struct RBFolderWalkExtras {
    uint64_t diskUsage = 0;    // bytes on disk, as `du -s -B1` counts them
    uint64_t apparentSize = 0; // bytes, as `du -s -b` counts them
    uint64_t entries = 0;      // entries examined (the top item included)
    uint64_t unreadableFolders = 0;
    bool cancelled = false;    // stopped by the cancel flag: every figure is partial
    QStringList skippedMounts; // mount points not entered (unreachable or automount)
};

// Progress of a running walk.
struct RBFolderSizeProgress {
    uint64_t items = 0; // entries counted so far
    uint64_t bytes = 0; // data fork bytes so far
};

struct RBFolderSizeWalkOptions {
    // Do not enter folders on another file system than the top item's (their
    // mount points still count as folders; their contents are not counted).
    bool oneFileSystem = false;
    // Read the extended attributes (resource forks, Finder flags) and the
    // ".hidden" files. Without them counters 2, 3 and 10 stay 0 and the walk
    // makes one system call per entry, as `du` does.
    bool readAttributes = true;
    // Called on the calling thread at most once per interval, and once at the end.
    std::function<void(const RBFolderSizeProgress &)> progress;
    std::chrono::milliseconds progressInterval{250};
    // Threads that walk (1: the calling thread alone). With more, helper
    // threads take folders the others have not entered yet; the counters are
    // the same, and the helpers end before the walk returns.
    int threads = 1;
    // Longest wait for a network mount point to answer before it is skipped.
    std::chrono::milliseconds mountTimeout{2000};
};

struct RBFolderSizeWalkResult {
    RBSizeRecord record; // counters 0-3 and 7-10 filled; 5 and 6 as their sums
    RBFolderWalkExtras extras;
    bool found = false; // false when the top item could not be examined at all
};

// Walks `path` (links followed for the path itself; a path that is not a
// folder gives its own du figures and empty counters). `cancel`, when not
// null, stops the walk after the entry during which it became true.
RKCORE_EXPORT RBFolderSizeWalkResult walkFolderSizes(const QByteArray &path, const RBFolderSizeWalkOptions &options,
                                                     const std::atomic<bool> *cancel);

} // namespace rk
