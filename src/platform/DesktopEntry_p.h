// Desktop entries (freedesktop "Desktop Entry" files), read only as far as the
// object layer needs them: a file whose entry is Type=Link with a file: URL is
// an alias of that file; Type=Application marks an application.
//
// Reading is bounded (at most 64 KiB of a regular file; anything else, or
// anything longer, is not an entry) and tolerant: a damaged or foreign file is
// simply not an entry. Only regular files are opened (O_NONBLOCK, O_NOCTTY),
// so a FIFO, socket or device never blocks. Thread: any thread.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace rk::platform {

struct DesktopEntry {
    QString type; // the "Type" key of the [Desktop Entry] group ("Link", "Application" ...)
    QString url;  // the "URL" key (Type=Link), unlocalised
    QString exec; // the "Exec" key (Type=Application)
    QString icon; // the "Icon" key
    QString name; // the "Name" key, unlocalised
};

// Parses the bytes of a desktop entry: the first group must be
// "[Desktop Entry]" (comments and blank lines may precede it); keys are read
// until the next group; escapes \s \n \t \r \\ are decoded. Nothing when the
// text is not such an entry (no group, another first group, not UTF-8,
// a NUL byte).
std::optional<DesktopEntry> parseDesktopEntry(const QByteArray &bytes);

// Reads and parses the file at `path` (links followed). Nothing when it is not
// a regular file, cannot be read, is longer than 64 KiB, or does not parse.
std::optional<DesktopEntry> readDesktopEntry(const char *path);

// Whether `name` (a file name) could be a desktop entry worth reading: it ends
// in ".desktop". The object layer reads only such files, so identifying a
// folder reads no other file's contents.
bool looksLikeDesktopEntry(const char *name);

// The local path an alias entry points to: Type=Link and a "file:" URL
// ("file:///a%20b" gives "/a b"; a host other than "" or "localhost" is not
// local). Nothing otherwise.
std::optional<QByteArray> aliasTargetOf(const DesktopEntry &entry);

// Resolving an alias file, chains followed.
struct AliasResolution {
    bool wasAlias = false; // `path` itself is an alias entry
    bool resolved = false; // the chain ends at an existing item that is not an alias
    QByteArray target;     // that item's path when resolved, else empty
};

// Follows `path` through alias entries: while the current item is a regular
// file named like a desktop entry whose entry is an alias, go to its target.
// At most 16 steps; a chain longer than that, a loop, or a target that does
// not exist ends unresolved (wasAlias stays true when `path` was an alias).
// A path that is not an alias gives wasAlias false, resolved true and target
// = `path` (as FSResolveAliasFile answers for an ordinary file).
AliasResolution resolveAliasFile(const QByteArray &path);

} // namespace rk::platform
