#include "DesktopEntry_p.h"

#include "RegularFile_p.h"

#include <QStringDecoder>

#include <sys/stat.h>

#include <cctype>
#include <cstring>

namespace rk::platform {

namespace {

constexpr std::size_t kEntryLimit = std::size_t{64} * 1024;
constexpr int kMaxAliasSteps = 16;

QByteArrayView trimmed(QByteArrayView text)
{
    while (!text.isEmpty() && (text.front() == ' ' || text.front() == '\t'))
        text = text.sliced(1);
    while (!text.isEmpty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.chop(1);
    return text;
}

// A string value with the escapes \s \n \t \r \\ decoded; other escapes kept.
QString unescaped(QByteArrayView value)
{
    QByteArray out;
    out.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (c != '\\' || i + 1 == value.size()) {
            out.append(c);
            continue;
        }
        switch (value[++i]) {
        case 's': out.append(' '); break;
        case 'n': out.append('\n'); break;
        case 't': out.append('\t'); break;
        case 'r': out.append('\r'); break;
        case '\\': out.append('\\'); break;
        default: out.append('\\'); out.append(value[i]);
        }
    }
    return QString::fromUtf8(out);
}

bool isValidUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringConverter::Flag::Stateless);
    const QString ignored = decoder.decode(bytes);
    return !decoder.hasError();
}

// Decodes %XX escapes; nothing for a malformed escape or a NUL byte.
std::optional<QByteArray> percentDecoded(QByteArrayView text)
{
    QByteArray out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out.append(text[i]);
            continue;
        }
        if (i + 2 >= text.size() || !std::isxdigit(static_cast<unsigned char>(text[i + 1])) ||
            !std::isxdigit(static_cast<unsigned char>(text[i + 2])))
            return std::nullopt;
        const auto hex = [](char h) { return h <= '9' ? h - '0' : (h | 0x20) - 'a' + 10; };
        out.append(static_cast<char>((hex(text[i + 1]) << 4) | hex(text[i + 2])));
        i += 2;
    }
    if (out.contains('\0')) return std::nullopt;
    return out;
}

bool exists(const QByteArray &path)
{
    struct stat status {};
    return ::stat(path.constData(), &status) == 0;
}

// The alias target of the file at `path` when it is an alias entry.
std::optional<QByteArray> aliasTargetOfFile(const QByteArray &path)
{
    if (!looksLikeDesktopEntry(path.constData())) return std::nullopt;
    const auto entry = readDesktopEntry(path.constData());
    if (!entry) return std::nullopt;
    return aliasTargetOf(*entry);
}

} // namespace

std::optional<DesktopEntry> parseDesktopEntry(const QByteArray &bytes)
{
    if (bytes.contains('\0') || !isValidUtf8(bytes)) return std::nullopt;
    DesktopEntry entry;
    bool inGroup = false;
    QByteArrayView rest(bytes);
    while (!rest.isEmpty()) {
        const qsizetype newline = rest.indexOf('\n');
        const QByteArrayView line = trimmed(newline < 0 ? rest : rest.first(newline));
        rest = newline < 0 ? QByteArrayView() : rest.sliced(newline + 1);
        if (line.isEmpty() || line.front() == '#') continue;
        if (line.front() == '[') {
            if (inGroup) break; // the next group ends the entry's keys
            if (line != QByteArrayView("[Desktop Entry]")) return std::nullopt;
            inGroup = true;
            continue;
        }
        if (!inGroup) return std::nullopt; // a key before any group
        const qsizetype equals = line.indexOf('=');
        if (equals <= 0) continue; // tolerated: not a key line
        const QByteArrayView key = trimmed(line.first(equals));
        const QByteArrayView value = trimmed(line.sliced(equals + 1));
        QString *field = nullptr;
        if (key == QByteArrayView("Type"))
            field = &entry.type;
        else if (key == QByteArrayView("URL"))
            field = &entry.url;
        else if (key == QByteArrayView("Exec"))
            field = &entry.exec;
        else if (key == QByteArrayView("Icon"))
            field = &entry.icon;
        else if (key == QByteArrayView("Name"))
            field = &entry.name;
        // The first occurrence of a key counts.
        if (field != nullptr && field->isNull()) *field = unescaped(value);
    }
    if (!inGroup) return std::nullopt;
    return entry;
}

std::optional<DesktopEntry> readDesktopEntry(const char *path)
{
    const auto bytes = readSmallRegularFile(path, kEntryLimit);
    if (!bytes) return std::nullopt;
    return parseDesktopEntry(*bytes);
}

bool looksLikeDesktopEntry(const char *name)
{
    static constexpr char kSuffix[] = ".desktop";
    constexpr std::size_t suffixLength = sizeof kSuffix - 1;
    if (name == nullptr) return false;
    const std::size_t length = std::strlen(name);
    return length >= suffixLength && std::memcmp(name + length - suffixLength, kSuffix, suffixLength) == 0;
}

std::optional<QByteArray> aliasTargetOf(const DesktopEntry &entry)
{
    if (entry.type != QLatin1String("Link")) return std::nullopt;
    const QByteArray url = entry.url.toUtf8();
    if (!url.startsWith("file:")) return std::nullopt;
    QByteArrayView rest = QByteArrayView(url).sliced(5);
    // Query and fragment are not part of a local path.
    for (qsizetype i = 0; i < rest.size(); ++i) {
        if (rest[i] == '?' || rest[i] == '#') {
            rest = rest.first(i);
            break;
        }
    }
    if (rest.startsWith("//")) {
        rest = rest.sliced(2);
        const qsizetype slash = rest.indexOf('/');
        const QByteArrayView host = slash < 0 ? rest : rest.first(slash);
        if (!host.isEmpty() && host.compare(QByteArrayView("localhost"), Qt::CaseInsensitive) != 0) return std::nullopt;
        rest = slash < 0 ? QByteArrayView() : rest.sliced(slash);
    }
    if (!rest.startsWith('/')) return std::nullopt;
    return percentDecoded(rest);
}

AliasResolution resolveAliasFile(const QByteArray &path)
{
    AliasResolution result;
    auto target = aliasTargetOfFile(path);
    if (!target) {
        result.resolved = true;
        result.target = path;
        return result;
    }
    result.wasAlias = true;
    for (int step = 1; step <= kMaxAliasSteps; ++step) {
        if (!exists(*target)) return result;
        auto next = aliasTargetOfFile(*target);
        if (!next) {
            result.resolved = true;
            result.target = std::move(*target);
            return result;
        }
        target = std::move(next);
    }
    return result; // longer than the limit, or a loop
}

} // namespace rk::platform
