// A path's FSSpec: the item's device, the inode of the folder
// that holds it, and its name there (the Objective-C string category
// NSString(FSSpec) as a free function).
#pragma once

#include <QString>

#include <cstdint>

#include <rkcore/Conventions.h>

namespace rk {

struct FSSpec {
    uint64_t device = 0;      // device of the item
    uint64_t parentInode = 0; // inode of its folder ("/" names itself)
    QString name;             // its name in that folder ("/" for the root)
};

// Fills `spec` for the item at `path` (made absolute against the current
// folder; symbolic links resolved) and answers true. When nothing exists at
// `path`: with `createFileIfNecessary` false answers false; with it true
// creates an empty file there first, exclusively, so an item that appears
// meanwhile is never truncated or replaced (false when that fails). The empty
// file stays even when a later step fails. A null `spec` or an empty path
// answers false (after the file is made, when asked). Any thread.
RKCORE_EXPORT bool getFSSpec(const QString &path, FSSpec *spec, bool createFileIfNecessary);

} // namespace rk
