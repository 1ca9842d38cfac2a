// RBAlias: a persistent reference to a file or folder, kept as a small
// versioned byte record (data()) that can be stored and later resolved back to
// a path. The record holds the item's canonical path, its name within its
// folder, and its device and inode. path() answers the recorded path while the
// same item is there; after a rename within the same folder it answers the new
// name; otherwise (the item gone or moved elsewhere, a different item put in
// its place, damaged or foreign bytes) it answers a null QString, never a
// partial path.
//
// Ownership: made by the factories, held in std::shared_ptr; owns its bytes.
// Thread: immutable, any thread.
#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

class RKCORE_EXPORT RBAlias final {
    struct Tag {};

public:
    // An alias of the item at `path` (symbolic links resolved, so the record
    // names the item itself); recorded relative to its folder except for "/".
    // nullptr for a null or empty path, a missing item, or a path too long for
    // a record (4095 bytes; names 255).
    static std::shared_ptr<RBAlias> initWithPath(const QString &path);
    static std::shared_ptr<RBAlias> aliasWithPath(const QString &path) { return initWithPath(path); }

    // An alias over stored bytes, kept as they are (checked only by path()).
    // nullptr for a null QByteArray.
    static std::shared_ptr<RBAlias> initWithData(const QByteArray &data);
    static std::shared_ptr<RBAlias> aliasWithData(const QByteArray &data) { return initWithData(data); }

    RBAlias(Tag, QByteArray data);

    // The record's bytes.
    QByteArray data() const { return alias; }

    // The resolved path, or a null QString (see above). Reads the file system
    // each call; does not change the record.
    QString path() const;

private:
    QByteArray alias;
};

} // namespace rk
