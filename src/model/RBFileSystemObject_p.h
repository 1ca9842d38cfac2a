// Private state of RBFileSystemObject, shared by the files that implement it
// (RBFileSystemObject.cpp and its +Identification, +Icons, +Filtering, +Size
// parts).
#pragma once

#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBPermission.h>
#include <rkcore/RBURL.h>

#include <QByteArray>
#include <QSet>

#include <atomic>
#include <memory>

namespace rk {

namespace platform {
class MountTable;
}

class RBFileSystemObjectSize;

// A tree of records read for a local path. Every object made over it holds it;
// the last one to go frees the records deeply.
class RecordTree final {
public:
    explicit RecordTree(rpf_fso *root);
    ~RecordTree();
    RecordTree(const RecordTree &) = delete;
    RecordTree &operator=(const RecordTree &) = delete;

    // The tree that owns `record` (found from its root), if it is one of ours.
    static std::shared_ptr<RecordTree> owning(const rpf_fso *record);
    static std::shared_ptr<RecordTree> adopt(rpf_fso *root);

private:
    rpf_fso *root_;
};

class RBFileSystemObjectPrivate final {
public:
    // Keeps the records alive; declared first so that it goes last.
    std::shared_ptr<RecordTree> tree;

    // The instance variables, in their documented order.
    QString owner;
    QString group;
    rpf_fso *_fso_struct = nullptr;
    bool _isFiltered = false;
    bool _isHidden = false;
    RBFileSystemObjectList _unfilteredItems; // the visible list
    RBFileSystemObjectList actualContents;   // the full list
    int32_t _filteredItemCount = 0;          // declared, never maintained
    bool weHideUnix = false;                 // declared, never consulted
    QString hostName;
    QString myCompletePath;
    int32_t lastModDate = 0;
    std::shared_ptr<RBPermission> fsoPermissions;
    int32_t myItemsType = 0;
    int32_t myTargetedItemsType = 0;
    bool myApplicationIsPackaged = false;
    QString myCachedFormattedSize;
    QString myCachedDate;
    QString myCachedName;
    QImage myCachedImage;
    std::shared_ptr<RBFileSystemObjectSize> cachedSizeObject;
    std::shared_ptr<RBURL> myCachedURL;
    std::atomic<bool> myCancelFolderSizeCalc{false};
    int32_t mySortOrder = -1;
    int32_t mySortOnAttribute = -1;
    mutable int32_t detectedTypeGraphic = 0;

    // Names listed in this folder's ".hidden" file, read on first use.
    mutable std::unique_ptr<QSet<QByteArray>> hiddenNames;

    // An object over `record`, stored in it, sharing `owner` (null for a
    // record of the application's).
    static std::shared_ptr<RBFileSystemObject> wrap(rpf_fso *record, std::shared_ptr<RecordTree> owner);
    // The record's object if it has one, else wrap(record, owner).
    static std::shared_ptr<RBFileSystemObject> objectFor(rpf_fso *record, const std::shared_ptr<RecordTree> &owner);
    // The record's complete path as bytes, sharing the record's text (use it
    // only while the record lives); empty without one.
    static QByteArray recordPath(const rpf_fso *record);
    // Identification of a child read by this framework, from what the read
    // already knows about it (no repeated status calls).
    // `mounts` is the mount table read once for the whole folder.
    static void identifyFromRecord(RBFileSystemObject &object, const platform::MountTable &mounts);
};

// The last path component: trailing '/'s ignored, "/" stays "/".
QString lastPathComponent(const QString &path);
// The path without its last component: "/a/b" gives "/a", "/a" gives "/",
// "a" gives "", "/" stays "/".
QString deletingLastPathComponent(const QString &path);

// The byte form of a path for system calls.
inline QByteArray pathBytes(const QString &path)
{
    return path.toUtf8();
}

// Writes a line to the core's diagnostic stream (standard output by default).
void printDiagnostic(const char *line);

} // namespace rk
