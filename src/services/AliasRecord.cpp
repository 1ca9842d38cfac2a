#include "AliasRecord_p.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace rk::alias {

namespace {

constexpr std::array<uint8_t, 4> kMagic{'R', 'K', 'A', 'l'};
constexpr size_t kHeaderSize = 40;
constexpr size_t kChecksumSize = 4;
constexpr uint16_t kRelativeFlag = 0x0001;
constexpr uint16_t kBirthTimeFlag = 0x0002;
constexpr uint32_t kNanosecondsPerSecond = 1000000000U;

} // namespace

uint32_t checksum(const uint8_t *bytes, size_t size)
{
    uint32_t crc = 0xFFFFFFFFU;
    for (size_t i = 0; i < size; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320U & (0U - (crc & 1U)));
    }
    return ~crc;
}

namespace {

void put(std::string &out, uint64_t value, int width)
{
    for (int shift = (width - 1) * 8; shift >= 0; shift -= 8)
        out.push_back(static_cast<char>((value >> shift) & 0xFF));
}

uint64_t get(const uint8_t *bytes, int width)
{
    uint64_t value = 0;
    for (int i = 0; i < width; ++i)
        value = (value << 8) | bytes[i];
    return value;
}

std::string lastComponent(const std::string &path)
{
    if (path == "/") return {};
    return path.substr(path.rfind('/') + 1);
}

std::string folderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

// "/" or "/a/b": no empty, "." or ".." component, no NUL.
bool isCanonicalPath(const std::string &path)
{
    if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) return false;
    if (path == "/") return true;
    size_t start = 1;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        const std::string_view part(path.data() + start, end - start);
        if (part.empty() || part == "." || part == "..") return false;
        start = end + 1;
    }
    return true;
}

bool isValid(const AliasRecord &record)
{
    if (record.path.empty() || record.path.size() > kMaxPathLength || record.name.size() > kMaxNameLength) {
        return false;
    }
    if (!isCanonicalPath(record.path)) return false;
    if (record.relative != (record.path != "/")) return false;
    if (record.birthNanoseconds >= kNanosecondsPerSecond) return false;
    if (!record.hasBirthTime && (record.birthSeconds != 0 || record.birthNanoseconds != 0)) return false;
    return record.name == lastComponent(record.path);
}

// The item's identity as the record keeps it, without following a final link.
struct Identity {
    uint64_t device = 0;
    uint64_t inode = 0;
    bool hasBirthTime = false;
    int64_t birthSeconds = 0;
    uint32_t birthNanoseconds = 0;
};

std::optional<Identity> identify(int folder, const char *path)
{
    struct statx status {};
    if (statx(folder, path, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_INO | STATX_BTIME, &status) != 0) {
        return std::nullopt;
    }
    Identity identity;
    identity.device = static_cast<uint64_t>(makedev(status.stx_dev_major, status.stx_dev_minor)); // as st_dev
    identity.inode = status.stx_ino;
    if ((status.stx_mask & STATX_BTIME) != 0 && status.stx_btime.tv_nsec < kNanosecondsPerSecond) {
        identity.hasBirthTime = true;
        identity.birthSeconds = status.stx_btime.tv_sec;
        identity.birthNanoseconds = status.stx_btime.tv_nsec;
    }
    return identity;
}

bool sameItem(const std::optional<Identity> &identity, const AliasRecord &record)
{
    if (!identity || identity->device != record.device || identity->inode != record.inode) return false;
    // A birth time on one side only (another file system, another kernel)
    // cannot tell items apart; two that differ do.
    if (record.hasBirthTime && identity->hasBirthTime) {
        return identity->birthSeconds == record.birthSeconds && identity->birthNanoseconds == record.birthNanoseconds;
    }
    return true;
}

struct DirCloser {
    void operator()(DIR *dir) const { (void)closedir(dir); }
};

// The name in `folder` of the entry that is the recorded item, or nothing.
std::optional<std::string> findInFolder(const std::string &folder, const AliasRecord &record)
{
    const std::unique_ptr<DIR, DirCloser> dir(opendir(folder.c_str()));
    if (!dir) return std::nullopt;
    const int fd = dirfd(dir.get());
    while (const dirent *entry = readdir(dir.get())) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
        if (static_cast<uint64_t>(entry->d_ino) != record.inode) continue;
        if (sameItem(identify(fd, entry->d_name), record)) {
            return std::string(entry->d_name);
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<AliasRecord> makeRecord(const std::string &path)
{
    if (path.empty() || path.find('\0') != std::string::npos) return std::nullopt;
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    if (!real) return std::nullopt;
    AliasRecord record;
    record.path = real.get();
    const std::optional<Identity> identity = identify(AT_FDCWD, record.path.c_str());
    if (!identity) return std::nullopt;
    record.device = identity->device;
    record.inode = identity->inode;
    record.hasBirthTime = identity->hasBirthTime;
    record.birthSeconds = identity->hasBirthTime ? identity->birthSeconds : 0;
    record.birthNanoseconds = identity->hasBirthTime ? identity->birthNanoseconds : 0;
    record.relative = record.path != "/";
    record.name = lastComponent(record.path);
    if (!isValid(record)) return std::nullopt;
    return record;
}

std::string encode(const AliasRecord &record)
{
    std::string out(kMagic.begin(), kMagic.end());
    put(out, kVersion, 2);
    put(out, (record.relative ? kRelativeFlag : 0) | (record.hasBirthTime ? kBirthTimeFlag : 0), 2);
    put(out, record.device, 8);
    put(out, record.inode, 8);
    put(out, static_cast<uint64_t>(record.birthSeconds), 8);
    put(out, record.birthNanoseconds, 4);
    put(out, record.path.size(), 2);
    put(out, record.name.size(), 2);
    out += record.path;
    out += record.name;
    put(out, checksum(reinterpret_cast<const uint8_t *>(out.data()), out.size()), 4);
    return out;
}

std::optional<AliasRecord> decode(const uint8_t *bytes, size_t size)
{
    if (bytes == nullptr || size < kHeaderSize + kChecksumSize) return std::nullopt;
    if (std::memcmp(bytes, kMagic.data(), kMagic.size()) != 0 || get(bytes + 4, 2) != kVersion) return std::nullopt;
    const uint64_t flags = get(bytes + 6, 2);
    if ((flags & ~static_cast<uint64_t>(kRelativeFlag | kBirthTimeFlag)) != 0) return std::nullopt;
    const size_t pathLength = get(bytes + 36, 2);
    const size_t nameLength = get(bytes + 38, 2);
    if (pathLength == 0 || pathLength > kMaxPathLength || nameLength > kMaxNameLength) return std::nullopt;
    if (size != kHeaderSize + pathLength + nameLength + kChecksumSize) return std::nullopt;
    const size_t body = size - kChecksumSize;
    if (get(bytes + body, 4) != checksum(bytes, body)) return std::nullopt;

    AliasRecord record;
    record.relative = (flags & kRelativeFlag) != 0;
    record.device = get(bytes + 8, 8);
    record.inode = get(bytes + 16, 8);
    record.hasBirthTime = (flags & kBirthTimeFlag) != 0;
    record.birthSeconds = static_cast<int64_t>(get(bytes + 24, 8));
    record.birthNanoseconds = static_cast<uint32_t>(get(bytes + 32, 4));
    record.path.assign(reinterpret_cast<const char *>(bytes + kHeaderSize), pathLength);
    record.name.assign(reinterpret_cast<const char *>(bytes + kHeaderSize + pathLength), nameLength);
    if (!isValid(record)) return std::nullopt;
    return record;
}

std::optional<std::string> resolve(const AliasRecord &record)
{
    if (!isValid(record)) return std::nullopt;
    if (sameItem(identify(AT_FDCWD, record.path.c_str()), record)) return record.path;
    if (!record.relative) return std::nullopt;
    // Gone or replaced: the item may have been renamed within its folder.
    const std::string folder = folderOf(record.path);
    const std::optional<std::string> name = findInFolder(folder, record);
    if (!name) return std::nullopt;
    return folder == "/" ? "/" + *name : folder + "/" + *name;
}

} // namespace rk::alias
