#include "MountTable_p.h"

#include <QDir>
#include <QFile>

#include <array>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace rk::platform {

namespace {

constexpr std::size_t kMountInfoLimit = std::size_t{16} * 1024 * 1024;

bool isOctal(char c)
{
    return c >= '0' && c <= '7';
}

// The field [begin, end) with \ooo escapes decoded; nothing when it holds a NUL byte, raw or escaped.
std::optional<QByteArray> decodeField(const char *begin, const char *end)
{
    QByteArray out;
    out.reserve(end - begin);
    for (const char *p = begin; p < end; ++p) {
        if (*p == '\\' && end - p >= 4 && isOctal(p[1]) && isOctal(p[2]) && isOctal(p[3])) {
            const int value = ((p[1] - '0') << 6) | ((p[2] - '0') << 3) | (p[3] - '0');
            if (value == 0 || value > 0xFF) return std::nullopt;
            out.append(static_cast<char>(value));
            p += 3;
        } else if (*p == '\0') {
            return std::nullopt; // no path holds one
        } else {
            out.append(*p);
        }
    }
    return out;
}

// udev writes unsafe bytes of a label as \xNN.
QString decodeLabel(const char *name)
{
    QByteArray out;
    const std::size_t length = std::strlen(name);
    for (std::size_t i = 0; i < length; ++i) {
        if (name[i] == '\\' && i + 3 < length && name[i + 1] == 'x' &&
            std::isxdigit(static_cast<unsigned char>(name[i + 2])) &&
            std::isxdigit(static_cast<unsigned char>(name[i + 3]))) {
            const char hex[3] = {name[i + 2], name[i + 3], 0};
            out.append(static_cast<char>(std::strtol(hex, nullptr, 16)));
            i += 3;
        } else {
            out.append(name[i]);
        }
    }
    return QString::fromUtf8(out);
}

// The label /dev/disk/by-label gives the device `source`, or a null string.
QString labelOfDevice(const QByteArray &source)
{
    if (!source.startsWith('/')) return {};
    std::array<char, PATH_MAX> device{};
    if (::realpath(source.constData(), device.data()) == nullptr) return {};
    const QDir labels(QStringLiteral("/dev/disk/by-label"));
    const QStringList names = labels.entryList(QDir::System | QDir::Files | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        const QByteArray link = QFile::encodeName(labels.filePath(name));
        std::array<char, PATH_MAX> target{};
        if (::realpath(link.constData(), target.data()) != nullptr && std::strcmp(target.data(), device.data()) == 0)
            return decodeLabel(QFile::encodeName(name).constData());
    }
    return {};
}

} // namespace

std::optional<MountInfoLine> parseMountInfoLine(const char *line, std::size_t length)
{
    if (line == nullptr) return std::nullopt;
    const char *const end = line + length;
    // Fields separated by single spaces: id, parent, major:minor, root,
    // mount point, options, optional fields..., "-", type, source, options.
    std::array<std::pair<const char *, const char *>, 3> after{}; // type, source, super options
    std::pair<const char *, const char *> mountPoint{nullptr, nullptr};
    int index = 0;
    int afterSeparator = -1;
    const char *p = line;
    while (p <= end) {
        const char *fieldEnd = static_cast<const char *>(std::memchr(p, ' ', static_cast<std::size_t>(end - p)));
        if (fieldEnd == nullptr) fieldEnd = end;
        if (afterSeparator >= 0) {
            if (afterSeparator < 3) after[static_cast<std::size_t>(afterSeparator)] = {p, fieldEnd};
            ++afterSeparator;
        } else if (index == 4) {
            mountPoint = {p, fieldEnd};
        } else if (index >= 6 && fieldEnd - p == 1 && *p == '-') {
            afterSeparator = 0;
        }
        ++index;
        if (fieldEnd == end) break;
        p = fieldEnd + 1;
    }
    if (mountPoint.first == nullptr || afterSeparator < 2) return std::nullopt;
    auto point = decodeField(mountPoint.first, mountPoint.second);
    auto type = decodeField(after[0].first, after[0].second);
    auto source = decodeField(after[1].first, after[1].second);
    if (!point || !type || !source || !point->startsWith('/') || type->isEmpty()) return std::nullopt;
    return MountInfoLine{std::move(*point), std::move(*type), std::move(*source)};
}

MountTable MountTable::fromMountInfo(const QByteArray &text)
{
    MountTable table;
    const char *p = text.constData();
    const char *const end = p + text.size();
    while (p < end) {
        const char *lineEnd = static_cast<const char *>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
        if (lineEnd == nullptr) lineEnd = end;
        if (auto line = parseMountInfoLine(p, static_cast<std::size_t>(lineEnd - p)))
            table.mounts_.insert(line->mountPoint, Mount{std::move(line->source), std::move(line->fsType)});
        p = lineEnd + 1;
    }
    if (!table.mounts_.contains(QByteArrayLiteral("/"))) table.mounts_.insert(QByteArrayLiteral("/"), Mount{});
    return table;
}

MountTable MountTable::snapshot()
{
    // A procfs file reports size 0: read it as a stream, bounded.
    QFile file(QStringLiteral("/proc/self/mountinfo"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) return fromMountInfo({});
    return fromMountInfo(file.read(kMountInfoLimit));
}

bool MountTable::isMountPoint(const QByteArray &path) const
{
    return mounts_.contains(path);
}

QByteArray MountTable::mountPointContaining(const QByteArray &path) const
{
    if (!path.startsWith('/')) return QByteArrayLiteral("/");
    qsizetype length = path.size();
    while (length > 1) {
        // A view of the prefix, no copy, for the lookup.
        const QByteArray prefix = QByteArray::fromRawData(path.constData(), length);
        if (mounts_.contains(prefix)) return path.left(length);
        const qsizetype slash = prefix.lastIndexOf('/');
        length = slash > 0 ? slash : 1;
    }
    return QByteArrayLiteral("/");
}

QByteArray MountTable::fileSystemType(const QByteArray &mountPoint) const
{
    const auto found = mounts_.constFind(mountPoint);
    return found == mounts_.cend() ? QByteArray() : found->fsType;
}

QString MountTable::volumeName(const QByteArray &mountPoint) const
{
    const auto found = mounts_.constFind(mountPoint);
    if (found == mounts_.cend()) return {};
    QString label = labelOfDevice(found->source);
    if (!label.isEmpty()) return label;
    if (mountPoint == "/") return QStringLiteral("/");
    return QFile::decodeName(mountPoint.mid(mountPoint.lastIndexOf('/') + 1));
}

} // namespace rk::platform
