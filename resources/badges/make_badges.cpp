// Draws the framework's badges: 128 x 128 transparent PNGs with the mark in
// the lower-left corner, to be drawn over an item's icon.
//   make_badges OUTPUT_DIRECTORY
// writes AliasBadge.png (a curved arrow in a white rounded square) and
// LockedBadge.png (a padlock). Only paths are drawn, so the output does not
// depend on fonts and is the same on every machine.
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cstdio>

namespace {

constexpr int kSize = 128;

QImage blank()
{
    QImage image(kSize, kSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void drawAlias(QPainter &painter)
{
    // The square: white with a grey edge and a soft shadow below it.
    const QRectF square(4, 82, 42, 42);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 60));
    painter.drawRoundedRect(square.translated(0, 1.5), 8, 8);
    painter.setBrush(Qt::white);
    painter.setPen(QPen(QColor(120, 120, 120), 1.5));
    painter.drawRoundedRect(square, 8, 8);

    // The arrow: a quarter curve from the lower left rising to the right,
    // ending in a filled head pointing up and to the right.
    QPainterPath shaft;
    shaft.moveTo(14, 116);
    shaft.cubicTo(14, 102, 22, 94, 32, 94);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(20, 20, 20), 5.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(shaft);
    QPainterPath head;
    head.moveTo(40, 94);
    head.lineTo(29, 85);
    head.lineTo(29, 103);
    head.closeSubpath();
    painter.setPen(QPen(QColor(20, 20, 20), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(QColor(20, 20, 20));
    painter.drawPath(head);
}

void drawLock(QPainter &painter)
{
    // The shackle: a thick arc above the body.
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(70, 70, 75), 6, Qt::SolidLine, Qt::FlatCap));
    QPainterPath shackle;
    shackle.moveTo(15, 100);
    shackle.lineTo(15, 92);
    shackle.arcTo(QRectF(15, 78, 22, 26), 180, -180);
    shackle.lineTo(37, 100);
    painter.drawPath(shackle);

    // The body: a rounded block with a darker edge and a keyhole.
    const QRectF body(7, 99, 38, 26);
    QLinearGradient fill(body.topLeft(), body.bottomLeft());
    fill.setColorAt(0, QColor(250, 205, 80));
    fill.setColorAt(1, QColor(215, 155, 30));
    painter.setBrush(fill);
    painter.setPen(QPen(QColor(120, 80, 10), 1.5));
    painter.drawRoundedRect(body, 5, 5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(60, 40, 10));
    painter.drawEllipse(QPointF(26, 109), 3.5, 3.5);
    painter.drawRect(QRectF(24.8, 109, 2.4, 9));
}

bool write(const QString &directory, const char *name, void (*draw)(QPainter &))
{
    QImage image = blank();
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter);
    }
    const QString path = QDir(directory).filePath(QString::fromLatin1(name));
    if (!image.save(path, "PNG")) {
        (void)std::fprintf(stderr, "make_badges: cannot write %s\n", qPrintable(path));
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        (void)std::fputs("usage: make_badges OUTPUT_DIRECTORY\n", stderr);
        return 2;
    }
    const QString directory = QString::fromLocal8Bit(argv[1]);
    if (!QDir().mkpath(directory)) return 1;
    const bool ok = write(directory, "AliasBadge.png", drawAlias) && write(directory, "LockedBadge.png", drawLock);
    return ok ? 0 : 1;
}
