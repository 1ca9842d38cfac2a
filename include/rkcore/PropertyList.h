// Property lists (XML and binary "bplist00") read into Qt values and written
// back, through libplist.
//
// Mapping: dict <-> QVariantMap, array <-> QVariantList, string <-> QString,
// integer <-> qint64 (read as a signed 64-bit value), real <-> double,
// true/false <-> bool, date <-> QDateTime (UTC; milliseconds in binary lists,
// whole seconds in XML, as the XML form writes them),
// data <-> QByteArray. A UID (keyed archives) reads as quint64 and is never
// written. Writing a QVariant of another type (or an int/uint that does not
// fit qint64) fails; int, uint, qlonglong and qulonglong all write integers,
// float and double reals.
//
// Failure: reading answers nothing (std::nullopt) for a missing file, an empty
// or malformed document; writing answers false and leaves an existing file
// untouched (the file is replaced atomically). Thread: any thread.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

#include <rkcore/Conventions.h>

namespace rk::PropertyList {

enum class Format { Xml, Binary };

// Reads a document in either format (detected from its bytes).
RKCORE_EXPORT std::optional<QVariant> fromData(const QByteArray &data);
RKCORE_EXPORT std::optional<QVariant> readFile(const QString &path);

// Writes `value` in `format`; nothing when a value has no property-list form.
RKCORE_EXPORT std::optional<QByteArray> toData(const QVariant &value, Format format = Format::Xml);
RKCORE_EXPORT bool writeFile(const QVariant &value, const QString &path, Format format = Format::Xml);

} // namespace rk::PropertyList
