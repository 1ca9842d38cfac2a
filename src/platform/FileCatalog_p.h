// Catalogue information of a local item, as the object layer asks for it:
// the Finder information (type, creator, flags) kept in the extended attribute
// "user.com.apple.FinderInfo", the node-flags word, and the creation and
// content-modification times.
//
// Paths are the item's bytes (UTF-8 on this platform), NUL-terminated.
// Nothing here opens the item itself, so a FIFO, socket or device never
// blocks. Thread: any thread.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

namespace rk::platform {

// Finder flags.
inline constexpr uint16_t kFinderFlagHasCustomIcon = 0x0400;
inline constexpr uint16_t kFinderFlagIsInvisible = 0x4000;

// Node-flags bits.
inline constexpr uint16_t kNodeLocked = 0x0001;       // the inode's immutable flag (chattr +i)
inline constexpr uint16_t kNodeIsDirectory = 0x0010;  // a directory
inline constexpr uint16_t kNodeHasHardLinks = 0x0100; // a non-directory with more than one link

// The first fields of the 32-byte Finder-information block, read big-endian:
// bytes 0-3 file type, 4-7 creator, 8-9 flags. Zeros when the item has no such
// attribute.
struct FinderInfo {
    uint32_t type = 0;
    uint32_t creator = 0;
    uint16_t flags = 0;
};

// The Finder information of `path`. `followLinks` reads through a symbolic
// link (getxattr) rather than from the link itself (lgetxattr).
// - no attribute (ENODATA), or a file system without user attributes: zeros;
// - an attribute that is not exactly 32 bytes (damaged): nothing;
// - the item cannot be examined (missing, no permission, a loop): nothing.
std::optional<FinderInfo> readFinderInfo(const char *path, bool followLinks);

// Writes the 32-byte block (the three fields, the rest zero) to `path`'s
// attribute. false (errno kept) when it cannot be written. Used by tests and
// tools that mark items.
bool writeFinderInfo(const char *path, const FinderInfo &info);

// The node-flags word of `path` (not following a final link), from one statx:
// kNodeLocked, kNodeIsDirectory, kNodeHasHardLinks as they apply. Nothing when
// the item cannot be examined.
std::optional<uint16_t> nodeFlags(const char *path);

// The item's creation (birth) time and content-modification time, from one
// statx following links. `created` is nothing when the file system keeps no
// birth time. Nothing at all when the item cannot be examined.
struct CatalogTimes {
    timespec modified{};
    std::optional<timespec> created;
};
std::optional<CatalogTimes> catalogTimes(const char *path);

} // namespace rk::platform
