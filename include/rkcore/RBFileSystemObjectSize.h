// RBFileSystemObjectSize: one size record (rkcore/RBFolderSizeWalk.h) and its
// texts: sizes in units ("1.5KB"), digits grouped by commas, and the lines of
// a Get-Info panel.
//
// Ownership: the object owns its record. Thread: immutable after it is made,
// so any thread may read it.
#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

#include <rkcore/Conventions.h>
#include <rkcore/RBFolderSizeWalk.h>

namespace rk {

class RKCORE_EXPORT RBFileSystemObjectSize final {
    struct Tag {};

public:
    // Takes the record over; nullptr for a null record.
    static std::shared_ptr<RBFileSystemObjectSize> initWithLocalFileSize(std::unique_ptr<RBSizeRecord> record);
    // The same, also keeping what a folder walk found beyond the counters.
    static std::shared_ptr<RBFileSystemObjectSize> initWithLocalFileSize(std::unique_ptr<RBSizeRecord> record,
                                                                         const RBFolderWalkExtras &extras);

    uint64_t dataForkSize() const;             // counter 0
    uint64_t physicalDataForkSize() const;     // counter 1
    uint64_t resourceForkSize() const;         // counter 2
    uint64_t physicalResourceForkSize() const; // counter 3
    uint64_t totalSize() const;                // counter 5
    uint64_t physicalTotalSize() const;        // counter 6
    uint64_t containedItemCount() const;       // counter 7
    // Any counter by its index (0-10); 0 outside.
    uint64_t counter(int index) const;

    // The unit text of counter 0, 1, 2, 3, 5 or 6 for keys 0 to 5; "Unknown
    // Key" for any other key.
    QString formattedStringForKey(int32_t key) const;

    // "%s on disk. ( %@ bytes )": physical size in units, logical size in digits.
    QString dataGetInfoString() const;
    QString resourceGetInfoString() const;
    QString totalSizeGetInfoString() const;
    QString capacityGetInfoString() const;  // counter 5 in units
    QString availableGetInfoString() const; // counter 4 in units
    QString usedGetInfoString() const;      // counter 5 minus 4 (unsigned, wrapping) in units
    // "No items", or "N Files. N Folders. ( N hidden )".
    QString containsGetInfo() const;

    // The value as a double printed with "%.0lf" (values above 2^53 lose their
    // lowest digits), with "," before each group of three digits from the right.
    static QString _commaDelimitedSize(uint64_t value);

    // The record (owned by this object). A sort reads many sizes in a row and
    // asks for their records' memory ahead of time through this.
    const RBSizeRecord *record() const { return myFSOSize.get(); }

    // What a folder walk found beyond the counters; nothing for other sizes.
    const std::optional<RBFolderWalkExtras> &walkExtras() const { return extras_; }

    RBFileSystemObjectSize(Tag, std::unique_ptr<RBSizeRecord> record, std::optional<RBFolderWalkExtras> extras);
    ~RBFileSystemObjectSize();
    RBFileSystemObjectSize(const RBFileSystemObjectSize &) = delete;
    RBFileSystemObjectSize &operator=(const RBFileSystemObjectSize &) = delete;

private:
    std::unique_ptr<RBSizeRecord> myFSOSize;
    std::optional<RBFolderWalkExtras> extras_;
};

} // namespace rk
