// Draws the label swatches l1.png .. l7.png: a 16 x 16 rounded tile in the
// label's colour, lighter at the top, with a darker rim, on a transparent
// ground. The colours come from the library's own label table, so the artwork
// follows it.
//   make_label_swatches OUTPUT-FOLDER     (cmake --build ... --target label-swatches)
#include <rkcore/RBLabelManager.h>

#include <QColor>
#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <cstdio>

namespace {

constexpr int kSize = 16;

QColor toQColor(rk::RGBColor color)
{
    return QColor::fromRgba64(color.red, color.green, color.blue);
}

QImage drawSwatch(const QColor &color)
{
    QImage image(kSize, kSize, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF tile(1.5, 1.5, kSize - 3.0, kSize - 3.0);
    QPainterPath shape;
    shape.addRoundedRect(tile, 3.0, 3.0);
    QLinearGradient fill(tile.topLeft(), tile.bottomLeft());
    fill.setColorAt(0.0, color.lighter(135));
    fill.setColorAt(1.0, color);
    painter.fillPath(shape, fill);
    // A soft highlight over the upper half.
    QPainterPath shine;
    shine.addRoundedRect(QRectF(tile.left() + 1.5, tile.top() + 1.0, tile.width() - 3.0, tile.height() / 2.5), 2.0,
                         2.0);
    painter.fillPath(shine, QColor(255, 255, 255, 70));
    painter.setPen(QPen(color.darker(140), 1.0));
    painter.drawPath(shape);
    painter.end();
    return image;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        (void)std::fputs("usage: make_label_swatches OUTPUT-FOLDER\n", stderr);
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    for (const auto &label : rk::RBLabelManager::sharedLabelManager().labelArray()) {
        if (label->id() == 0) continue;
        const QString file = out.filePath(QStringLiteral("l%1.png").arg(label->id()));
        if (!drawSwatch(toQColor(label->color())).save(file, "PNG")) {
            (void)std::fprintf(stderr, "make_label_swatches: cannot write %s\n", qPrintable(file));
            return 1;
        }
    }
    return 0;
}
