// rkcore ls: a folder's items as the framework's objects see them, one row per
// item in an `ls -l`-like table with a kind column; hidden items left out,
// optionally matched against a pattern and sorted.

#include <rkcore/RBFileSystemObject.h>
#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_perms.h>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QFile>
#include <QLoggingCategory>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

struct Options {
    QString path = QStringLiteral(".");
    bool bytes = false;   // sizes in bytes instead of the size text
    bool raw = false;     // the core's dump instead of the table
    bool all = false;     // hidden items too
    bool reverse = false; // the sort's order 1
    int32_t sort = -1;    // a sort attribute code, -1 for the folder's order
    QString match;        // only names that match this pattern
};

// Columns of one row, as bytes (names need not be UTF-8).
struct Row {
    std::string mode, links, owner, group, size, date, kind, name;
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
    usageError(QStringLiteral("ls: --sort takes name, date, size or access, not %1 (see rkcore --help)").arg(name));
    return false;
}

bool parseOptions(const QStringList &arguments, Options &options)
{
    QStringList positional;
    QString sort;
    if (!splitArguments("ls", arguments,
                        {{"--bytes", &options.bytes},
                         {"--raw", &options.raw},
                         {"--all", &options.all},
                         {"--reverse", &options.reverse}},
                        positional, {{"--sort", &sort}, {"--match", &options.match}})) {
        return false;
    }
    if (!sort.isNull() && !parseSort(sort, options.sort)) return false;
    if (positional.size() > 1) {
        usageError(QStringLiteral("ls takes at most one path (see rkcore --help)"));
        return false;
    }
    if (!positional.isEmpty()) options.path = positional.first();
    return true;
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
// file nor setuid, setgid and sticky, so the mode is read again; an item that
// has gone since is shown from the record. A "+" marks an access control
// list, as `ls -l` marks it.
std::string modeText(const rpf_fso *record, bool followLinks)
{
    struct stat data {};
    const char *path = record->complete_path;
    const bool known = path != nullptr && (followLinks ? stat(path, &data) : lstat(path, &data)) == 0;
    const mode_t mode = known ? data.st_mode : modeFromRecord(record);
    std::string text = coreText(rpf_permissions_mode_to_listing_string(mode));
    if (known && !S_ISLNK(mode)) {
        const bool acl = getxattr(path, "system.posix_acl_access", nullptr, 0) > 0 ||
                         (S_ISDIR(mode) && getxattr(path, "system.posix_acl_default", nullptr, 0) > 0);
        if (acl) text += '+';
    }
    return text;
}

// " -> target" for a link: the record's target, or what the link holds when
// its target could not be examined (the record has none then).
std::string linkSuffix(const rpf_fso *record)
{
    if (record->type != RPF_FSO_TYPE_LINK) return {};
    if (record->alias_location != nullptr) return " -> " + std::string(record->alias_location);
    std::array<char, 4096> buffer{};
    const ssize_t length =
        record->complete_path == nullptr ? -1 : readlink(record->complete_path, buffer.data(), buffer.size());
    if (length < 0) return " -> ?";
    return " -> " + std::string(buffer.data(), static_cast<size_t>(length));
}

std::string sizeText(const rpf_fso *record, bool bytes)
{
    if (bytes) {
        // The record holds the low 32 bits of the size.
        return std::to_string(static_cast<uint32_t>(rpf_fso_get_item_for_key(record, RPF_FSO_KEY_SIZE)));
    }
    std::string text = coreText(const_cast<char *>(keyText(record, RPF_FSO_KEY_SIZE_TEXT)));
    while (!text.empty() && text.back() == ' ')
        text.pop_back(); // "512 " keeps a blank after short counts; the column is right-aligned
    return text;
}

Row rowOf(const rk::RBFileSystemObject &object, const std::string &name, bool bytes, bool followLinks)
{
    const rpf_fso *record = object.cstruct();
    auto text = [record](int32_t key) { return orEmpty(keyText(record, key)); };
    return Row{modeText(record, followLinks),
               std::to_string(rpf_fso_get_item_for_key(record, RPF_FSO_KEY_LINKS)),
               text(RPF_FSO_KEY_OWNER),
               text(RPF_FSO_KEY_GROUP),
               sizeText(record, bytes),
               text(RPF_FSO_KEY_DATE),
               kindText(object),
               name + linkSuffix(record)};
}

void printRows(const std::vector<Row> &rows)
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
    std::string out;
    for (const Row &row : rows) {
        out += left(row.mode, widths[kMode]) + ' ' + right(row.links, widths[kLinks]) + ' ' +
               left(row.owner, widths[kOwner]) + ' ' + left(row.group, widths[kGroup]) + ' ' +
               right(row.size, widths[kSize]) + ' ' + left(row.date, widths[kDate]) + ' ' +
               left(row.kind, widths[kKind]) + ' ' + row.name + '\n';
    }
    (void)std::fwrite(out.data(), 1, out.size(), stdout);
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

} // namespace

int lsCommand(const QStringList &arguments)
{
    Options options;
    if (!parseOptions(arguments, options)) return kExitUsage;
    const QByteArray path = QFile::encodeName(options.path);
    // The core's own lines are diagnostics, not part of the table; the object
    // layer's log lines (a dangling link has no catalogue entry) are noise here.
    rpf_diagnostics_set_stream(stderr);
    QLoggingCategory::setFilterRules(QStringLiteral("rkcore.info=false"));
    errno = 0;
    const auto object = rk::RBFileSystemObject::newFSOForLocalPath(options.path, true);
    if (!object) {
        const int error = errno;
        return failure(
            QStringLiteral("cannot read %1: %2").arg(options.path, QString::fromLocal8Bit(std::strerror(error))));
    }
    const rpf_fso *record = object->cstruct();
    if (options.raw) {
        (void)std::fflush(stderr);
        rpf_diagnostics_set_stream(stdout);
        rpf_fso_dump(record);
        rpf_diagnostics_set_stream(stderr);
        return 0;
    }
    std::vector<Row> rows;
    if (record->type != RPF_FSO_TYPE_DIRECTORY) {
        rows.push_back(rowOf(*object, orEmpty(record->complete_path), options.bytes, true));
    } else {
        if (object->actualContents().isEmpty()) {
            const std::string reason = unreadableReason(path);
            if (!reason.empty()) {
                return failure(
                    QStringLiteral("cannot read %1: %2").arg(options.path, QString::fromLocal8Bit(reason.c_str())));
            }
        }
        filterChildren(*object, options);
        // Without --sort: files first, then folders, each in the folder's order.
        if (options.sort >= 0) object->setSortsByAttribute(options.sort, options.reverse ? 1 : 0);
        for (int32_t i = 0; i < object->count(); ++i) {
            const auto child = object->objectAtIndex(i);
            rows.push_back(rowOf(*child, orEmpty(child->cstruct()->name), options.bytes, false));
        }
    }
    printRows(rows);
    return 0;
}

} // namespace rkcli
