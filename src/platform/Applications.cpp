#include "Applications_p.h"

#include "MountTable_p.h"
#include "RegularFile_p.h"

#include <rkcore/PropertyList.h>

#include <QFile>

#include <array>
#include <cerrno>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace rk::platform {

namespace {

constexpr std::size_t kInfoPlistLimit = std::size_t{1024} * 1024;

// Folder extensions the Finder shows as packages (without the dot).
constexpr std::array kBundleExtensions = {
    "app",   "bundle",      "framework",  "plugin", "kext", "pkg",   "mpkg",   "rtfd",   "component", "prefPane",
    "saver", "qlgenerator", "mdimporter", "wdgt",   "xpc",  "appex", "docset", "action", "workflow",  "service",
};

const char *lastComponent(const char *path)
{
    const char *slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

// The extension of the last component (after its last dot; a leading dot
// does not start one), or nullptr.
const char *extensionOf(const char *path)
{
    const char *name = lastComponent(path);
    const char *dot = std::strrchr(name, '.');
    return dot == nullptr || dot == name ? nullptr : dot + 1;
}

bool hasAppExtension(const char *path)
{
    const char *extension = extensionOf(path);
    return extension != nullptr && ::strcasecmp(extension, "app") == 0;
}

// `folder` + "/" + `name` into `buffer`; false when it does not fit.
template <std::size_t N> bool joinPath(std::array<char, N> &buffer, const QByteArray &folder, const char *name)
{
    const std::size_t folderLength = static_cast<std::size_t>(folder.size());
    const std::size_t nameLength = std::strlen(name);
    if (folderLength + 1 + nameLength + 1 > N) return false;
    std::memcpy(buffer.data(), folder.constData(), folderLength);
    buffer[folderLength] = '/';
    std::memcpy(buffer.data() + folderLength + 1, name, nameLength + 1);
    return true;
}

bool isPlainFileName(const QString &name)
{
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) && name != QLatin1String(".") &&
           name != QLatin1String("..") && !name.contains(QChar(0));
}

QByteArray firstExecutable(const QByteArray &folder, std::initializer_list<QByteArray> relatives)
{
    for (const QByteArray &relative : relatives) {
        QByteArray candidate = folder + '/' + relative;
        if (isExecutableRegularFile(candidate.constData())) return candidate;
    }
    return {};
}

QByteArray bundleExecutable(const QByteArray &folder)
{
    QByteArray stem = QByteArray(lastComponent(folder.constData()));
    stem.chop(4); // ".app"
    QByteArray named;
    if (const auto info = bundleInfoDictionary(folder)) {
        const QVariant executable = info->value(QStringLiteral("CFBundleExecutable"));
        if (executable.typeId() == QMetaType::QString && isPlainFileName(executable.toString()))
            named = "Contents/MacOS/" + QFile::encodeName(executable.toString());
    }
    if (!named.isEmpty()) {
        QByteArray found = firstExecutable(folder, {named});
        if (!found.isEmpty()) return found;
    }
    if (stem.isEmpty()) return {};
    return firstExecutable(folder, {"Contents/MacOS/" + stem, stem});
}

// --- ELF -------------------------------------------------------------------

bool readExactly(int fd, void *buffer, std::size_t length, off_t offset)
{
    std::size_t done = 0;
    while (done < length) {
        const ssize_t n =
            ::pread(fd, static_cast<char *>(buffer) + done, length - done, offset + static_cast<off_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

// ELF fields in either class and byte order, read from raw bytes.
struct ElfReader {
    bool is64 = false;
    bool bigEndian = false;

    uint64_t read(const unsigned char *p, int size) const
    {
        uint64_t value = 0;
        for (int i = 0; i < size; ++i) {
            const int index = bigEndian ? i : size - 1 - i;
            value = (value << 8) | p[index];
        }
        return value;
    }
    uint64_t word(const unsigned char *p) const { return read(p, is64 ? 8 : 4); }
};

constexpr uint32_t kMaxProgramHeaders = 512;
constexpr uint64_t kMaxDynamicBytes = uint64_t{64} * 1024;

struct ProgramFacts {
    bool hasInterpreter = false;
    bool pieFlag = false; // DT_FLAGS_1 carries DF_1_PIE
    bool hasSoname = false;
};

void scanDynamic(int fd, const ElfReader &elf, uint64_t offset, uint64_t size, ProgramFacts &facts)
{
    const uint64_t entrySize = elf.is64 ? 16 : 8;
    size = std::min(size, kMaxDynamicBytes);
    std::array<unsigned char, 16> entry{};
    for (uint64_t at = 0; at + entrySize <= size; at += entrySize) {
        if (!readExactly(fd, entry.data(), entrySize, static_cast<off_t>(offset + at))) return;
        const uint64_t tag = elf.word(entry.data());
        const uint64_t value = elf.word(entry.data() + entrySize / 2);
        if (tag == DT_NULL) return;
        if (tag == DT_FLAGS_1 && (value & DF_1_PIE) != 0) facts.pieFlag = true;
        if (tag == DT_SONAME) facts.hasSoname = true;
    }
}

ProgramFacts scanProgramHeaders(int fd, const ElfReader &elf, const unsigned char *header)
{
    ProgramFacts facts;
    const uint64_t tableOffset = elf.word(header + (elf.is64 ? 32 : 28));
    const auto entrySize = static_cast<uint32_t>(elf.read(header + (elf.is64 ? 54 : 42), 2));
    const auto count = static_cast<uint32_t>(elf.read(header + (elf.is64 ? 56 : 44), 2));
    const uint32_t minimum = elf.is64 ? 56 : 32;
    if (entrySize < minimum || entrySize > 256 || count > kMaxProgramHeaders || tableOffset > (uint64_t{1} << 40))
        return facts;
    std::array<unsigned char, 256> entry{};
    for (uint32_t i = 0; i < count; ++i) {
        if (!readExactly(fd, entry.data(), entrySize, static_cast<off_t>(tableOffset + uint64_t{i} * entrySize)))
            return facts;
        const auto type = static_cast<uint32_t>(elf.read(entry.data(), 4));
        const uint64_t offset = elf.word(entry.data() + (elf.is64 ? 8 : 4));
        const uint64_t fileSize = elf.word(entry.data() + (elf.is64 ? 32 : 16));
        if (type == PT_INTERP) facts.hasInterpreter = true;
        if (type == PT_DYNAMIC && offset < (uint64_t{1} << 40)) scanDynamic(fd, elf, offset, fileSize, facts);
    }
    return facts;
}

bool isExecutableElf(int fd)
{
    std::array<unsigned char, EI_NIDENT + 48> header{}; // the 64-bit header is 64 bytes
    if (!readExactly(fd, header.data(), 52, 0)) return false;
    if (std::memcmp(header.data(), ELFMAG, SELFMAG) != 0) return false;
    // An AppImage marks itself with "AI" and its type at offset 8.
    if (header[8] == 'A' && header[9] == 'I' && (header[10] == 1 || header[10] == 2)) return true;
    ElfReader elf;
    if (header[EI_CLASS] != ELFCLASS32 && header[EI_CLASS] != ELFCLASS64) return false;
    if (header[EI_DATA] != ELFDATA2LSB && header[EI_DATA] != ELFDATA2MSB) return false;
    elf.is64 = header[EI_CLASS] == ELFCLASS64;
    elf.bigEndian = header[EI_DATA] == ELFDATA2MSB;
    if (elf.is64 && !readExactly(fd, header.data() + 52, 12, 52)) return false;
    const auto type = static_cast<uint16_t>(elf.read(header.data() + 16, 2));
    if (type == ET_EXEC) return true;
    if (type != ET_DYN) return false;
    // A position-independent program says so in DT_FLAGS_1; older linkers
    // left only the interpreter, and a library with an interpreter (libc)
    // names itself with a soname.
    const ProgramFacts facts = scanProgramHeaders(fd, elf, header.data());
    return facts.pieFlag || (facts.hasInterpreter && !facts.hasSoname);
}

} // namespace

bool hasBundleExtension(const char *name)
{
    if (name == nullptr) return false;
    const char *extension = extensionOf(name);
    if (extension == nullptr) return false;
    for (const char *known : kBundleExtensions) {
        if (::strcasecmp(extension, known) == 0) return true;
    }
    return false;
}

QByteArray applicationExecutable(const QByteArray &folder)
{
    if (folder.isEmpty() || folder.contains('\0')) return {};
    if (hasAppExtension(folder.constData())) return bundleExecutable(folder);
    return firstExecutable(folder, {QByteArrayLiteral("AppRun")});
}

std::optional<QVariantMap> bundleInfoDictionary(const QByteArray &folder)
{
    if (folder.isEmpty() || folder.contains('\0')) return std::nullopt;
    for (const char *relative : {"/Contents/Info.plist", "/Info.plist"}) {
        const QByteArray path = folder + relative;
        const auto bytes = readSmallRegularFile(path.constData(), kInfoPlistLimit);
        if (!bytes) continue;
        const auto value = PropertyList::fromData(*bytes);
        if (!value || value->typeId() != QMetaType::QVariantMap) return std::nullopt;
        return value->toMap();
    }
    return std::nullopt;
}

uint32_t folderItemFlags(const QByteArray &folder, const MountTable &mounts)
{
    uint32_t flags = mounts.isMountPoint(folder) ? kItemIsVolume : 0;
    if (folder.isEmpty() || folder.contains('\0')) return flags;
    if (hasAppExtension(folder.constData())) {
        flags |= kItemIsPackage;
        if (!bundleExecutable(folder).isEmpty()) flags |= kItemIsApplication;
        return flags;
    }
    if (hasBundleExtension(folder.constData())) return flags | kItemIsPackage;
    // An AppDir: one access check, and only a hit is looked at more closely.
    std::array<char, PATH_MAX> appRun{};
    if (joinPath(appRun, folder, "AppRun") && ::faccessat(AT_FDCWD, appRun.data(), X_OK, AT_EACCESS) == 0 &&
        isExecutableRegularFile(appRun.data()))
        flags |= kItemIsApplication;
    return flags;
}

bool isExecutableProgram(const char *path)
{
    struct stat before {};
    if (path == nullptr || ::stat(path, &before) != 0 || !S_ISREG(before.st_mode)) return false;
    const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat opened {};
    const bool result = ::fstat(fd, &opened) == 0 && S_ISREG(opened.st_mode) && isExecutableElf(fd);
    ::close(fd);
    return result;
}

bool startsWithPEFSignature(const char *path)
{
    static constexpr std::array<char, 4> kPEFSignature{'J', 'o', 'y', '!'};
    const int fd = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return false;
    std::array<char, 4> signature{};
    struct stat status {};
    const bool read = fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
                      pread(fd, signature.data(), signature.size(), 0) == static_cast<ssize_t>(signature.size());
    close(fd);
    return read && signature == kPEFSignature;
}

} // namespace rk::platform
