// RKFileTypeIdentifier: whether a file is to be treated as an image (1) or as
// text (2), by its name's extension, from the user's data types file (a
// property list: an array of dictionaries with the keys "IC_EXTENSION",
// "IC_VERBOSE_TYPE" and "RB_TYPE").
//
// The file lives at kDATA_FILE_PATH with "~/Library/Application Support/"
// mapped to the XDG data folder ($XDG_DATA_HOME, by default ~/.local/share):
// $XDG_DATA_HOME/Ravix/Data Types.plist. When nothing exists at that path the
// default table is written there (the "Ravix" folder is not created, so
// without it the table stays empty). An existing file is never replaced, even
// an empty or damaged one. The file is read once, when the identifier is made.
//
// Failure: no messages; a table that cannot be read answers 0 for every name.
// Thread: the shared instance is made on first use (thread-safe); lookups only
// read, so any thread may make them.
#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

#include <cstdint>
#include <memory>
#include <optional>

#include <rkcore/Conventions.h>

namespace rk {

// The data types file as the user knows its place ("~" is the home folder).
inline constexpr const char kDATA_FILE_PATH[] = "~/Library/Application Support/Ravix/Data Types.plist";

// Type codes.
enum RKFileType : int32_t { kRKFileTypeUnknown = 0, kRKFileTypeImage = 1, kRKFileTypeText = 2 };

class RKCORE_EXPORT RKFileTypeIdentifier final {
    struct Tag {};

public:
    // The process's identifier, made with create() on first use.
    static RKFileTypeIdentifier &sharedItemTypeIdentifier();
    // A new identifier over expandedDataFilePath(): writes the default table
    // when nothing exists there, then reads the file.
    static std::shared_ptr<RKFileTypeIdentifier> create();
    // The same over another file (tools and tests).
    static std::shared_ptr<RKFileTypeIdentifier> createWithDataFilePath(const QString &path);

    // kDATA_FILE_PATH with its folders mapped (see above).
    static QString expandedDataFilePath();
    // The 23 entries of the default table, in their order.
    static QVariantList defaultTable();

    // Writes the default table to this identifier's path, atomically, as an
    // XML property list, without creating folders. false when it cannot be
    // written. (create() calls it only when nothing exists at the path.)
    bool createDefaultDataFile() const;

    // The first entry, in file order, whose "IC_EXTENSION" is a string equal
    // to `extension` (case-sensitive); nothing when none is.
    std::optional<QVariantMap> findEntryForExtension(const QString &extension) const;

    // The type of a file name or path: its extension (after the last "." of
    // its last component) looked up, the entry's "RB_TYPE" as an integer
    // (a string reads as its leading digits; a missing or other value as 0);
    // 0 without an extension or an entry.
    int32_t typeForFileName(const QString &name) const;

    // The entries read from the file; nothing when it could not be read as an
    // array.
    const std::optional<QVariantList> &typeMappings() const { return typeMappings_; }
    const QString &dataFilePath() const { return dataFilePath_; }

    RKFileTypeIdentifier(Tag, QString path);

private:
    QString dataFilePath_;
    std::optional<QVariantList> typeMappings_;
    QHash<QString, qsizetype> firstEntry_; // extension -> index of its first entry
};

} // namespace rk
