// Moving an element of a list to a new index (the Objective-C array category
// NSMutableArray(Insert) as free functions), for user-ordered lists.
// Elements are compared with operator==. Header-only templates over QList.
//
// moveItem(list, object, index):
//   - index, read as unsigned, at least the count (every negative index
//     included): every element equal to object is removed and object is
//     appended.
//   - otherwise: the first position of object is remembered, every equal
//     element is removed, and object is inserted at index, or at index - 1
//     when index is greater than the remembered position (an object not in
//     the list counts as being past the end, so nothing is subtracted).
//     Moving position 1 to 3 in five elements puts it at 2, just before the
//     element that was at 3.
// moveItem(list, object, index, true) ("no removal"): the same steps, but
//   nothing is removed, while the minus-one rule still applies; so the object
//   ends up twice, the new copy one place before the requested index when
//   moving down the list. This asymmetry is deliberate.
// Where removing duplicates leaves fewer elements than the insertion index,
// the object goes at the end (never out of bounds).
//
// Thread: as the list's own.
#pragma once

#include <QList>

#include <algorithm>

namespace rk {

template <typename T> void moveItem(QList<T> &array, const T &element, int index, bool noRemoval)
{
    // A copy on purpose: `element` may live in the list and go with the removal.
    const T object = element; // NOLINT(performance-unnecessary-copy-initialization)
    const auto count = static_cast<qsizetype>(array.size());
    if (static_cast<unsigned int>(index) >= static_cast<unsigned long long>(count)) {
        if (!noRemoval) array.removeAll(object);
        array.append(object);
        return;
    }
    const qsizetype found = array.indexOf(object);
    // Not found reads as the largest index, as a "not found" marker does.
    const qsizetype current = found < 0 ? count : found;
    if (!noRemoval) array.removeAll(object);
    qsizetype target = index > current ? index - 1 : index;
    target = std::min(target, static_cast<qsizetype>(array.size()));
    array.insert(target, object);
}

template <typename T> void moveItem(QList<T> &array, const T &object, int index)
{
    moveItem(array, object, index, false);
}

// Appends object, then, when index is not negative, moveItem(array, object, index).
template <typename T> void addObject(QList<T> &array, const T &object, int index)
{
    array.append(object);
    if (index >= 0) moveItem(array, object, index);
}

} // namespace rk
