// The alias record: the byte form behind RBAlias, plain C++ without Qt so that
// the fuzz target can build it alone.
//
// Layout, all integers big-endian:
//   0  4  magic "RKAl"
//   4  2  version (1)
//   6  2  flags: bit 0 set when the item is recorded relative to its folder
//         (every item but "/"); bit 1 set when the birth time is known;
//         other bits zero
//   8  8  device of the item
//  16  8  inode of the item
//  24  8  birth time, seconds (zero when unknown)
//  32  4  birth time, nanoseconds (below 10^9; zero when unknown)
//  36  2  length of the path (1..4095)
//  38  2  length of the name (0..255)
//  40     the absolute, canonical path (UTF-8 bytes as the file system has them)
//         the item's name within its folder (the path's last component)
//  end 4  CRC-32 of every byte before it
// The birth time tells a new item that reused a deleted item's inode number
// from the item itself. Anything else (another size, a bad checksum, a path that is not canonical,
// a name that is not the path's last component) is not a record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace rk::alias {

inline constexpr size_t kMaxPathLength = 4095;
inline constexpr size_t kMaxNameLength = 255;
inline constexpr uint16_t kVersion = 1;

struct AliasRecord {
    std::string path; // absolute and canonical: "/", or "/a/b" without "." "..", "//" or a final "/"
    std::string name; // last component of path; empty for "/"
    uint64_t device = 0;
    uint64_t inode = 0;
    bool relative = false; // recorded relative to its folder (false only for "/")
    bool hasBirthTime = false;
    int64_t birthSeconds = 0;
    uint32_t birthNanoseconds = 0;
};

// The record of the item at `path` (symbolic links resolved): nothing when no
// item is there or the path is too long for a record.
std::optional<AliasRecord> makeRecord(const std::string &path);

// The bytes of a valid record.
std::string encode(const AliasRecord &record);

// The CRC-32 (IEEE) that closes a record, over `size` bytes.
uint32_t checksum(const uint8_t *bytes, size_t size);

// The record in `bytes`, or nothing unless they are exactly a valid record.
std::optional<AliasRecord> decode(const uint8_t *bytes, size_t size);

// The path of the recorded item: the recorded path when the item there is the
// same (device, inode and, when recorded, birth time), else, for a relative record, the entry of the
// recorded folder with that device and inode (the item was renamed), else
// nothing.
std::optional<std::string> resolve(const AliasRecord &record);

} // namespace rk::alias
