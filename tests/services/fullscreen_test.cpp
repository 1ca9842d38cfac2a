// RFullScreenNotificationCenter with real windows under the test display's
// window manager: one notification per change (not one per check), for a
// player identified as VLC and for a full-screen window; stopping the centre
// ends its thread. Windows are driven with wmctrl, an independent EWMH client.
#include <rkcore/NotificationCenter.h>
#include <rkcore/RFullScreenNotificationCenter.h>

#include "../../src/platform/X11Windows_p.h"
#include "process_test_support.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace {

constexpr int kWithinOneCheck = 7000; // ms: the 5-second period and some slack

class Recorder {
public:
    Recorder()
    {
        auto &center = rk::NotificationCenter::defaultCenter();
        for (const char *name : {rk::RFullScreenCaptured, rk::RFullScreenReleased})
            center.addObserver(this, QString::fromLatin1(name), nullptr,
                               [this](const rk::Notification &note) { names.append(note.name); });
    }
    ~Recorder() { rk::NotificationCenter::defaultCenter().removeObserver(this); }
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;
    QStringList names;
};

class FullScreen : public testing::Test {
protected:
    void SetUp() override
    {
        if (!rktest::haveDisplay()) GTEST_SKIP() << "needs an X display with a window manager";
        windows = rk::platform::X11Windows::open();
        ASSERT_NE(windows, nullptr);
    }

    std::unique_ptr<rktest::Child> startWindow(QList<QByteArray> arguments, uint32_t &window)
    {
        arguments.prepend("window_fixture");
        auto child = std::make_unique<rktest::Child>(rktest::windowFixturePath().constData(), arguments);
        window = static_cast<uint32_t>(std::stoul("0" + child->readLine()));
        EXPECT_TRUE(rktest::waitFor([&] { return !windows->windowsOfProcess(child->pid()).empty(); }));
        return child;
    }

    void activate(uint32_t window)
    {
        ASSERT_EQ(rktest::shell("wmctrl -i -a " + std::to_string(window)), 0);
        ASSERT_TRUE(rktest::waitFor([&] { return windows->activeWindow() == window; }));
    }

    std::unique_ptr<rk::platform::X11Windows> windows;
};

TEST_F(FullScreen, APlayerInFrontIsAnnouncedOnceAndItsLeavingOnce)
{
    uint32_t other = 0;
    uint32_t player = 0;
    const auto plain = startWindow({"--title", "plain"}, other);
    const auto vlc = startWindow({"--class", "vlc", "--title", "VLC media player"}, player);
    activate(other);

    Recorder recorder;
    const auto center = rk::RFullScreenNotificationCenter::create();
    EXPECT_FALSE(center->nonNiceAppsAreFront());
    center->run();
    activate(player);
    EXPECT_TRUE(center->nonNiceAppsAreFront());
    ASSERT_TRUE(rktest::waitFor([&] { return !recorder.names.isEmpty(); }, kWithinOneCheck));
    EXPECT_EQ(recorder.names, QStringList{QString::fromLatin1(rk::RFullScreenCaptured)});
    // Another check passes with the player still in front: nothing new.
    rktest::waitFor([] { return false; }, 5500);
    EXPECT_EQ(recorder.names.size(), 1);

    activate(other);
    ASSERT_TRUE(rktest::waitFor([&] { return recorder.names.size() >= 2; }, kWithinOneCheck));
    EXPECT_EQ(recorder.names, (QStringList{QString::fromLatin1(rk::RFullScreenCaptured),
                                           QString::fromLatin1(rk::RFullScreenReleased)}));
    EXPECT_FALSE(center->reportedScreenCapture());
}

TEST_F(FullScreen, AFullScreenWindowCountsAsACapturedDisplay)
{
    uint32_t window = 0;
    const auto child = startWindow({"--title", "game"}, window);
    activate(window);
    ASSERT_EQ(rktest::shell("wmctrl -i -r " + std::to_string(window) + " -b add,fullscreen"), 0);
    ASSERT_TRUE(rktest::waitFor([&] { return windows->isFullScreen(window); }));

    Recorder recorder;
    const auto center = rk::RFullScreenNotificationCenter::create();
    center->run();
    // The first check happens at once.
    ASSERT_TRUE(rktest::waitFor([&] { return !recorder.names.isEmpty(); }, 2000));
    EXPECT_EQ(recorder.names.front(), QString::fromLatin1(rk::RFullScreenCaptured));
    EXPECT_FALSE(center->nonNiceAppsAreFront());

    ASSERT_EQ(rktest::shell("wmctrl -i -r " + std::to_string(window) + " -b remove,fullscreen"), 0);
    ASSERT_TRUE(rktest::waitFor([&] { return recorder.names.size() >= 2; }, kWithinOneCheck));
    EXPECT_EQ(recorder.names.at(1), QString::fromLatin1(rk::RFullScreenReleased));
    EXPECT_EQ(recorder.names.size(), 2);
}

TEST_F(FullScreen, GtkApplicationIdsNameThePlayer)
{
    uint32_t window = 0;
    const auto child = startWindow({"--class", "Other", "--gtk-id", "org.videolan.vlc"}, window);
    activate(window);
    const auto center = rk::RFullScreenNotificationCenter::create();
    EXPECT_TRUE(center->nonNiceAppsAreFront());
    EXPECT_EQ(windows->applicationIdentifier(window), QStringLiteral("org.videolan.vlc"));
}

TEST(FullScreenCentre, StopsAndIsDestroyedWithoutADisplay)
{
    const QByteArray display = qgetenv("DISPLAY");
    qunsetenv("DISPLAY");
    {
        Recorder recorder;
        auto center = rk::RFullScreenNotificationCenter::create();
        EXPECT_FALSE(center->nonNiceAppsAreFront());
        center->run();
        center->run(); // a second run while running does nothing
        EXPECT_TRUE(center->isRunning());
        rktest::waitFor([] { return false; }, 200);
        center->stop();
        EXPECT_FALSE(center->isRunning());
        center->stop();
        center->run(); // and it can be run again
        EXPECT_TRUE(center->isRunning());
        center.reset(); // the destructor ends the thread
        EXPECT_TRUE(recorder.names.isEmpty());
    }
    if (!display.isNull()) qputenv("DISPLAY", display);
}

TEST(FullScreenCentre, WindowClassesOfPlayers)
{
    struct Row {
        const char *windowClass;
        const char *identifier;
    } rows[] = {{"vlc", "org.videolan.vlc"}, {"VLC", "org.videolan.vlc"}, {"Vlc2", "Vlc2"}, {"mpv", "mpv"}};
    for (const Row &row : rows)
        EXPECT_EQ(rk::platform::applicationIdentifierForWindowClass(QString::fromLatin1(row.windowClass)),
                  QString::fromLatin1(row.identifier))
            << row.windowClass;
}

} // namespace
