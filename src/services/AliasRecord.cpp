#include "AliasRecord_p.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace rk::alias {

namespace {

constexpr std::array<uint8_t, 4> kMagic{'R', 'K', 'A', 'l'};
constexpr size_t kHeaderSize = 28;
constexpr size_t kChecksumSize = 4;
constexpr uint16_t kRelativeFlag = 0x0001;

uint32_t crc32(const uint8_t *bytes, size_t size)
{
    uint32_t crc = 0xFFFFFFFFU;
    for (size_t i = 0; i < size; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320U & (0U - (crc & 1U)));
    }
    return ~crc;
}

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
    return record.name == lastComponent(record.path);
}

bool sameItem(const struct stat &status, const AliasRecord &record)
{
    return static_cast<uint64_t>(status.st_dev) == record.device &&
           static_cast<uint64_t>(status.st_ino) == record.inode;
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
        struct stat status {};
        if (fstatat(fd, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && sameItem(status, record)) {
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
    struct stat status {};
    if (lstat(record.path.c_str(), &status) != 0) return std::nullopt;
    record.device = static_cast<uint64_t>(status.st_dev);
    record.inode = static_cast<uint64_t>(status.st_ino);
    record.relative = record.path != "/";
    record.name = lastComponent(record.path);
    if (!isValid(record)) return std::nullopt;
    return record;
}

std::string encode(const AliasRecord &record)
{
    std::string out(kMagic.begin(), kMagic.end());
    put(out, kVersion, 2);
    put(out, record.relative ? kRelativeFlag : 0, 2);
    put(out, record.device, 8);
    put(out, record.inode, 8);
    put(out, record.path.size(), 2);
    put(out, record.name.size(), 2);
    out += record.path;
    out += record.name;
    put(out, crc32(reinterpret_cast<const uint8_t *>(out.data()), out.size()), 4);
    return out;
}

std::optional<AliasRecord> decode(const uint8_t *bytes, size_t size)
{
    if (bytes == nullptr || size < kHeaderSize + kChecksumSize) return std::nullopt;
    if (std::memcmp(bytes, kMagic.data(), kMagic.size()) != 0 || get(bytes + 4, 2) != kVersion) return std::nullopt;
    const uint64_t flags = get(bytes + 6, 2);
    if ((flags & ~static_cast<uint64_t>(kRelativeFlag)) != 0) return std::nullopt;
    const size_t pathLength = get(bytes + 24, 2);
    const size_t nameLength = get(bytes + 26, 2);
    if (pathLength == 0 || pathLength > kMaxPathLength || nameLength > kMaxNameLength) return std::nullopt;
    if (size != kHeaderSize + pathLength + nameLength + kChecksumSize) return std::nullopt;
    const size_t body = size - kChecksumSize;
    if (get(bytes + body, 4) != crc32(bytes, body)) return std::nullopt;

    AliasRecord record;
    record.relative = (flags & kRelativeFlag) != 0;
    record.device = get(bytes + 8, 8);
    record.inode = get(bytes + 16, 8);
    record.path.assign(reinterpret_cast<const char *>(bytes + kHeaderSize), pathLength);
    record.name.assign(reinterpret_cast<const char *>(bytes + kHeaderSize + pathLength), nameLength);
    if (!isValid(record)) return std::nullopt;
    return record;
}

std::optional<std::string> resolve(const AliasRecord &record)
{
    if (!isValid(record)) return std::nullopt;
    struct stat status {};
    if (lstat(record.path.c_str(), &status) == 0 && sameItem(status, record)) return record.path;
    if (!record.relative) return std::nullopt;
    // Gone or replaced: the item may have been renamed within its folder.
    const std::string folder = folderOf(record.path);
    const std::optional<std::string> name = findInFolder(folder, record);
    if (!name) return std::nullopt;
    return folder == "/" ? "/" + *name : folder + "/" + *name;
}

} // namespace rk::alias
