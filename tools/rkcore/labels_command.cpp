// rkcore labels: the eight Finder labels in menu order, with their colours.
//
//   rkcore labels
//
// One line each: the index, the name, the colour as #rrggbb and its 16-bit
// channels, and whether a swatch image is there.

#include <rkcore/RBLabelManager.h>

#include "cli.h"
#include "commands.h"

namespace rkcli {

int labelsCommand(const Arguments & /*arguments*/)
{
    for (const auto &label : rk::RBLabelManager::sharedLabelManager().labelArray()) {
        const rk::RGBColor color = label->color();
        const QImage swatch = label->colorSwatch();
        printLine(QStringLiteral("%1  %2 #%3%4%5  (%6, %7, %8)  %9")
                      .arg(label->id())
                      .arg(label->description(), -7)
                      .arg(color.red >> 8, 2, 16, QLatin1Char('0'))
                      .arg(color.green >> 8, 2, 16, QLatin1Char('0'))
                      .arg(color.blue >> 8, 2, 16, QLatin1Char('0'))
                      .arg(color.red)
                      .arg(color.green)
                      .arg(color.blue)
                      .arg(swatch.isNull() ? QStringLiteral("no swatch")
                                           : QStringLiteral("swatch l%1.png %2x%3")
                                                 .arg(label->id())
                                                 .arg(swatch.width())
                                                 .arg(swatch.height())));
    }
    return 0;
}

} // namespace rkcli
