// rkcore ls: a folder's items as the framework's objects see them, one row per
// item in an `ls -l`-like table with a kind column; hidden items left out,
// optionally matched against a pattern and sorted. Several paths give one
// section each; --json gives one document for all of them.

#include <rkcore/RBFileSystemObject.h>
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_perms.h>
#include <rkcore/rpf_size.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QFile>
#include <QJsonArray>
#include <QLoggingCategory>
#include <QSet>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "cli.h"
#include "commands.h"
#include "shell_quote.h"

namespace rkcli {

namespace {

// How often a folder whose entries vanish while it is read is read again
// before it is reported as changing.
constexpr int kReadAttempts = 4;
constexpr auto kRetryPause = std::chrono::milliseconds(20);

struct Options {
    bool bytes = false;        // sizes in bytes instead of the size text
    bool raw = false;          // the core's dump instead of the table
    bool all = false;          // hidden items too
    bool reverse = false;      // the sort's order 1
    bool resolveLinks = false; // a link's canonical target instead of what it holds
    bool quote = false;        // names quoted for a terminal
    int32_t sort = -1;         // a sort attribute code, -1 for the folder's order
    QString match;             // only names that match this pattern
};

// One item of the table. Texts are bytes: names need not be UTF-8.
struct Row {
    std::string mode, links, owner, group, size, date, kind;
    QByteArray name, target; // target: for links only
    bool isLink = false;
    int64_t bytes = 0;
};
enum Column { kMode, kLinks, kOwner, kGroup, kSize, kDate, kKind, kColumns };

bool parseSort(const QString &name, int32_t &code)
{
    const std::pair<const char *, int32_t> sorts[] = {{"name", rk::kRBSortByName},
                                                      {"date", rk::kRBSortByDate},
                                                      {"size", rk::kRBSortBySize},
                                                      {"access", rk::kRBSortByAccess}};
    for (const auto &[text, value] : sorts) {
        if (name == QLatin1String(text)) {
            code = value;
            return true;
        }
    }
    usageError(QStringLiteral("--sort takes name, date, size or access, not '%1'").arg(name));
    return false;
}

// The kind column: the object's kind; a link whose target is missing is a
// dangling link, anything else the objects do not name is "other".
std::string kindText(const rk::RBFileSystemObject &object)
{
    switch (object.fsoKind()) {
    case rk::kRBKindFolder: return "folder";
    case rk::kRBKindFile: return "file";
    case rk::kRBKindSymbolicLink: return "link";
    case rk::kRBKindAlias: return "alias";
    case rk::kRBKindApplication: return "application";
    case rk::kRBKindPackage: return "package";
    case rk::kRBKindVolume: return "volume";
    default: return rpf_fso_isLink(object.cstruct()) != 0 ? "dangling" : "other";
    }
}

// The text a key answers (keys answer texts as pointer-width integers).
const char *keyText(const rpf_fso *record, int32_t key)
{
    return reinterpret_cast<const char *>(rpf_fso_get_item_for_key(record, key)); // NOLINT(performance-no-int-to-ptr)
}

// Takes a new text from the core.
std::string coreText(char *value)
{
    const CoreText text(value);
    return text ? std::string(text.get()) : std::string();
}

std::string orEmpty(const char *text)
{
    return text == nullptr ? std::string() : std::string(text);
}

// The mode word the record stands for: type and the nine rights bits, read
// from the permission number digit by digit (the number is decimal-looking:
// 7 means ------rwx, not rwx------).
mode_t modeFromRecord(const rpf_fso *record)
{
    const unsigned digits = record->perms;
    const mode_t rights = ((digits / 100U) % 10U) << 6U | ((digits / 10U) % 10U) << 3U | (digits % 10U);
    switch (record->type) {
    case RPF_FSO_TYPE_DIRECTORY: return S_IFDIR | rights;
    case RPF_FSO_TYPE_FILE: return S_IFREG | rights;
    case RPF_FSO_TYPE_LINK: return S_IFLNK | rights;
    default: return rights; // unknown type: shown as "?"
    }
}

// The listing permission text. The record keeps neither the kind of a special
// file nor setuid, setgid and sticky, so the mode comes from the status read
// again; an item that has gone since is shown from the record. A "+" marks an
// access control list, as `ls -l` marks it.
std::string modeText(const rpf_fso *record, const struct stat *data)
{
    const mode_t mode = data != nullptr ? data->st_mode : modeFromRecord(record);
    std::string text = coreText(rpf_permissions_mode_to_listing_string(mode));
    if (data != nullptr && !S_ISLNK(mode)) {
        const char *path = record->complete_path;
        const bool acl = getxattr(path, "system.posix_acl_access", nullptr, 0) > 0 ||
                         (S_ISDIR(mode) && getxattr(path, "system.posix_acl_default", nullptr, 0) > 0);
        if (acl) text += '+';
    }
    return text;
}

// A link's target: what the link holds, as `ls -l` shows it, or with
// --resolve-links the canonical target the record keeps (what the link holds
// when the target could not be examined).
QByteArray linkTarget(const rpf_fso *record, bool resolve)
{
    if (resolve && record->alias_location != nullptr) return QByteArray(record->alias_location);
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length =
        record->complete_path == nullptr ? -1 : readlink(record->complete_path, buffer.data(), buffer.size());
    if (length < 0) return record->alias_location != nullptr ? QByteArray(record->alias_location) : QByteArray("?");
    return QByteArray(buffer.data(), length);
}

// The size text of a true 64-bit size: the record keeps only the low 32 bits,
// so a size beyond them is formatted from the size the status gives.
std::string sizeText(int64_t bytes)
{
    std::string text = bytes <= std::numeric_limits<int32_t>::max()
                           ? coreText(rpf_utility_format_size(static_cast<int32_t>(bytes)))
                           : coreText(format_size(static_cast<uint32_t>(static_cast<uint64_t>(bytes) & 0xffffffffU),
                                                  static_cast<uint32_t>(static_cast<uint64_t>(bytes) >> 32U)));
    while (!text.empty() && text.back() == ' ')
        text.pop_back(); // "512 " keeps a blank after short counts; the column is right-aligned
    return text;
}

Row rowOf(const rk::RBFileSystemObject &object, const QByteArray &name, const Options &options, bool followLinks)
{
    const rpf_fso *record = object.cstruct();
    struct stat data {};
    const char *path = record->complete_path;
    const bool known = path != nullptr && (followLinks ? stat(path, &data) : lstat(path, &data)) == 0;
    Row row;
    row.mode = modeText(record, known ? &data : nullptr);
    row.links = std::to_string(known ? static_cast<int64_t>(data.st_nlink)
                                     : static_cast<int64_t>(rpf_fso_get_item_for_key(record, RPF_FSO_KEY_LINKS)));
    row.owner = orEmpty(keyText(record, RPF_FSO_KEY_OWNER));
    row.group = orEmpty(keyText(record, RPF_FSO_KEY_GROUP));
    // The record's size is the low 32 bits; the status has the true size.
    row.bytes = known ? static_cast<int64_t>(data.st_size) : static_cast<int64_t>(record->size);
    row.size = options.bytes ? std::to_string(row.bytes) : sizeText(row.bytes);
    row.date = orEmpty(keyText(record, RPF_FSO_KEY_DATE));
    row.kind = kindText(object);
    row.name = name;
    row.isLink = record->type == RPF_FSO_TYPE_LINK;
    if (row.isLink) row.target = linkTarget(record, options.resolveLinks);
    return row;
}

QByteArray shownName(const QByteArray &name, const Options &options)
{
    return options.quote ? shellQuoted(name) : name;
}

void printRows(const std::vector<Row> &rows, const Options &options)
{
    std::array<size_t, kColumns> widths{};
    for (const Row &row : rows) {
        const std::array<const std::string *, kColumns> cells{&row.mode, &row.links, &row.owner, &row.group,
                                                              &row.size, &row.date,  &row.kind};
        for (size_t i = 0; i < kColumns; ++i)
            widths[i] = std::max(widths[i], cells[i]->size());
    }
    auto left = [](const std::string &text, size_t width) { return text + std::string(width - text.size(), ' '); };
    auto right = [](const std::string &text, size_t width) { return std::string(width - text.size(), ' ') + text; };
    // As ls does on a terminal: when some names are quoted, the others get a
    // blank in front so that the names line up.
    const auto quoted = [](const QByteArray &shown) { return shown.startsWith('\'') || shown.startsWith('"'); };
    const bool anyQuoted = options.quote && std::any_of(rows.begin(), rows.end(), [&](const Row &row) {
                               return quoted(shownName(row.name, options));
                           });
    QByteArray out;
    for (const Row &row : rows) {
        const QByteArray name = shownName(row.name, options);
        const std::string cells = left(row.mode, widths[kMode]) + ' ' + right(row.links, widths[kLinks]) + ' ' +
                                  left(row.owner, widths[kOwner]) + ' ' + left(row.group, widths[kGroup]) + ' ' +
                                  right(row.size, widths[kSize]) + ' ' + left(row.date, widths[kDate]) + ' ' +
                                  left(row.kind, widths[kKind]) + ' ';
        out += QByteArray::fromStdString(cells) + (anyQuoted && !quoted(name) ? " " + name : name);
        if (row.isLink) out += " -> " + shownName(row.target, options);
        out += '\n';
    }
    printBytes(out);
}

QJsonObject jsonOf(const Row &row)
{
    QJsonObject entry{{QStringLiteral("name"), QFile::decodeName(row.name)},
                      {QStringLiteral("permissions"), QString::fromStdString(row.mode)},
                      {QStringLiteral("links"), QString::fromStdString(row.links).toLongLong()},
                      {QStringLiteral("owner"), QString::fromStdString(row.owner)},
                      {QStringLiteral("group"), QString::fromStdString(row.group)},
                      {QStringLiteral("size"), static_cast<qint64>(row.bytes)},
                      {QStringLiteral("sizeText"), QString::fromStdString(sizeText(row.bytes))},
                      {QStringLiteral("date"), QString::fromStdString(row.date)},
                      {QStringLiteral("kind"), QString::fromStdString(row.kind)}};
    // A name that is not UTF-8 also goes as its bytes, so nothing is lost.
    if (QString::fromUtf8(row.name).toUtf8() != row.name)
        entry.insert(QStringLiteral("nameBytesHex"), QString::fromLatin1(row.name.toHex()));
    if (row.isLink) entry.insert(QStringLiteral("target"), QFile::decodeName(row.target));
    return entry;
}

// Why a folder the core read without children could not be listed, or an
// empty text when it is simply empty.
std::string unreadableReason(const QByteArray &path)
{
    DIR *dir = opendir(path.constData());
    if (dir == nullptr) return std::strerror(errno);
    closedir(dir);
    return {};
}

// The names a folder holds now (none when it cannot be opened).
QSet<QByteArray> namesIn(const QByteArray &path)
{
    QSet<QByteArray> names;
    DIR *dir = opendir(path.constData());
    if (dir == nullptr) return names;
    while (const dirent *entry = readdir(dir))
        names.insert(QByteArray(entry->d_name));
    closedir(dir);
    return names;
}

// A name the folder lists whose entry is gone before it can be examined, as
// the core's read met one; empty when none goes during this scan.
QByteArray vanishingEntry(const QByteArray &path)
{
    DIR *dir = opendir(path.constData());
    if (dir == nullptr) return {};
    QByteArray vanished;
    while (const dirent *entry = readdir(dir)) {
        struct stat data {};
        if (fstatat(dirfd(dir), entry->d_name, &data, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT) {
            vanished = entry->d_name;
            break;
        }
    }
    closedir(dir);
    return vanished;
}

// Leaves out what a browser hides by default (dot names, the system names,
// items marked invisible or listed in the folder's .hidden) unless `all`, and
// names that do not match `pattern` when one is given.
void filterChildren(rk::RBFileSystemObject &folder, const Options &options)
{
    folder.invalidateFilteredItems();
    for (const auto &child : folder.actualContents()) {
        const QString name = child->name();
        const bool hidden = !options.all && (rk::isHidden(name) || child->isInvisible());
        const bool unmatched = !options.match.isNull() && !rk::matchesRegex(name, options.match);
        if (hidden || unmatched) folder.hideItem(child.get());
    }
    folder.setIsFiltered(true);
}

// A path argument as the file system's bytes: a file:// URL (file:///p or
// file://localhost/p) percent-decoded, anything else unchanged. Empty for a
// URL of another host.
QByteArray localPath(const QByteArray &argument)
{
    if (!argument.startsWith("file:")) return argument;
    QByteArray rest = argument.mid(5);
    if (rest.startsWith("//")) {
        rest = rest.mid(2);
        if (rest.startsWith("localhost/")) rest = rest.mid(9);
        if (!rest.startsWith('/')) return {};
    }
    if (!rest.startsWith('/')) return argument; // "file:name" is a relative name
    return QByteArray::fromPercentEncoding(rest);
}

// The outcome of reading one path.
struct Reading {
    std::shared_ptr<rk::RBFileSystemObject> object;
    int error = 0;
    bool changing = false; // entries kept vanishing while the folder was read
    QByteArray vanished;   // one of them, when known
};

// Reads a path into objects. The core fails a folder's whole read when an
// entry it has just seen is gone before it is examined; such a folder is read
// again a few times, and then reported as changing, naming an entry that went.
Reading readPath(const QByteArray &path)
{
    Reading reading;
    for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
        const QSet<QByteArray> before = namesIn(path);
        errno = 0;
        reading.object = rk::RBFileSystemObject::newFSOForLocalPathBytes(path, true);
        if (reading.object) return reading;
        reading.error = errno;
        struct stat data {};
        const bool folderThere = stat(path.constData(), &data) == 0 && S_ISDIR(data.st_mode);
        if (!folderThere || reading.error != ENOENT) return reading;
        reading.changing = true;
        // The entry that went: one listed before the read and not after it,
        // else one that goes while the folder is scanned again.
        const QSet<QByteArray> after = namesIn(path);
        for (const QByteArray &name : before) {
            if (!after.contains(name)) {
                reading.vanished = name;
                break;
            }
        }
        if (reading.vanished.isEmpty()) reading.vanished = vanishingEntry(path);
        std::this_thread::sleep_for(kRetryPause);
    }
    return reading;
}

// The rows of one path, or the status of a failure (already reported).
int rowsOfPath(const QByteArray &argument, const Options &options, std::vector<Row> &rows,
               std::shared_ptr<rk::RBFileSystemObject> &object)
{
    const QString shown = QFile::decodeName(argument);
    if (argument.isEmpty())
        return failure(QStringLiteral("cannot read '': %1").arg(QString::fromLocal8Bit(std::strerror(ENOENT))));
    const QByteArray path = localPath(argument);
    if (path.isEmpty()) return usageError(QStringLiteral("not a local file URL: '%1'").arg(shown));
    // The core reads nothing inside folders under the "/dev" prefix.
    if (path.startsWith("/dev")) {
        struct stat data {};
        if (stat(path.constData(), &data) == 0 && S_ISDIR(data.st_mode)) {
            failure(QStringLiteral("note: %1 lies under /dev, whose folders the framework does not read: no items "
                                   "are shown")
                        .arg(shown));
        }
    }
    const Reading reading = readPath(path);
    object = reading.object;
    if (!object) {
        if (reading.changing) {
            return failure(QStringLiteral("%1 changed while being read (%2 vanished)")
                               .arg(shown, reading.vanished.isEmpty() ? QStringLiteral("an entry")
                                                                      : QFile::decodeName(reading.vanished)));
        }
        return failure(
            QStringLiteral("cannot read %1: %2").arg(shown, QString::fromLocal8Bit(std::strerror(reading.error))));
    }
    const rpf_fso *record = object->cstruct();
    if (record->type != RPF_FSO_TYPE_DIRECTORY) {
        rows.push_back(rowOf(*object, QByteArray(record->complete_path), options, true));
        return 0;
    }
    if (object->actualContents().isEmpty()) {
        const std::string reason = unreadableReason(path);
        if (!reason.empty())
            return failure(QStringLiteral("cannot read %1: %2").arg(shown, QString::fromLocal8Bit(reason.c_str())));
    }
    filterChildren(*object, options);
    // Without --sort: files first, then folders, each in the folder's order.
    if (options.sort >= 0) object->setSortsByAttribute(options.sort, options.reverse ? 1 : 0);
    for (int32_t i = 0; i < object->count(); ++i) {
        const auto child = object->objectAtIndex(i);
        rows.push_back(rowOf(*child, QByteArray(child->cstruct()->name), options, false));
    }
    return 0;
}

bool parseOptions(const Arguments &arguments, Options &options)
{
    options.bytes = arguments.has("--bytes");
    options.raw = arguments.has("--raw");
    options.all = arguments.has("--all");
    options.reverse = arguments.has("--reverse");
    options.resolveLinks = arguments.has("--resolve-links");
    options.match = arguments.value("--match");
    options.quote = !jsonMode() && isatty(STDOUT_FILENO) != 0;
    if (options.raw && jsonMode()) {
        usageError(QStringLiteral("--raw and --json do not go together"));
        return false;
    }
    return !arguments.has("--sort") || parseSort(arguments.value("--sort"), options.sort);
}

} // namespace

int lsCommand(const Arguments &arguments)
{
    Options options;
    if (!parseOptions(arguments, options)) return kExitUsage;
    QList<QByteArray> paths = arguments.positionalBytes();
    if (paths.isEmpty()) paths << QByteArrayLiteral(".");
    // The core's own lines are diagnostics, not part of the table; the object
    // layer's log lines (a dangling link has no catalogue entry) are noise here.
    rpf_diagnostics_set_stream(stderr);
    QLoggingCategory::setFilterRules(QStringLiteral("rkcore.info=false"));
    int status = 0;
    bool first = true;
    QJsonArray sections;
    for (const QByteArray &argument : paths) {
        std::vector<Row> rows;
        std::shared_ptr<rk::RBFileSystemObject> object;
        const int outcome = rowsOfPath(argument, options, rows, object);
        if (outcome != 0) {
            status = std::max(status, outcome);
            continue;
        }
        if (jsonMode()) {
            QJsonArray entries;
            for (const Row &row : rows)
                entries.append(jsonOf(row));
            sections.append(QJsonObject{{QStringLiteral("path"), QFile::decodeName(argument)},
                                        {QStringLiteral("entries"), entries}});
            continue;
        }
        if (paths.size() > 1)
            printBytes((first ? QByteArray() : QByteArray("\n")) + shownName(argument, options) + ":\n");
        first = false;
        if (options.raw) {
            (void)std::fflush(stderr);
            (void)std::fflush(stdout);
            rpf_diagnostics_set_stream(stdout);
            rpf_fso_dump(object->cstruct());
            rpf_diagnostics_set_stream(stderr);
            continue;
        }
        printRows(rows, options);
    }
    if (jsonMode()) jsonDocument().insert(QStringLiteral("paths"), sections);
    return status;
}

} // namespace rkcli
