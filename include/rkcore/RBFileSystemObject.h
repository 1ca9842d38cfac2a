// RBFileSystemObject: the object of one file-system item, local or remote, over
// the core's item record (rkcore/rpf_fso.h). It adds what a browser window
// needs: cached presentation values, a permission object, a URL object,
// catalogue information for local items (lock state, creator and type codes,
// dates, volume name, version text), the item's kind (folder, file, link,
// alias, application, package, volume) with the predicates that rest on it,
// icons with badges, and the folder's children as a full and a visible list
// that can be thinned and sorted.
//
// One object per record: the object is stored in the record's `object` field
// and every factory answers the stored object when there is one.
//
// Ownership
//   - Objects are held in std::shared_ptr. A folder object holds its children
//     (the full and the visible list); a child does not hold its parent:
//     parent() answers the parent record's object, making one when needed.
//     So no cycle keeps anything alive.
//   - A tree of records read for a local path (newFSOForLocalPath) belongs to
//     the objects made over it: every object of that tree, the folder's and
//     each child's, keeps the whole tree alive, and the records are freed
//     deeply when the last of them goes away. Keep any object of the tree to
//     keep its records.
//   - A record handed in by the application (newFSOWithCStruct) stays the
//     application's: objects never free it, and the application must keep it
//     (and its children and parent) alive while an object made over it is
//     alive. When an object goes away it clears the record's `object` field.
//   - Records are never shared between threads by this class: use a tree and
//     its objects from one thread at a time (the thread that made them, for
//     icons: the GUI thread). Different trees may live on different threads.
//
// Failure: nullptr, a null QString, -1 or false as each function says, with
// the log lines it names written to the "rkcore" category. The only
// assertion is a null record in newFSOWithCStruct. The two lines that
// identification prints on standard output ("\t\tError getting item statistics",
// "Problem Getting item info...bailing") go to the core's diagnostic stream
// (rkcore/rpf_diagnostics.h).
#pragma once

#include <QDateTime>
#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>

#include <sys/stat.h>

#include <rkcore/Conventions.h>
#include <rkcore/RBFolderSizeWalk.h>
#include <rkcore/rpf_fso.h>

namespace rk {

class RBPermission;
class RBURL;
class RBFileSystemObject;
class RBFileSystemObjectPrivate;
class RBFileSystemObjectSize;

using RBFileSystemObjectList = QList<std::shared_ptr<RBFileSystemObject>>;

// A date and time as the catalogue keeps it: 1/65536 seconds since
// 1 January 1904 00:00:00 GMT, in one unsigned 64-bit value.
using UTCDateTime = uint64_t;

// A four-character code (Finder type and creator, "TEXT", "APPL").
using OSType = uint32_t;

// What dateModified() answers: the date, or the value -1 that the method
// gives "in place of an object" for a remote item or when the catalogue cannot
// be read. Callers test isMinusOne() where they tested for -1.
struct RBDateOrMinusOne {
    QDateTime date; // valid unless isMinusOne()
    bool isMinusOne() const { return !date.isValid(); }
};

// A local item's reference: its path and, from the status read when the
// reference was made, its device and inode (links followed, as the
// catalogue does).
struct RBFSRef {
    QByteArray path;
    uint64_t device = 0;
    uint64_t inode = 0;
};

// {device, parent folder's inode, name}: where an item stands.
struct RBFSSpec {
    uint64_t device = 0;
    uint64_t parentInode = 0;
    QString name;
};

// Kind codes (fsoKind). 4 is never produced.
enum RBFSOKind : int32_t {
    kRBKindNone = 0,
    kRBKindFolder = 1,
    kRBKindFile = 2,
    kRBKindSymbolicLink = 3,
    kRBKindAlias = 5,
    kRBKindApplication = 6,
    kRBKindPackage = 7,
    kRBKindVolume = 8,
};

// Sort attribute codes (setSortsByAttribute); any other code sorts nothing.
enum RBSortAttribute : int32_t {
    kRBSortByAccess = 0, // permission number, smallest first with order 0
    kRBSortByDate = 2,   // modification time, oldest first with order 0
    kRBSortByName = 4,   // name, case-insensitive, Z to A with order 0
    kRBSortBySize = 9,   // total size, folders 0, smallest first with order 0
};

class RKCORE_EXPORT RBFileSystemObject final : public std::enable_shared_from_this<RBFileSystemObject> {
    struct Tag {};

public:
    // ---- factories ----

    // The object of `record`: the stored one when the record has one, else a
    // new object stored in the record; a remote folder's children are then
    // gathered (performAssimilation). A record of a tree read by
    // newFSOForLocalPath joins that tree's ownership; any other record stays
    // the caller's (see Ownership above). A null record throws AssertionFailure
    // (file "UFServices/RBFileSystemObject", line 223, "RBFilesystemObject :
    // File Info Was NULL").
    static std::shared_ptr<RBFileSystemObject> newFSOWithCStruct(rpf_fso *record);

    // The object of a local path (links followed for the path itself),
    // identified, with its children gathered and identified when it is a
    // folder or a volume. nullptr for a null or empty path, or when the item
    // cannot be read.
    static std::shared_ptr<RBFileSystemObject> newFSOForLocalPath(const QString &path);

    // As above, logging why it answers nullptr ("RBFileSystemObject + ( id )
    // newFSOForLocalPath [ thePath was null ]", "... could not get file system
    // rep [ %@ ]", "... newFSOForLocalPath:(NSString *)thePath Failed to get
    // item information"); the children are gathered only when `assimilating`
    // is true and the item is a folder or a volume.
    static std::shared_ptr<RBFileSystemObject> newFSOForLocalPath(const QString &path, bool assimilating);

    // As newFSOForLocalPath(path, assimilating) for a path given as the file
    // system's own bytes, which need not be UTF-8 (a name written by another
    // system): nothing is lost in a conversion. nullptr for an empty path,
    // one holding a NUL, or an item that cannot be read (errno says why).
    static std::shared_ptr<RBFileSystemObject> newFSOForLocalPathBytes(const QByteArray &path, bool assimilating);

    // The path an alias file (a desktop entry of Type=Link to a file: URL,
    // chains followed) points to; any other path unchanged; null for null.
    static QString resolveAliasFromFileAtPath(const QString &path);
    static QString private_resolveAliasPath(const QString &path);

    // ---- dates and four-character codes ----

    // Seconds from 1 January 2001 GMT (the reference date) to 1 January 1904
    // GMT: -3061152000. Computed once.
    static double carbonReferenceDate();
    static QDateTime UTCDateTimeToNSDate(const UTCDateTime *utcTime);
    // Stores the date as a UTCDateTime (dates before 1904 wrap as the
    // unsigned conversion does). Nothing is stored for a null date or pointer.
    static void NSDateToUTCDateTime(const QDateTime &date, UTCDateTime *utcTime);

    // The code's four bytes, most significant first, as a string ("TEXT").
    static QString osTypeToFourCharCode(OSType code);
    // The inverse: the first four UTF-16 units' low bytes, most significant
    // first; a shorter string is padded with zero bytes.
    static OSType fourCharCodeToOSType(const QString &text);
    static bool isBigEndian() { return false; }

    // ---- record access ----

    rpf_fso *cstruct() const;
    rpf_fso *_fso_struct() const { return cstruct(); }
    // Stores `record` (not taken over; the record's `object` field is not
    // changed: the factories do that).
    void _setCStruct(rpf_fso *record);
    // rpf_fso_get_item_for_key as a number (0 without a record); keys that
    // answer new texts are freed, not leaked.
    intptr_t _fso_get_int_for_attribute(int32_t key) const;
    // rpf_fso_get_item_for_key as a string from UTF-8; null without a record or
    // for a null value. New texts are freed.
    QString _fso_get_string_for_attribute(int32_t key) const;

    // ---- attributes ----

    QString name() const;                 // volume name, else last component of completePath()
    QString nameWithoutExtension() const; // volume name, else the name without its extension
    bool nameStartsWithADot() const;
    QString owner() const; // setOwner's value, else the record's
    QString group() const; // setGroup's value, else the record's
    void setOwner(const QString &owner);
    void setGroup(const QString &group);
    void setPermissions(std::shared_ptr<RBPermission> permissions);
    void setCompletePath(const QString &path);
    QString completePath() const; // setCompletePath's value, else the record's
    QString parentPath() const;   // completePath() without its last component
    bool isRoot() const;          // completePath() is "/"
    bool isLocal() const;
    bool isRemote() const;
    QString extension() const;     // the record's extension (null when none)
    QString extensionReal() const; // the extension of completePath() ("" when none)
    int32_t links() const;
    QString date() const;        // the record's date text, cached
    int64_t dateAsTimeT() const; // the record's mtime, -1 without a record
    // Local only: the content-modification date from the catalogue; -1 (see
    // RBDateOrMinusOne) for a remote item or when it cannot be read.
    RBDateOrMinusOne dateModified() const;
    // Local only: the creation (birth) date; a null QDateTime for a remote
    // item, when it cannot be read, or when the file system keeps none.
    QDateTime dateCreated() const;
    // "%B %d, %Y %I:%M%p" in the local time zone with the user's locale
    // ("November 24, 2026 01:05AM"); null when there is no date.
    QString dateModifiedAsString() const;
    QString dateCreatedAsString() const;
    // The permission object, made once: local items from the status of
    // completePath() with the setuid, setgid and sticky bits (number 0 when
    // the item cannot be examined), remote items from the record's number.
    std::shared_ptr<RBPermission> permissions() const;
    QString permissionsAsString() const;
    bool ownedByCurrentUser() const;
    // The status of `path` (links followed); nothing when stat fails.
    static std::optional<struct stat> statsForFileAtPath(const QString &path);

    // The URL object, made once from the record's URL text; nullptr when the
    // record has no URL.
    std::shared_ptr<RBURL> urlObject() const;
    QString url() const;
    QString urlWithoutPath() const;
    QString cleanURL() const;
    // resolving false, or an item that is neither link nor alias: url();
    // otherwise the URL with its path replaced by aliasOrLinkTargetPath()
    // (null when there is none).
    QString urlAsStringResolvingLink(bool resolving) const;
    QString ravixURL() const;
    QString host() const; // the encapsulated URL's host, cached

    // The parent record's object (made if need be); nullptr at the top.
    std::shared_ptr<RBFileSystemObject> parent() const;
    int32_t subFolderCount() const;
    int32_t fileCount() const;
    // The list in force: the visible list while filtered, else the full list.
    int32_t totalItems() const;
    int32_t count() const { return totalItems(); }
    // Element `index` of that list; nullptr outside it.
    std::shared_ptr<RBFileSystemObject> subitemAtIndex(int32_t index) const;
    std::shared_ptr<RBFileSystemObject> objectAtIndex(int32_t index) const { return subitemAtIndex(index); }
    bool isSorted() const;
    // "NAME", "DATE", "USER", "GROUP", "PERMISSIONS"; null for any other key.
    QString getObjectForKey(const QString &key) const;
    QString description() const { return name(); }
    void dumpToStdOut() const;
    // A malloc'd copy of the UTF-8 text (the caller frees it); null for null.
    static char *nsToCString(const QString &text);

    // ---- local catalogue information ----

    // The reference of completePath(); nothing for a remote item, or when the
    // item cannot be reached (two log lines: "\tERROR : RBFileSystemObject :
    // Could not get FSRef for item at path: %@", "\tERROR : RBFileSystemObject
    // : Error : %d" with the error code).
    std::optional<RBFSRef> fsRef() const;
    std::optional<RBFSSpec> _fsSpec() const;
    // false for remote items and packages; otherwise true when the node-flags
    // word is non-zero: the immutable flag, but also any folder and any file
    // with more than one hard link (the whole word is tested).
    bool isLocked() const;
    OSType creator() const;          // Finder creator, (OSType)-1 when not available
    OSType type() const;             // Finder type, (OSType)-1 when not available
    QString creatorAsString() const; // null for remote items
    QString typeAsString() const;
    // The name of the volume holding the item (its label, else its mount
    // point's last component); null, with "getLocalFileSize : Error Getting
    // info" logged, when it cannot be found.
    QString volumeName() const;
    // The bundle's "CFBundleGetInfoString"; null without a bundle or key.
    QString versionString() const;
    // Logs a catalogue error code.
    void recordCarbonError(int32_t error) const;

    // ---- identification ----

    // The kind of the item at `path`, as identify() finds it; *typeWePointTo
    // gets what a link or alias points to (left as it was otherwise),
    // *isPackaged whether an application is a bundle folder. Either pointer
    // may be null.
    static int32_t typeForItemAtPath(const QString &path, int32_t *typeWePointTo, bool *isPackaged);
    void identify();
    int32_t fsoKind() const;
    int32_t aliasOrLinkTargetKind() const;
    bool isFolder() const { return isDir(); }
    bool isDir() const;
    bool isFile() const;
    bool isLink() const;
    bool isAlias() const;
    bool isApplication() const;
    bool isPackage() const;
    bool isVolume() const;
    bool isPackagedApplication() const;
    bool isApplicationPackaged() const;
    void setApplicationIsPackaged(bool packaged);
    // Whether the executable (the bundle's, or the item itself) starts with
    // "Joy!"; false when it cannot be read or is shorter than four bytes.
    bool isCarbonApplication() const;
    // Local: the Finder flags' invisible bit, or the name listed in the
    // folder's ".hidden" file; remote: false.
    bool isInvisible() const;
    bool isGraphicFile() const;
    // "Remote File"; local: the MIME type's description ("folder", "plain
    // text document"); null when none can be found.
    QString kindAsString() const;
    QString aliasOrLinkTargetPath() const;
    bool aliasOrLinkTargetIsInvalid() const;
    QString resolveAliasPath(const QString &path) const;

    // ---- icons (GUI thread; needs a QGuiApplication) ----

    QImage iconForFSOUsingCached(bool useCached);
    bool hasCustomIcon() const;
    QImage fileIconWithLink() const;
    QImage fileIconWithLock() const;
    static QImage remoteFileIconWithLink();
    static QImage genericFolderIcon();
    static QImage genericFileIcon();

    // ---- children, filtering and sorting ----

    void performAssimilation();
    std::shared_ptr<RBFileSystemObject> child_fso_at_index(int32_t index) const;
    int32_t _fileCount() const;
    int32_t _subdirectoryCount() const;
    void invalidateFilteredItems();
    void hideItem(const RBFileSystemObject *item);
    // Ignores `hidden`: asks the parent to hide this item (so false hides
    // too); nothing without a parent.
    void setIsHidden(bool hidden);
    bool isHidden() const;
    bool isFiltered() const;
    void setIsFiltered(bool filtered);
    // Children in the full list minus those in the visible list.
    int32_t filteredItemCount() const;
    // The full and the visible list as they stand (read-only views).
    const RBFileSystemObjectList &actualContents() const;
    const RBFileSystemObjectList &unfilteredItems() const;

    // Stores both codes, then sorts the list in force with the attribute's
    // comparator (stable), reversed when `order` is 1; other codes sort
    // nothing.
    void setSortsByAttribute(int32_t attribute, int32_t order);
    int32_t sortAttribute() const;
    int32_t sortOrder() const;
    static RBFileSystemObjectList _swapArray(const RBFileSystemObjectList &items);
    // -1 when this object sorts first, 1 when `other` does, 0 when equal.
    int32_t _sortByAccess(const RBFileSystemObject &other) const;
    int32_t _sortByDate(const RBFileSystemObject &other) const;
    int32_t _sortByName(const RBFileSystemObject &other) const;
    int32_t _sortBySize(const RBFileSystemObject &other) const;

    // ---- sizes ----

    // The item's sizes, cached once made (never for a volume):
    //   - remote: the record's size (a signed 32-bit value widened with its
    //     sign) as data fork and total; a folder adds its file and sub-folder
    //     counts;
    //   - local file, alias, link or single-file application: getLocalFileSize;
    //   - volume: getVolumeInformation, read afresh on every call;
    //   - folder, package, bundle application: a walk of every descendant
    //     (rkcore/RBFolderSizeWalk.h). A walk stopped by
    //     cancelFolderSizeCalulation is cached with its partial sums; its
    //     walkExtras() say so.
    // nullptr (nothing cached) when a local item's size cannot be read.
    // The walk runs on the calling thread, which may be any one thread at a
    // time; `options` apply to a walk only (extras beyond the counters).
    std::shared_ptr<RBFileSystemObjectSize> sizeObject() const;
    std::shared_ptr<RBFileSystemObjectSize> sizeObject(const RBFolderSizeWalkOptions &options) const;
    // A new record: a link's own length (counters 0 and 5); otherwise the data
    // fork (st_size, st_blocks * 512) and resource fork (counters 0-3, 5).
    // nullptr with "getLocalFileSize : FSRef was null" when the item cannot be
    // examined, "getLocalFileSize : Error Getting info" when its resource fork
    // cannot be read.
    std::unique_ptr<RBSizeRecord> getLocalFileSize() const;
    // A new record of the volume holding the item (statvfs): capacity
    // (counter 5), available bytes (4), used inodes as the file count (9 and
    // 7; the folder count 8 is 0), as 32-bit counts. nullptr with
    // "getLocalFileSize : FSRef was null" when the item cannot be examined,
    // silently when the volume cannot be read.
    std::unique_ptr<RBSizeRecord> getVolumeInformation() const;
    // The size column's text: a volume's used space, else the total size in
    // units. Made once and never refreshed; null without a size object.
    QString totalSizeFormattedAsString() const;
    // Forgets the size object (the size text stays).
    void invalidateCachedSize();
    // Asks a running walk to stop (any thread, async-signal-safe). The request
    // is never withdrawn: later walks of this object stop after one entry.
    void cancelFolderSizeCalulation();
    bool folderSizeCalulationCancelled() const;

    RBFileSystemObject(Tag, rpf_fso *record);
    ~RBFileSystemObject();
    RBFileSystemObject(const RBFileSystemObject &) = delete;
    RBFileSystemObject &operator=(const RBFileSystemObject &) = delete;

private:
    static RBFileSystemObjectList sortedByName(RBFileSystemObjectList &&items);
    friend class RBFileSystemObjectPrivate;
    std::unique_ptr<RBFileSystemObjectPrivate> d;
};

// ---- name functions (the string category of the browser's filters) ----

// Whether `name` is hidden by default: it begins with "." or is one of the
// system names ("bin", "cores", "Desktop DB", ... "Temporary Items"),
// compared exactly. false for "".
RKCORE_EXPORT bool isHidden(const QString &name);
// Whether `text` matches `pattern` anywhere: POSIX extended, case-insensitive.
// false when the pattern does not compile or either text has a NUL.
RKCORE_EXPORT bool matchesRegex(const QString &text, const QString &pattern);
// One one-character string per UTF-16 unit.
RKCORE_EXPORT QStringList arrayValue(const QString &text);
// `text` with its pattern metacharacters escaped, but only when it begins
// (after white space) with one of "^.[$()|*+?{\"; otherwise unchanged.
RKCORE_EXPORT QString _escapeString(const QString &text);
// `text` with a backslash before every `character`.
RKCORE_EXPORT QString _escapeString(const QString &text, const QString &character);

} // namespace rk
