// RBLabel: one of the eight Finder labels (None plus seven colours): its name,
// colour and index. Labels are made by RBLabelManager; see there.
//
// Ownership: held in std::shared_ptr; immutable after creation, so any thread
// may read one.
#pragma once

#include <QImage>
#include <QString>

#include <cstdint>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

// A colour with 16-bit channels (0-65535).
struct RGBColor {
    uint16_t red = 0;
    uint16_t green = 0;
    uint16_t blue = 0;
    friend bool operator==(const RGBColor &, const RGBColor &) = default;
};

class RKCORE_EXPORT RBLabel final {
    struct Tag {};

public:
    // A label named `name` with `color` and system index `labelID` (0-7; 0 is None).
    static std::shared_ptr<RBLabel> initWithName(const QString &name, RGBColor color, int16_t labelID);

    RBLabel(Tag, QString name, RGBColor color, int16_t labelID);

    int16_t id() const { return labelID; }
    RGBColor color() const { return labelColor; }
    // The label's name.
    QString description() const { return labelName; }

    // The swatch image: the framework resource "l<index>.png" ("l1.png" to
    // "l7.png"), a new image each call. A null QImage for index 0 (None) and
    // when the resource is missing or unreadable.
    QImage colorSwatch() const;

private:
    QString labelName;
    RGBColor labelColor;
    int16_t labelID;
};

} // namespace rk
