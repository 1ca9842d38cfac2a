// A folder's children: gathered from its record into the full list, thinned
// into the visible list, and sorted on one of four attributes. And the name
// functions a browser uses to decide what to hide.
#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBFileSystemObjectSize.h>

#include "../platform/MountTable_p.h"
#include "RBFileSystemObject_p.h"

#include <QSet>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <regex.h>
#include <sys/stat.h>

namespace rk {

namespace {

// The list that readers and the sort work on.
RBFileSystemObjectList &listInForce(RBFileSystemObjectPrivate &state)
{
    return state._isFiltered ? state._unfilteredItems : state.actualContents;
}

int32_t compareValues(auto a, auto b)
{
    return a > b ? 1 : (a < b ? -1 : 0);
}

// A case-insensitive sort key: the name case-folded, compared as UTF-16.
QString foldedName(const RBFileSystemObject &object)
{
    return object.name().toCaseFolded();
}

// Appends the case-folded name of `object` to `arena` (UTF-16, as
// QString::toCaseFolded gives it). The name comes from the record's path
// bytes when nothing overrides it; ASCII is folded byte by byte, anything
// else through QString.
void appendFoldedName(std::u16string &arena, const RBFileSystemObject &object, const QString &overridePath)
{
    const rpf_fso *record = object.cstruct();
    if (!overridePath.isNull() || record == nullptr || record->complete_path == nullptr || object.isVolume()) {
        const QString folded = foldedName(object);
        arena.append(reinterpret_cast<const char16_t *>(folded.utf16()), static_cast<size_t>(folded.size()));
        return;
    }
    const char *path = record->complete_path;
    size_t length = std::strlen(path);
    while (length > 1 && path[length - 1] == '/')
        --length;
    size_t start = length;
    while (start > 0 && path[start - 1] != '/')
        --start;
    if (length == 1 && path[0] == '/') start = 0; // "/" is its own name
    const size_t mark = arena.size();
    for (size_t i = start; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(path[i]);
        if (byte >= 0x80U) {
            arena.resize(mark);
            const QString folded =
                QString::fromUtf8(path + start, static_cast<qsizetype>(length - start)).toCaseFolded();
            arena.append(reinterpret_cast<const char16_t *>(folded.utf16()), static_cast<size_t>(folded.size()));
            return;
        }
        arena.push_back(static_cast<char16_t>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte));
    }
}

// The size a size sort compares: 0 for a folder (never measured), else the
// total size of the item's size object (0 when it has none).
uint64_t sortSizeOf(const RBFileSystemObject &object)
{
    if (object.isFolder()) return 0;
    const auto size = object.sizeObject();
    return size ? size->totalSize() : 0;
}

// Sorts (key, position) pairs by key, stable: the position breaks ties, which
// needs no merge buffer.
template <typename Key, typename Less> void sortKeyed(std::vector<std::pair<Key, qsizetype>> &keyed, Less less)
{
    std::sort(keyed.begin(), keyed.end(), [&less](const auto &a, const auto &b) {
        if constexpr (std::is_arithmetic_v<Key>) {
            return a < b; // less is std::less here: compare key, then position
        } else {
            if (less(a.first, b.first)) return true;
            if (less(b.first, a.first)) return false;
            return a.second < b.second;
        }
    });
}

// The items of `list` in the order of `keyed`'s positions, moved rather than
// copied so that no reference count changes hands.
template <typename Key>
RBFileSystemObjectList takeInOrder(RBFileSystemObjectList &&list, const std::vector<std::pair<Key, qsizetype>> &keyed)
{
    RBFileSystemObjectList sorted;
    sorted.reserve(list.size());
    for (const auto &entry : keyed)
        sorted.append(std::move(list[entry.second]));
    return sorted;
}

// A number key as an unsigned value in the same order (signed values have
// their sign bit turned over).
template <typename Key> uint64_t orderedBits(Key key)
{
    if constexpr (std::is_signed_v<Key>)
        return static_cast<uint64_t>(static_cast<int64_t>(key)) ^ (uint64_t{1} << 63U);
    else
        return static_cast<uint64_t>(key);
}

// A stable least-significant-byte radix sort of (key, position) pairs. A byte
// that is the same in every key is skipped, so sizes and times of one folder
// take a few passes, and equal keys (many files of one size) cost nothing
// extra, where a comparison sort would still compare their positions.
void radixSort(std::vector<std::pair<uint64_t, qsizetype>> &keyed)
{
    std::vector<std::pair<uint64_t, qsizetype>> buffer(keyed.size());
    for (unsigned shift = 0; shift < 64; shift += 8) {
        std::array<size_t, 256> counts{};
        for (const auto &entry : keyed)
            ++counts[(entry.first >> shift) & 0xFFU];
        if (std::find(counts.begin(), counts.end(), keyed.size()) != counts.end()) continue;
        size_t start = 0;
        for (size_t &count : counts)
            start += std::exchange(count, start);
        for (const auto &entry : keyed)
            buffer[counts[(entry.first >> shift) & 0xFFU]++] = entry;
        keyed.swap(buffer);
    }
}

// How far ahead the key pass asks for each level of an item's memory.
constexpr qsizetype kPrefetchDistance = 8;
constexpr int kPrefetchLevels = 4;

// `list` sorted by a key made once per item, stable. The items, their state
// and their records lie in separate blocks all over the heap, and reading a
// key follows one pointer to the next: `prefetch(item, level)` asks for levels
// 0 to 3 of that chain ahead of time, so that the pass waits on memory once
// per item rather than once per pointer. Number keys are radix-sorted.
template <typename KeyOf, typename Less, typename Prefetch>
RBFileSystemObjectList sortedByKey(RBFileSystemObjectList &&list, KeyOf keyOf, Less less, Prefetch prefetch)
{
    using Key = decltype(keyOf(*list.front()));
    using Stored = std::conditional_t<std::is_arithmetic_v<Key>, uint64_t, Key>;
    std::vector<std::pair<Stored, qsizetype>> keyed;
    const qsizetype count = list.size();
    keyed.reserve(static_cast<size_t>(count));
    for (qsizetype i = 0; i < count; ++i) {
        for (int level = 0; level < kPrefetchLevels; ++level) {
            const qsizetype ahead = i + (kPrefetchLevels - level) * kPrefetchDistance;
            if (ahead < count) prefetch(*list.at(ahead), level);
        }
        if constexpr (std::is_arithmetic_v<Key>)
            keyed.emplace_back(orderedBits(keyOf(*list.at(i))), i);
        else
            keyed.emplace_back(keyOf(*list.at(i)), i);
    }
    if constexpr (std::is_arithmetic_v<Key>)
        radixSort(keyed); // ascending, as `less` (std::less) orders
    else
        sortKeyed(keyed, less);
    return takeInOrder(std::move(list), keyed);
}

} // namespace

// ---- children ----

void RBFileSystemObject::performAssimilation()
{
    const int32_t total = _subdirectoryCount() + _fileCount();
    d->_unfilteredItems = {};
    d->actualContents = {};
    if (total <= 0) return;
    d->actualContents.reserve(total);
    // Children of a folder this framework read are identified from what the
    // read already learnt; the mount table is read once for all of them.
    std::optional<platform::MountTable> mounts;
    for (int32_t i = 0; i < total; ++i) {
        auto child = child_fso_at_index(i);
        if (!child) continue; // the record refused the index: nothing to list
        if (child->isLocal()) {
            rpf_fso *record = child->d->_fso_struct;
            if (child->d->tree && record->parent != nullptr) {
                if (!mounts) mounts = platform::MountTable::snapshot();
                RBFileSystemObjectPrivate::identifyFromRecord(*child, *mounts);
            } else {
                child->identify();
            }
        }
        d->actualContents.append(std::move(child));
    }
}

std::shared_ptr<RBFileSystemObject> RBFileSystemObject::child_fso_at_index(int32_t index) const
{
    rpf_fso *record = d->_fso_struct;
    if (record == nullptr) return nullptr;
    const int32_t files = rpf_fso_file_count(record);
    rpf_fso *child = index < files ? rpf_fso_get_subitem_at_index(record, index, 2)
                                   : rpf_fso_get_subitem_at_index(record, index - files, RPF_FSO_SUBDIRECTORIES);
    return child != nullptr ? RBFileSystemObjectPrivate::objectFor(child, d->tree) : nullptr;
}

int32_t RBFileSystemObject::_fileCount() const
{
    return d->_fso_struct != nullptr ? rpf_fso_file_count(d->_fso_struct) : -1;
}

int32_t RBFileSystemObject::_subdirectoryCount() const
{
    return d->_fso_struct != nullptr ? rpf_fso_subdirectory_count(d->_fso_struct) : -1;
}

void RBFileSystemObject::invalidateFilteredItems()
{
    d->_isFiltered = false;
    d->_unfilteredItems.clear();
    d->_unfilteredItems = d->actualContents;
}

void RBFileSystemObject::hideItem(const RBFileSystemObject *item)
{
    d->_unfilteredItems.removeIf([item](const auto &child) { return child.get() == item; });
}

void RBFileSystemObject::setIsHidden(bool /*hidden*/)
{
    // Whatever the argument, the item is taken out of its parent's visible
    // list: callers only ever hide.
    if (const auto parentObject = parent()) parentObject->hideItem(this);
}

bool RBFileSystemObject::isHidden() const
{
    return d->_isHidden;
}

bool RBFileSystemObject::isFiltered() const
{
    return d->_isFiltered;
}

void RBFileSystemObject::setIsFiltered(bool filtered)
{
    d->_isFiltered = filtered;
}

int32_t RBFileSystemObject::filteredItemCount() const
{
    return static_cast<int32_t>(d->actualContents.size() - d->_unfilteredItems.size());
}

const RBFileSystemObjectList &RBFileSystemObject::actualContents() const
{
    return d->actualContents;
}

const RBFileSystemObjectList &RBFileSystemObject::unfilteredItems() const
{
    return d->_unfilteredItems;
}

// ---- sorting ----

// The case-folded names, made once into one buffer, sorted as UTF-16 with the
// argument's name first (Z to A), stable.
RBFileSystemObjectList RBFileSystemObject::sortedByName(RBFileSystemObjectList &&items)
{
    std::u16string arena;
    arena.reserve(static_cast<size_t>(items.size()) * 32);
    std::vector<std::pair<size_t, size_t>> spans;
    spans.reserve(static_cast<size_t>(items.size()));
    for (const auto &item : items) {
        const size_t start = arena.size();
        appendFoldedName(arena, *item, item->d->myCompletePath);
        spans.emplace_back(start, arena.size() - start);
    }
    std::vector<std::pair<std::u16string_view, qsizetype>> keyed;
    keyed.reserve(spans.size());
    for (size_t i = 0; i < spans.size(); ++i)
        keyed.emplace_back(std::u16string_view(arena).substr(spans[i].first, spans[i].second),
                           static_cast<qsizetype>(i));
    // Qt's comparison of UTF-16 (vectorised), the same order as QString's; one
    // comparison per pair, the position breaking ties.
    std::sort(keyed.begin(), keyed.end(), [](const auto &a, const auto &b) {
        const int order = QStringView(b.first).compare(QStringView(a.first));
        return order != 0 ? order < 0 : a.second < b.second;
    });
    return takeInOrder(std::move(items), keyed);
}

void RBFileSystemObject::setSortsByAttribute(int32_t attribute, int32_t order)
{
    d->mySortOrder = order;
    d->mySortOnAttribute = attribute;
    const bool known = attribute == kRBSortByAccess || attribute == kRBSortByDate || attribute == kRBSortByName ||
                       attribute == kRBSortBySize;
    RBFileSystemObjectList &list = listInForce(*d);
    if (!known || list.isEmpty()) return;
    RBFileSystemObjectList items = std::move(list);
    RBFileSystemObjectList sorted;
    // The object, then its state (read from the object), then its record and
    // size object (read from the state), then the size object's counters.
    const auto prefetch = [](const RBFileSystemObject &item, int level) {
        switch (level) {
        case 0: __builtin_prefetch(&item); break;
        case 1:
            // The lines that hold the record pointer, the kind and the size.
            __builtin_prefetch(&item.d->_fso_struct);
            __builtin_prefetch(&item.d->cachedSizeObject);
            __builtin_prefetch(&item.d->myItemsType);
            break;
        case 2:
            __builtin_prefetch(item.d->_fso_struct);
            __builtin_prefetch(item.d->cachedSizeObject.get());
            break;
        default:
            // The counters behind the size object.
            if (const auto &size = item.d->cachedSizeObject) __builtin_prefetch(size->record());
            break;
        }
    };
    switch (attribute) {
    case kRBSortByAccess:
        sorted = sortedByKey(
            std::move(items), [](const RBFileSystemObject &item) { return item.permissions()->intValue(); },
            std::less<>(), prefetch);
        break;
    case kRBSortByDate:
        sorted = sortedByKey(
            std::move(items),
            [](const RBFileSystemObject &item) {
                const rpf_fso *record = item.d->_fso_struct; // dateAsTimeT, without the call
                return record != nullptr ? int64_t{record->mtime} : int64_t{-1};
            },
            std::less<>(), prefetch);
        break;
    case kRBSortByName:
        // The comparator puts the argument's name first: Z to A.
        sorted = sortedByName(std::move(items));
        break;
    default: // size
        sorted = sortedByKey(
            std::move(items),
            [](const RBFileSystemObject &item) {
                // isFolder() spelt out: a local folder, or any directory record.
                const RBFileSystemObjectPrivate &state = *item.d;
                const rpf_fso *record = state._fso_struct;
                const bool folder =
                    record != nullptr && (record->type == RPF_FSO_TYPE_DIRECTORY ||
                                          (record->locality == RPF_FSO_LOCAL && state.myItemsType == kRBKindFolder));
                if (folder) return uint64_t{0};
                if (state.cachedSizeObject) {
                    // totalSize(), read in place: the sort reads 100,000 of them.
                    const RBSizeRecord *counters = state.cachedSizeObject->record();
                    return counters != nullptr ? counters->counters[kRBSizeTotal] : uint64_t{0};
                }
                return sortSizeOf(item);
            },
            std::less<>(), prefetch);
        break;
    }
    if (d->mySortOrder == 1) std::reverse(sorted.begin(), sorted.end());
    list = std::move(sorted);
}

int32_t RBFileSystemObject::sortAttribute() const
{
    return d->mySortOnAttribute;
}

int32_t RBFileSystemObject::sortOrder() const
{
    return d->mySortOrder;
}

RBFileSystemObjectList RBFileSystemObject::_swapArray(const RBFileSystemObjectList &items)
{
    RBFileSystemObjectList reversed(items.crbegin(), items.crend());
    return reversed;
}

int32_t RBFileSystemObject::_sortByAccess(const RBFileSystemObject &other) const
{
    return compareValues(permissions()->intValue(), other.permissions()->intValue());
}

int32_t RBFileSystemObject::_sortByDate(const RBFileSystemObject &other) const
{
    return compareValues(dateAsTimeT(), other.dateAsTimeT());
}

int32_t RBFileSystemObject::_sortByName(const RBFileSystemObject &other) const
{
    const int result = QString::compare(foldedName(other), foldedName(*this), Qt::CaseSensitive);
    return compareValues(result, 0);
}

int32_t RBFileSystemObject::_sortBySize(const RBFileSystemObject &other) const
{
    return compareValues(sortSizeOf(*this), sortSizeOf(other));
}

// ---- name functions ----

bool isHidden(const QString &name)
{
    if (name.isEmpty()) return false;
    if (name.front() == QLatin1Char('.')) return true;
    static const QSet<QString> systemNames = {
        QStringLiteral("bin"),
        QStringLiteral("cores"),
        QStringLiteral("Desktop DB"),
        QStringLiteral("Desktop DF"),
        QStringLiteral("dev"),
        QStringLiteral("etc"),
        QStringLiteral("mach"),
        QStringLiteral("mach_kernel"),
        QStringLiteral("mach.sym"),
        QStringLiteral("private"),
        QStringLiteral("SystemFolderX"),
        QStringLiteral("tmp"),
        QStringLiteral("Trash"),
        QStringLiteral("usr"),
        QStringLiteral("var"),
        QStringLiteral("VM Storage"),
        QStringLiteral("sbin"),
        QStringLiteral("TheVolumeSettingsFolder"),
        QStringLiteral("Network Trash Folder"),
        QStringLiteral("gmon.out"),
        QStringLiteral("TheFindByContentFolder"),
        QStringLiteral("automount"),
        QStringLiteral(".vol"),
        QStringLiteral(".hidden"),
        QStringLiteral(".Trashes"),
        QStringLiteral("Volumes"),
        QStringLiteral(".DS_Store"),
        QStringLiteral("Temporary Items"),
    };
    return systemNames.contains(name);
}

bool matchesRegex(const QString &text, const QString &pattern)
{
    const QByteArray subject = text.toUtf8();
    const QByteArray expression = pattern.toUtf8();
    // A C string ends at its first NUL: such a text has no C-string form.
    if (subject.contains('\0') || expression.contains('\0')) return false;
    regex_t compiled;
    if (regcomp(&compiled, expression.constData(), REG_EXTENDED | REG_ICASE | REG_NOSUB) != 0) return false;
    const bool matched = regexec(&compiled, subject.constData(), 0, nullptr, 0) == 0;
    regfree(&compiled);
    return matched;
}

QStringList arrayValue(const QString &text)
{
    QStringList units;
    units.reserve(text.size());
    for (const QChar unit : text)
        units.append(QString(unit));
    return units;
}

QString _escapeString(const QString &text, const QString &character)
{
    if (character.size() != 1) return text;
    QString escaped;
    escaped.reserve(text.size() * 2);
    for (const QChar unit : text) {
        if (unit == character.front()) escaped.append(QLatin1Char('\\'));
        escaped.append(unit);
    }
    return escaped;
}

QString _escapeString(const QString &text)
{
    static const QString metacharacters = QStringLiteral("^.[$()|*+?{\\");
    // Only a text that begins (after white space) with a metacharacter is
    // escaped; one with metacharacters further on stays as it is.
    qsizetype first = 0;
    while (first < text.size() && text.at(first).isSpace())
        ++first;
    if (first == text.size() || !metacharacters.contains(text.at(first))) return text;
    QString escaped = text;
    // The backslash first, so that the backslashes added later stay single.
    for (const char *character : {"\\", ".", "$", "^", "[", "(", ")", "|", "*", "+", "?", "{"})
        escaped = _escapeString(escaped, QString::fromLatin1(character));
    return escaped;
}

} // namespace rk
