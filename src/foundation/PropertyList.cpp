#include <rkcore/PropertyList.h>
#include <rkcore/rpf_memory.h>

#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QTimeZone>

#include <plist/plist.h>

#include <cstdlib>
#include <limits>
#include <memory>

namespace rk::PropertyList {

namespace {

// Property-list dates count from 2001-01-01 00:00:00 UTC.
constexpr qint64 kReferenceDateOffset = 978307200;
// Deeper documents are refused rather than converted recursively.
constexpr int kMaxDepth = 256;

struct PlistDeleter {
    void operator()(void *node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

using rpf::Malloced;

std::optional<QVariant> toVariant(plist_t node, int depth);

std::optional<QVariant> dictToVariant(plist_t node, int depth)
{
    QVariantMap map;
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(node, &rawIterator);
    const Malloced<void> iterator(rawIterator);
    for (;;) {
        char *rawKey = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, rawIterator, &rawKey, &item);
        const Malloced<char> key(rawKey);
        if (item == nullptr) break;
        std::optional<QVariant> value = toVariant(item, depth + 1);
        if (!value || key == nullptr) return std::nullopt;
        map.insert(QString::fromUtf8(key.get()), *value);
    }
    return QVariant(map);
}

std::optional<QVariant> arrayToVariant(plist_t node, int depth)
{
    QVariantList list;
    const uint32_t count = plist_array_get_size(node);
    for (uint32_t index = 0; index < count; ++index) {
        std::optional<QVariant> value = toVariant(plist_array_get_item(node, index), depth + 1);
        if (!value) return std::nullopt;
        list.append(*value);
    }
    return QVariant(list);
}

std::optional<QVariant> toVariant(plist_t node, int depth)
{
    if (node == nullptr || depth > kMaxDepth) return std::nullopt;
    switch (plist_get_node_type(node)) {
    case PLIST_DICT: return dictToVariant(node, depth);
    case PLIST_ARRAY: return arrayToVariant(node, depth);
    case PLIST_STRING: {
        // The string's own length: libplist's copying getter asserts when the
        // text holds a NUL byte, which a damaged document can give it.
        uint64_t length = 0;
        const char *text = plist_get_string_ptr(node, &length);
        if (text == nullptr || length > static_cast<uint64_t>(std::numeric_limits<qsizetype>::max()))
            return QVariant(QStringLiteral(""));
        return QVariant(QString::fromUtf8(text, static_cast<qsizetype>(length)));
    }
    case PLIST_KEY: {
        char *raw = nullptr;
        plist_get_key_val(node, &raw);
        const Malloced<char> text(raw);
        return QVariant(QString::fromUtf8(text ? text.get() : ""));
    }
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return QVariant(value != 0);
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return QVariant(static_cast<qint64>(value));
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return QVariant(value);
    }
    case PLIST_DATE: {
        int32_t seconds = 0;
        int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        const qint64 msecs = (kReferenceDateOffset + seconds) * 1000 + microseconds / 1000;
        return QVariant(QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone::utc()));
    }
    case PLIST_DATA: {
        char *raw = nullptr;
        uint64_t length = 0;
        plist_get_data_val(node, &raw, &length);
        const Malloced<char> bytes(raw);
        if (length > static_cast<uint64_t>(std::numeric_limits<qsizetype>::max())) return std::nullopt;
        return QVariant(QByteArray(bytes ? bytes.get() : "", bytes ? static_cast<qsizetype>(length) : 0));
    }
    case PLIST_UID: {
        uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return QVariant(static_cast<quint64>(value));
    }
    case PLIST_NONE: break;
    }
    return std::nullopt;
}

plist_t fromVariant(const QVariant &value, int depth);

plist_t fromMap(const QVariantMap &map, int depth)
{
    PlistPtr dict(plist_new_dict());
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        plist_t item = fromVariant(it.value(), depth + 1);
        if (item == nullptr) return nullptr;
        plist_dict_set_item(dict.get(), it.key().toUtf8().constData(), item);
    }
    return dict.release();
}

plist_t fromList(const QVariantList &list, int depth)
{
    PlistPtr array(plist_new_array());
    for (const QVariant &element : list) {
        plist_t item = fromVariant(element, depth + 1);
        if (item == nullptr) return nullptr;
        plist_array_append_item(array.get(), item);
    }
    return array.release();
}

plist_t fromDate(const QDateTime &date)
{
    if (!date.isValid()) return nullptr;
    const qint64 msecs = date.toMSecsSinceEpoch() - kReferenceDateOffset * 1000;
    qint64 seconds = msecs / 1000;
    qint64 remainder = msecs % 1000;
    if (remainder < 0) {
        seconds -= 1;
        remainder += 1000;
    }
    if (seconds < std::numeric_limits<int32_t>::min() || seconds > std::numeric_limits<int32_t>::max()) return nullptr;
    return plist_new_date(static_cast<int32_t>(seconds), static_cast<int32_t>(remainder * 1000));
}

plist_t fromVariant(const QVariant &value, int depth)
{
    if (depth > kMaxDepth) return nullptr;
    switch (value.metaType().id()) {
    case QMetaType::QVariantMap: return fromMap(value.toMap(), depth);
    case QMetaType::QVariantHash: {
        QVariantMap map;
        const QVariantHash hash = value.toHash();
        for (auto it = hash.constBegin(); it != hash.constEnd(); ++it)
            map.insert(it.key(), it.value());
        return fromMap(map, depth);
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: return fromList(value.toList(), depth);
    case QMetaType::QString: return plist_new_string(value.toString().toUtf8().constData());
    case QMetaType::Bool: return plist_new_bool(value.toBool() ? 1 : 0);
    case QMetaType::Int:
    case QMetaType::LongLong: return plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
    case QMetaType::UInt:
    case QMetaType::ULongLong: {
        const qulonglong number = value.toULongLong();
        if (number > static_cast<qulonglong>(std::numeric_limits<qint64>::max())) return nullptr;
        return plist_new_uint(number);
    }
    case QMetaType::Double:
    case QMetaType::Float: return plist_new_real(value.toDouble());
    case QMetaType::QDateTime: return fromDate(value.toDateTime());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), static_cast<uint64_t>(bytes.size()));
    }
    default: return nullptr;
    }
}

} // namespace

std::optional<QVariant> fromData(const QByteArray &data)
{
    if (data.isEmpty() || data.size() > std::numeric_limits<uint32_t>::max()) return std::nullopt;
    plist_t raw = nullptr;
    plist_from_memory(data.constData(), static_cast<uint32_t>(data.size()), &raw);
    const PlistPtr root(raw);
    if (!root) return std::nullopt;
    return toVariant(root.get(), 0);
}

std::optional<QVariant> readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    return fromData(file.readAll());
}

std::optional<QByteArray> toData(const QVariant &value, Format format)
{
    const PlistPtr root(fromVariant(value, 0));
    if (!root) return std::nullopt;
    char *raw = nullptr;
    uint32_t length = 0;
    QByteArray bytes;
    if (format == Format::Xml) {
        plist_to_xml(root.get(), &raw, &length);
        if (raw == nullptr) return std::nullopt;
        bytes = QByteArray(raw, static_cast<qsizetype>(length));
        plist_to_xml_free(raw);
    } else {
        plist_to_bin(root.get(), &raw, &length);
        if (raw == nullptr) return std::nullopt;
        bytes = QByteArray(raw, static_cast<qsizetype>(length));
        plist_to_bin_free(raw);
    }
    return bytes;
}

bool writeFile(const QVariant &value, const QString &path, Format format)
{
    const std::optional<QByteArray> bytes = toData(value, format);
    if (!bytes) return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return false;
    if (file.write(*bytes) != bytes->size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

} // namespace rk::PropertyList
