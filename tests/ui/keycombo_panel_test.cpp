// The key-combination panel and its broadcaster: the modifier table, the
// notification, the panel following it (synthesised and real key presses on
// the X server), the two ways of running, a missing interface file, and a
// screenshot of the panel taken from the X server.
#include <rkcore/FrameworkResources.h>
#include <rkcore/HotKeyCenter.h>
#include <rkcore/KeyBroadcaster.h>
#include <rkcore/KeyComboPanel.h>
#include <rkcore/NotificationCenter.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMainWindow>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include "../log_capture.h"

namespace {

using rk::KeyBroadcaster;
using rk::KeyCombo;
using rk::KeyComboPanel;

QString nul(char16_t symbol)
{
    return QString(QChar(u'\0')) + QChar(symbol);
}

bool onX11()
{
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

template <typename Predicate> bool waitUntil(Predicate done, int ms = 3000)
{
    const QDeadlineTimer deadline(ms);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

bool xdotool(const QStringList &arguments)
{
    return QProcess::execute(QStringLiteral("xdotool"), arguments) == 0;
}

TEST(KeyBroadcasterTest, CocoaToCarbonModifiers)
{
    struct Row {
        const char *name;
        uint32_t flags;
        int32_t carbon;
    } rows[] = {
        {"none", 0, 0},
        {"command", 0x100000, 0x0100},
        {"option", 0x080000, 0x0800},
        {"control", 0x040000, 0x1000},
        {"shift", 0x020000, 0x0200},
        {"all four", 0x1e0000, 0x1b00},
        {"caps lock dropped", 0x010000 | 0x020000, 0x0200},
        {"numeric pad and function dropped", 0x200000 | 0x800000, 0},
        {"device bits below ignored", 0x0000ffff, 0},
        {"every bit", 0xffffffff, 0x1b00},
    };
    for (const Row &row : rows)
        EXPECT_EQ(KeyBroadcaster::cocoaToCarbonModifiers(row.flags), row.carbon) << row.name;
    EXPECT_EQ(KeyBroadcaster::eventModifierFlags(Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier |
                                                 Qt::ShiftModifier | Qt::KeypadModifier),
              0x3e0000U);
}

TEST(KeyBroadcasterTest, KeyPressesBecomeTheNotification)
{
    KeyBroadcaster broadcaster;
    QList<rk::Notification> posted;
    int observer = 0;
    rk::NotificationCenter::defaultCenter().addObserver(&observer, "KeyBraodcasterKeyEvent", nullptr,
                                                        [&posted](const rk::Notification &n) { posted << n; });
    struct Row {
        const char *name = nullptr;
        int key = 0;
        Qt::KeyboardModifiers modifiers;
        int keyCode = -1; // -1: nothing posted
        int modifierBits = 0;
    } rows[] = {
        {"ctrl shift F1", Qt::Key_F1, Qt::ControlModifier | Qt::ShiftModifier, 122, 0x0300},
        {"plain letter", Qt::Key_A, Qt::NoModifier, 0, 0},
        {"alt meta tab", Qt::Key_Tab, Qt::AltModifier | Qt::MetaModifier, 48, 0x1800},
        {"keypad enter drops the keypad flag", Qt::Key_Enter, Qt::KeypadModifier, 76, 0},
        {"F20", Qt::Key_F20, Qt::NoModifier, 90, 0},
        {"shift alone", Qt::Key_Shift, Qt::ShiftModifier, -1, 0},
        {"a key with no code", Qt::Key_Exclam, Qt::ShiftModifier, -1, 0},
    };
    for (const Row &row : rows) {
        posted.clear();
        QKeyEvent press(QEvent::KeyPress, row.key, row.modifiers);
        QCoreApplication::sendEvent(&broadcaster, &press);
        EXPECT_TRUE(press.isAccepted()) << row.name;
        if (row.keyCode < 0) {
            EXPECT_TRUE(posted.isEmpty()) << row.name;
            continue;
        }
        ASSERT_EQ(posted.size(), 1) << row.name;
        EXPECT_EQ(posted[0].sender, &broadcaster);
        EXPECT_EQ(posted[0].userInfo.value("KeyCode").toInt(), row.keyCode) << row.name;
        EXPECT_EQ(posted[0].userInfo.value("Modifiers").toInt(), row.modifierBits) << row.name;
    }
    // A key equivalent is claimed, not left to shortcuts.
    QKeyEvent shortcut(QEvent::ShortcutOverride, Qt::Key_Q, Qt::ControlModifier);
    shortcut.ignore();
    QCoreApplication::sendEvent(&broadcaster, &shortcut);
    EXPECT_TRUE(shortcut.isAccepted());
    rk::NotificationCenter::defaultCenter().removeObserver(&observer);
}

TEST(KeyComboPanelTest, FollowsEveryBroadcasterAndClears)
{
    const auto panel = KeyComboPanel::create();
    const auto other = KeyComboPanel::create();
    ASSERT_TRUE(panel && other);
    EXPECT_EQ(panel->textField()->text(), "(None)");
    EXPECT_TRUE(panel->keyCombo()->isEqual(KeyCombo::clearKeyCombo().get()));
    EXPECT_EQ(panel->window(), panel->textField()->window());

    QKeyEvent press(QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
    QCoreApplication::sendEvent(other->broadcaster(), &press);
    for (const auto &p : {panel, other}) {
        EXPECT_TRUE(p->keyCombo()->isEqual(KeyCombo::keyComboWithKeyCode(0, 0x0300).get()));
        EXPECT_EQ(p->textField()->text(), nul(u'\u2318') + nul(u'\u21E7') + "A");
    }
    panel->clear();
    EXPECT_EQ(panel->textField()->text(), "(None)");
    panel->setKeyCombo(nullptr);
    EXPECT_EQ(panel->textField()->text(), "");
    // A notification from any sender, with 32-bit modifiers kept and a 16-bit key code.
    rk::NotificationCenter::defaultCenter().post("KeyBraodcasterKeyEvent", nullptr,
                                                 {{"KeyCode", 0x1007a}, {"Modifiers", 0x10000100}});
    EXPECT_EQ(panel->keyCombo()->keyCode(), 122);
    EXPECT_EQ(panel->keyCombo()->modifiers32(), 0x10000100);
}

TEST(KeyComboPanelTest, MissingOrBrokenInterfaceFileGivesNoPanelAndALogLine)
{
    QTemporaryDir dir;
    rk::setFrameworkResourceDirectory(dir.path());
    {
        const rktest::LogCapture log;
        EXPECT_EQ(KeyComboPanel::create(), nullptr);
        EXPECT_EQ(KeyComboPanel::sharedPanel(), nullptr);
        EXPECT_EQ(rktest::LogCapture::lines(),
                  QStringList({"Failed to load KeyComboPanel nib file.", "Failed to load KeyComboPanel nib file."}));
        QFile broken(dir.filePath("KeyComboPanel.ui"));
        ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
        broken.write("<ui version=\"4.0\"><widget class=\"QDialog\" name=\"x\"/></ui>");
        broken.close();
        EXPECT_EQ(KeyComboPanel::create(), nullptr) << "no outlets";
    }
    rk::setFrameworkResourceDirectory({});
    KeyComboPanel *shared = KeyComboPanel::sharedPanel();
    ASSERT_NE(shared, nullptr) << "tried again";
    EXPECT_EQ(KeyComboPanel::sharedPanel(), shared);
}

TEST(KeyComboPanelTest, RunModalAnswersOkAndCancel)
{
    const auto panel = KeyComboPanel::create();
    ASSERT_TRUE(panel);
    QTimer later;
    later.setSingleShot(true);
    const auto ok = QObject::connect(&later, &QTimer::timeout,
                                     [&] { panel->window()->findChild<QPushButton *>("okButton")->click(); });
    later.start(50);
    EXPECT_EQ(panel->runModal(), 1);
    EXPECT_FALSE(panel->window()->isVisible());
    QObject::disconnect(ok);
    QObject::connect(&later, &QTimer::timeout, [&] { panel->cancel(); });
    later.start(50);
    EXPECT_EQ(panel->runModal(), 0);
}

class Delegate final : public rk::KeyComboPanelDelegate {
public:
    QList<std::pair<int, KeyComboPanel *>> results;
    void hotKeyGrabbedWithResult(int result, KeyComboPanel &panel) override { results.append({result, &panel}); }
};

TEST(KeyComboPanelTest, SheetFormReachesTheDelegate)
{
    const auto panel = KeyComboPanel::create();
    ASSERT_TRUE(panel);
    QMainWindow window;
    window.resize(500, 400);
    window.show();
    Delegate delegate;
    for (const int expected : {1, 0}) {
        panel->runModalForWindow(&window, &delegate);
        EXPECT_EQ(panel->window()->parentWidget(), &window);
        EXPECT_EQ(panel->window()->windowModality(), Qt::WindowModal);
        ASSERT_TRUE(waitUntil([&] { return panel->window()->isVisible(); }));
        if (expected == 1) {
            panel->ok();
        } else {
            panel->window()->findChild<QPushButton *>("cancelButton")->click();
        }
        ASSERT_EQ(delegate.results.size(), 1);
        EXPECT_EQ(delegate.results[0], std::make_pair(expected, panel.get()));
        EXPECT_FALSE(panel->window()->isVisible());
        delegate.results.clear();
    }
    EXPECT_EQ(panel->window()->parentWidget(), nullptr) << "handed back after the sheet";
}

// Real key presses on the X server reach the panel through its broadcaster,
// key equivalents included; the screenshot is the X server's own picture.
TEST(KeyComboPanelTest, RealKeyPressesAndScreenshot)
{
    if (!onX11()) GTEST_SKIP() << "needs the X server";
    const auto panel = KeyComboPanel::create();
    ASSERT_TRUE(panel);
    QMainWindow window;
    window.setWindowTitle("Preferences");
    window.resize(640, 480);
    int shortcutFired = 0;
    QShortcut quit(QKeySequence("Ctrl+Q"), &window);
    QObject::connect(&quit, &QShortcut::activated, [&] { ++shortcutFired; });
    window.show();
    ASSERT_TRUE(waitUntil([&] { return window.isActiveWindow(); }));
    panel->runModalForWindow(&window, nullptr);
    ASSERT_TRUE(waitUntil([&] { return panel->window()->isActiveWindow() && panel->broadcaster()->hasFocus(); }));

    struct Row {
        const char *keys;
        int16_t keyCode;
        int32_t modifiers;
    } rows[] = {
        {"ctrl+q", 12, 0x0100},
        {"alt+super+Tab", 48, 0x1800},
        {"ctrl+shift+F1", 122, 0x0300},
    };
    for (const Row &row : rows) {
        ASSERT_TRUE(xdotool({"key", "--clearmodifiers", row.keys}));
        const auto expected = KeyCombo::keyComboWithKeyCode(row.keyCode, row.modifiers);
        EXPECT_TRUE(waitUntil([&] { return panel->keyCombo()->isEqual(expected.get()); }))
            << row.keys << ": got " << panel->keyCombo()->keyCode() << "/" << panel->keyCombo()->modifiers32();
    }
    EXPECT_EQ(shortcutFired, 0) << "the broadcaster captures key equivalents";
    EXPECT_EQ(panel->textField()->text(), nul(u'\u2318') + nul(u'\u21E7') + "F1");

    const QString dir = QStringLiteral(RKTEST_ARTIFACT_DIR);
    QDir().mkpath(dir);
    const QPixmap screen = QGuiApplication::primaryScreen()->grabWindow(0);
    const QRect frame = panel->window()->frameGeometry().united(window.frameGeometry()).adjusted(-8, -8, 8, 8);
    ASSERT_TRUE(screen.copy(frame).save(dir + "/KeyComboPanel.png"));
    // The panel's pixels are not blank: its text field shows the combination.
    const QImage field = panel->textField()->grab().toImage();
    int dark = 0;
    for (int y = 0; y < field.height(); ++y) {
        for (int x = 0; x < field.width(); ++x)
            dark += qGray(field.pixel(x, y)) < 100 ? 1 : 0;
    }
    EXPECT_GT(dark, 20);
    panel->cancel();
}

} // namespace
