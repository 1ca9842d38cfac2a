// RBLabelManager: the eight Finder labels in the order of the Finder's label
// menu: indices 0, 6, 7, 5, 2, 4, 3, 1, that is None, Red, Orange, Yellow,
// Green, Blue, Purple, Gray, with the Finder's default names and colours.
//
// Ownership: sharedLabelManager() is made on first use and lives until the
// process ends; the labels are shared objects. Thread: reads from any thread;
// setLabelArray only while no other thread reads.
#pragma once

#include <QList>

#include <cstdint>
#include <memory>

#include <rkcore/Conventions.h>
#include <rkcore/RBLabel.h>

namespace rk {

class RKCORE_EXPORT RBLabelManager final {
public:
    // The shared manager, its labels loaded.
    static RBLabelManager &sharedLabelManager();

    // A manager of its own with the labels loaded (mostly for tests).
    RBLabelManager();

    QList<std::shared_ptr<RBLabel>> labelArray() const { return m_labelArray; }
    void setLabelArray(QList<std::shared_ptr<RBLabel>> labels);

    // The first label whose id() equals `labelID`, or nullptr (8 and above).
    std::shared_ptr<RBLabel> labelWithID(uint16_t labelID) const;

    // The first label of labelArray() (None), or nullptr when the array is empty.
    std::shared_ptr<RBLabel> noneLabel() const;

private:
    void _loadSystemLabels();

    QList<std::shared_ptr<RBLabel>> m_labelArray;
};

} // namespace rk
