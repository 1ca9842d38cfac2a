// rkcore ls: a folder's items as the framework reads them, one row per item
// in an `ls -l`-like table.

#include <rkcore/rpf_diagnostics.h>
#include <rkcore/rpf_fso.h>
#include <rkcore/rpf_perms.h>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QFile>

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
    bool bytes = false; // sizes in bytes instead of the size text
    bool raw = false;   // the core's dump instead of the table
};

struct TreeDeleter {
    void operator()(rpf_fso *record) const { rpf_fso_destroy_deep(record); }
};
using Tree = std::unique_ptr<rpf_fso, TreeDeleter>;

// Columns of one row, as bytes (names need not be UTF-8).
struct Row {
    std::string mode, links, owner, group, size, date, name;
};
enum Column { kMode, kLinks, kOwner, kGroup, kSize, kDate, kColumns };

bool parseOptions(const QStringList &arguments, Options &options)
{
    QStringList positional;
    if (!splitArguments("ls", arguments, {{"--bytes", &options.bytes}, {"--raw", &options.raw}}, positional)) {
        return false;
    }
    if (positional.size() > 1) {
        usageError(QStringLiteral("ls takes at most one path (see rkcore --help)"));
        return false;
    }
    if (!positional.isEmpty()) options.path = positional.first();
    return true;
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

Row rowOf(const rpf_fso *record, const std::string &name, bool bytes, bool followLinks)
{
    auto text = [record](int32_t key) { return orEmpty(keyText(record, key)); };
    return Row{modeText(record, followLinks), std::to_string(rpf_fso_get_item_for_key(record, RPF_FSO_KEY_LINKS)),
               text(RPF_FSO_KEY_OWNER),       text(RPF_FSO_KEY_GROUP),
               sizeText(record, bytes),       text(RPF_FSO_KEY_DATE),
               name + linkSuffix(record)};
}

void printRows(const std::vector<Row> &rows)
{
    std::array<size_t, kColumns> widths{};
    for (const Row &row : rows) {
        const std::array<const std::string *, kColumns> cells{&row.mode,  &row.links, &row.owner,
                                                              &row.group, &row.size,  &row.date};
        for (size_t i = 0; i < kColumns; ++i)
            widths[i] = std::max(widths[i], cells[i]->size());
    }
    auto left = [](const std::string &text, size_t width) { return text + std::string(width - text.size(), ' '); };
    auto right = [](const std::string &text, size_t width) { return std::string(width - text.size(), ' ') + text; };
    std::string out;
    for (const Row &row : rows) {
        out += left(row.mode, widths[kMode]) + ' ' + right(row.links, widths[kLinks]) + ' ' +
               left(row.owner, widths[kOwner]) + ' ' + left(row.group, widths[kGroup]) + ' ' +
               right(row.size, widths[kSize]) + ' ' + left(row.date, widths[kDate]) + ' ' + row.name + '\n';
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

} // namespace

int lsCommand(const QStringList &arguments)
{
    Options options;
    if (!parseOptions(arguments, options)) return kExitUsage;
    const QByteArray path = QFile::encodeName(options.path);
    // The core's own lines are diagnostics, not part of the table.
    rpf_diagnostics_set_stream(stderr);
    errno = 0;
    const Tree record(rpf_fso_get_local_fso(path.constData()));
    if (!record) {
        const int error = errno;
        return failure(
            QStringLiteral("cannot read %1: %2").arg(options.path, QString::fromLocal8Bit(std::strerror(error))));
    }
    if (options.raw) {
        (void)std::fflush(stderr);
        rpf_diagnostics_set_stream(stdout);
        rpf_fso_dump(record.get());
        rpf_diagnostics_set_stream(stderr);
        return 0;
    }
    std::vector<Row> rows;
    if (record->type != RPF_FSO_TYPE_DIRECTORY) {
        rows.push_back(rowOf(record.get(), orEmpty(record->complete_path), options.bytes, true));
    } else {
        const int32_t files = rpf_fso_file_count(record.get());
        const int32_t folders = rpf_fso_subdirectory_count(record.get());
        if (files + folders == 0) {
            const std::string reason = unreadableReason(path);
            if (!reason.empty()) {
                return failure(
                    QStringLiteral("cannot read %1: %2").arg(options.path, QString::fromLocal8Bit(reason.c_str())));
            }
        }
        // Files first, then folders, each in the order the folder gave them.
        for (const int32_t which : {RPF_FSO_FILES, RPF_FSO_SUBDIRECTORIES}) {
            const int32_t count = which == RPF_FSO_FILES ? files : folders;
            for (int32_t i = 0; i < count; ++i) {
                const rpf_fso *item = rpf_fso_get_subitem_at_index(record.get(), i, which);
                rows.push_back(rowOf(item, orEmpty(item->name), options.bytes, false));
            }
        }
    }
    printRows(rows);
    return 0;
}

} // namespace rkcli
