#include "FileCatalog_p.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace rk::platform {

namespace {

constexpr const char *kFinderInfoAttribute = "user.com.apple.FinderInfo";
constexpr std::size_t kFinderInfoSize = 32;

uint32_t readBigEndian32(const unsigned char *bytes)
{
    return (uint32_t{bytes[0]} << 24) | (uint32_t{bytes[1]} << 16) | (uint32_t{bytes[2]} << 8) | uint32_t{bytes[3]};
}

void writeBigEndian32(unsigned char *bytes, uint32_t value)
{
    bytes[0] = static_cast<unsigned char>(value >> 24);
    bytes[1] = static_cast<unsigned char>(value >> 16);
    bytes[2] = static_cast<unsigned char>(value >> 8);
    bytes[3] = static_cast<unsigned char>(value);
}

timespec toTimespec(const struct statx_timestamp &stamp)
{
    timespec result{};
    result.tv_sec = stamp.tv_sec;
    result.tv_nsec = static_cast<long>(stamp.tv_nsec);
    return result;
}

} // namespace

std::optional<FinderInfo> readFinderInfo(const char *path, bool followLinks)
{
    if (path == nullptr) return std::nullopt;
    // One byte more than the block: a longer (damaged) attribute then fails
    // with ERANGE or reads 33 bytes, and both are told apart from a good one
    // by the same single call.
    std::array<unsigned char, kFinderInfoSize + 1> block{};
    const ssize_t length = followLinks ? ::getxattr(path, kFinderInfoAttribute, block.data(), block.size())
                                       : ::lgetxattr(path, kFinderInfoAttribute, block.data(), block.size());
    if (length < 0) {
        // No attribute, or a file system (or a link) that keeps no user attributes.
        if (errno == ENODATA || errno == ENOTSUP) return FinderInfo{};
        return std::nullopt;
    }
    if (static_cast<std::size_t>(length) != kFinderInfoSize) return std::nullopt;
    FinderInfo info;
    info.type = readBigEndian32(block.data());
    info.creator = readBigEndian32(block.data() + 4);
    info.flags = static_cast<uint16_t>((block[8] << 8) | block[9]);
    return info;
}

bool writeFinderInfo(const char *path, const FinderInfo &info)
{
    if (path == nullptr) {
        errno = EINVAL;
        return false;
    }
    std::array<unsigned char, kFinderInfoSize> block{};
    writeBigEndian32(block.data(), info.type);
    writeBigEndian32(block.data() + 4, info.creator);
    block[8] = static_cast<unsigned char>(info.flags >> 8);
    block[9] = static_cast<unsigned char>(info.flags);
    return ::setxattr(path, kFinderInfoAttribute, block.data(), block.size(), 0) == 0;
}

std::optional<uint16_t> nodeFlags(const char *path)
{
    if (path == nullptr) return std::nullopt;
    struct statx status {};
    if (::statx(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE | STATX_NLINK, &status) != 0)
        return std::nullopt;
    uint16_t flags = 0;
    if ((status.stx_attributes_mask & STATX_ATTR_IMMUTABLE) != 0 && (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0)
        flags |= kNodeLocked;
    const bool directory = S_ISDIR(status.stx_mode);
    if (directory) flags |= kNodeIsDirectory;
    if (!directory && status.stx_nlink > 1) flags |= kNodeHasHardLinks;
    return flags;
}

std::optional<CatalogTimes> catalogTimes(const char *path)
{
    if (path == nullptr) return std::nullopt;
    struct statx status {};
    if (::statx(AT_FDCWD, path, AT_NO_AUTOMOUNT, STATX_MTIME | STATX_BTIME, &status) != 0) return std::nullopt;
    CatalogTimes times;
    times.modified = toTimespec(status.stx_mtime);
    if ((status.stx_mask & STATX_BTIME) != 0) times.created = toTimespec(status.stx_btime);
    return times;
}

} // namespace rk::platform
