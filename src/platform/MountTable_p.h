// The mount table (/proc/self/mountinfo) as volumes: which folders are mount
// points, and a volume's name.
//
// A MountTable is a snapshot: read it once for a folder's worth of questions
// (reading is one read of mountinfo; lookups are hash lookups, no system
// call). Mount points are kept as the kernel shows them, with its octal
// escapes (\040 for a space, \011, \012, \134) decoded. Thread: a snapshot may
// be read from any thread; snapshot() is safe from any thread.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <cstddef>
#include <optional>

namespace rk::platform {

// One line of /proc/self/mountinfo, the fields the table keeps, with the
// kernel's octal escapes decoded.
struct MountInfoLine {
    QByteArray mountPoint; // field 5
    QByteArray fsType;     // the first field after the "-" separator
    QByteArray source;     // the second field after it
};

// Parses one line (without its newline). Nothing for a line that lacks a
// field, the separator, has a mount point that is not absolute, or decodes to
// a NUL byte.
std::optional<MountInfoLine> parseMountInfoLine(const char *line, std::size_t length);

class MountTable final {
public:
    // The current table. An unreadable mountinfo gives a table that holds only
    // "/" (the root is always a volume).
    static MountTable snapshot();

    // The table a mountinfo text describes (tests, and snapshot() itself).
    // Damaged lines are skipped; a later line for the same mount point wins
    // (it is mounted over the earlier one). "/" is always present.
    static MountTable fromMountInfo(const QByteArray &text);

    // Whether `path` (absolute, no trailing "/" except for "/" itself) is a
    // mount point. The path is compared as given: resolve links first.
    bool isMountPoint(const QByteArray &path) const;

    // The mount point of the volume that holds `path` (the longest mount point
    // that is `path` or one of its parent folders; "/" at least). The path is
    // compared as given.
    QByteArray mountPointContaining(const QByteArray &path) const;

    // The name of the volume mounted at `mountPoint`: the file system's label
    // (/dev/disk/by-label names the mount's source device), else the mount
    // point's last component; "/" without a label gives "/". A null QString
    // when `mountPoint` is not a mount point.
    QString volumeName(const QByteArray &mountPoint) const;

    // The file-system type mounted at `mountPoint` ("ext4", "nfs4", "autofs");
    // empty when it is not a mount point.
    QByteArray fileSystemType(const QByteArray &mountPoint) const;

    // Number of mount points (tests).
    qsizetype size() const { return mounts_.size(); }

private:
    struct Mount {
        QByteArray source; // the mount source (a device path, or "tmpfs", "proc" ...)
        QByteArray fsType; // the file-system type
    };
    QHash<QByteArray, Mount> mounts_; // mount point -> what is mounted there
};

} // namespace rk::platform
