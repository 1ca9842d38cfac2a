// The icons objects show, drawn in a real window and read back from the X
// server: plain, alias-badged and lock-badged, local and remote.
#include <rkcore/RBFileSystemObject.h>
#include <rkcore/rpf_diagnostics.h>

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include <unistd.h>

using namespace rk;

namespace {

// Shows images side by side on a white window.
class IconStrip final : public QRasterWindow {
public:
    explicit IconStrip(QList<QImage> images) : images_(std::move(images))
    {
        resize(static_cast<int>(images_.size()) * (kIconSize + kGap) + kGap, kIconSize + 2 * kGap);
    }
    static constexpr int kIconSize = 128;
    static constexpr int kGap = 16;

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter painter(this);
        painter.fillRect(QRect(QPoint(0, 0), size()), Qt::white);
        for (qsizetype i = 0; i < images_.size(); ++i)
            painter.drawImage(QPoint(kGap + static_cast<int>(i) * (kIconSize + kGap), kGap), images_.at(i));
    }

private:
    QList<QImage> images_;
};

// Runs the event loop until `window` is on screen (5 s at most), then a little
// longer so that the server has drawn it.
bool waitUntilExposed(QWindow &window)
{
    QElapsedTimer timer;
    timer.start();
    while (!window.isExposed() && timer.elapsed() < 5000)
        QGuiApplication::processEvents(QEventLoop::AllEvents, 50);
    const qint64 exposedAt = timer.elapsed();
    while (timer.elapsed() < exposedAt + 300)
        QGuiApplication::processEvents(QEventLoop::AllEvents, 50);
    return window.isExposed();
}

// How many pixels of `area` in `image` differ from white.
int inkIn(const QImage &image, const QRect &area)
{
    int ink = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (image.pixel(x, y) != qRgb(255, 255, 255)) ++ink;
    return ink;
}

TEST(Icons, AreDrawnWithTheirBadgesOnTheXServer)
{
    QTemporaryDir dir;
    const QString root = dir.path();
    std::ofstream((root + "/plain.txt").toStdString()) << "text";
    QFile::link(root + "/plain.txt", root + "/link");
    std::ofstream((root + "/hard.txt").toStdString()) << "text";
    ASSERT_EQ(link((root + "/hard.txt").toUtf8().constData(), (root + "/hard-2.txt").toUtf8().constData()), 0);

    const auto folder = RBFileSystemObject::newFSOForLocalPath(root);
    ASSERT_TRUE(folder);
    QList<QImage> icons;
    for (const char *name : {"plain.txt", "link", "hard.txt"}) {
        for (const auto &child : folder->actualContents())
            if (child->name() == QLatin1String(name)) icons << child->iconForFSOUsingCached(true);
    }
    icons.prepend(folder->iconForFSOUsingCached(false));
    // A remote link: the generic file icon with the alias badge.
    char *date = strdup("Jan 1 2020");
    rpf_fso *remote = rpf_fso_new(RPF_FSO_TYPE_LINK, RPF_FSO_REMOTE, 777, date, "/pub/l", strdup("o"), strdup("g"), 1,
                                  0, strdup("target"), "/pub");
    icons << RBFileSystemObject::newFSOWithCStruct(remote)->iconForFSOUsingCached(false);
    rpf_fso_destroy_deep(remote); // its object went with the line above
    ASSERT_EQ(icons.size(), 5);
    for (const QImage &icon : icons)
        EXPECT_EQ(icon.size(), QSize(128, 128));
    // The badge changes the lower-left corner only; the cached icon comes back as it was.
    const QRect corner(0, 80, 48, 48);
    EXPECT_NE(icons[1].copy(corner), icons[2].copy(corner));
    EXPECT_NE(icons[1].copy(corner), icons[3].copy(corner)); // two hard links: the whole word counts as locked
    EXPECT_EQ(icons[1].copy(QRect(64, 0, 64, 64)), icons[2].copy(QRect(64, 0, 64, 64)));

    if (QGuiApplication::platformName() != QLatin1String("xcb")) GTEST_SKIP() << "no X server to draw on";
    IconStrip window(icons);
    window.show();
    ASSERT_TRUE(waitUntilExposed(window));
    const QImage shot = window.screen()
                            ->grabWindow(0, window.x(), window.y(), window.width(), window.height())
                            .toImage()
                            .convertToFormat(QImage::Format_RGB32);
    QDir().mkpath(QStringLiteral(RKTEST_ARTIFACT_DIR));
    const QString out = QStringLiteral(RKTEST_ARTIFACT_DIR "/icons.png");
    EXPECT_TRUE(shot.save(out));
    for (int i = 0; i < icons.size(); ++i) {
        const QRect cell(IconStrip::kGap + i * (IconStrip::kIconSize + IconStrip::kGap), IconStrip::kGap,
                         IconStrip::kIconSize, IconStrip::kIconSize);
        EXPECT_GT(inkIn(shot, cell), 2000) << "icon " << i << " is missing from " << out.toStdString();
    }
}

} // namespace
