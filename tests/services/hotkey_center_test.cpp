// HotKeyCenter without key presses: the registry, its assertions, the enable
// quirk and the event checks. (Presses through the X server: hotkey_x11_test.)
#include <rkcore/AssertionFailure.h>
#include <rkcore/HotKeyCenter.h>

#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include "hotkey_test_support.h"

namespace {

using rk::HotKeyCenter;
using rk::KeyCombo;

// Combinations nobody else on the test display binds.
std::shared_ptr<KeyCombo> comboF(int16_t keyCode)
{
    return KeyCombo::keyComboWithKeyCode(keyCode, KeyCombo::kCmdKey | KeyCombo::kShiftKey | KeyCombo::kOptionKey);
}

template <typename F> rk::AssertionFailure assertionOf(F &&call)
{
    try {
        call();
    } catch (const rk::AssertionFailure &failure) {
        return failure;
    }
    ADD_FAILURE() << "no assertion";
    return {QString(), nullptr, QString(), 0, QString()};
}

TEST(HotKeyCenterTest, AddHotKeyParameterAssertions)
{
    auto center = HotKeyCenter::create();
    rktest::HotKeyTarget target;
    const auto combo = comboF(122);
    struct Row {
        const char *name;
        QString hotKeyName;
        std::shared_ptr<KeyCombo> combo;
        QObject *target;
        const char *action;
        int line;
        const char *description;
    } rows[] = {
        {"no name", QString(), combo, &target, "pressed", 123, "name != nil"},
        {"no name beats no combo", QString(), nullptr, nullptr, nullptr, 123, "name != nil"},
        {"no combo", "a", nullptr, &target, "pressed", 124, "combo != nil"},
        {"no target", "a", combo, nullptr, "pressed", 125, "target != nil"},
        {"no action", "a", combo, &target, nullptr, 126, "action != nil"},
        {"empty action", "a", combo, &target, "", 126, "action != nil"},
    };
    for (const Row &row : rows) {
        const auto failure =
            assertionOf([&] { (void)center->addHotKey(row.hotKeyName, row.combo, row.target, row.action); });
        EXPECT_EQ(failure.file(), "Hot Keys/HotKeyCenter") << row.name;
        EXPECT_EQ(failure.line(), row.line) << row.name;
        EXPECT_EQ(failure.description(), QStringLiteral("Invalid parameter not satisfying: %1").arg(row.description))
            << row.name;
        EXPECT_EQ(failure.method(), "-[HotKeyCenter addHotKey:combo:target:action:]") << row.name;
    }
    EXPECT_TRUE(center->allNames().isEmpty());
    const auto reg = assertionOf([&] { (void)center->_registerHotKeyIfNeeded(nullptr); });
    EXPECT_EQ(reg.line(), 286);
    EXPECT_EQ(reg.description(), "Invalid parameter not satisfying: hk != nil");
    const auto unreg = assertionOf([&] { center->_unregisterHotKeyIfNeeded(nullptr); });
    EXPECT_EQ(unreg.line(), 312);
    EXPECT_EQ(unreg.description(), "Invalid parameter not satisfying: hk != nil");
}

TEST(HotKeyCenterTest, NamesCombinationsReplacementAndRemoval)
{
    if (!rktest::haveDisplay()) GTEST_SKIP() << "needs an X11 display";
    auto center = HotKeyCenter::create();
    rktest::HotKeyTarget target;
    const auto first = comboF(120);
    ASSERT_TRUE(center->addHotKey("one", first, &target, "pressed"));
    const auto oldEntry = center->hotKeyList().value("one");
    ASSERT_TRUE(oldEntry->registered());
    // Same name, same keys: the old registration must be gone before the new
    // one, or the grab would count as taken.
    const auto same = KeyCombo::keyComboWithKeyCode(120, first->modifiers32());
    ASSERT_TRUE(center->addHotKey("one", same, &target, "pressed"));
    EXPECT_EQ(center->keyComboForName("one"), same);
    EXPECT_NE(center->hotKeyList().value("one"), oldEntry);
    EXPECT_EQ(center->allNames(), QStringList{"one"});

    // An invalid combination is kept but never registered, and still answers true.
    ASSERT_TRUE(center->addHotKey("none", KeyCombo::clearKeyCombo(), &target, "pressed"));
    EXPECT_FALSE(center->hotKeyList().value("none")->registered());
    EXPECT_EQ(center->allNames(), QStringList({"none", "one"}));

    // A second registration of the same keys in this process is refused; the entry stays.
    EXPECT_FALSE(
        center->addHotKey("two", KeyCombo::keyComboWithKeyCode(120, first->modifiers32()), &target, "pressed"));
    EXPECT_EQ(center->hotKeyList().value("two")->lastStatus(), rk::kEventHotKeyExistsErr);
    EXPECT_FALSE(center->hotKeyList().value("two")->registered());

    center->removeHotKey("one");
    center->removeHotKey("unknown");
    EXPECT_EQ(center->keyComboForName("one"), nullptr);
    // Now the keys are free again.
    EXPECT_TRUE(center->addHotKey("two", KeyCombo::keyComboWithKeyCode(120, first->modifiers32()), &target, "pressed"));
}

TEST(HotKeyCenterTest, DisablingKeepsTheRegisteredFlagSoReEnablingSkipsThoseEntries)
{
    if (!rktest::haveDisplay()) GTEST_SKIP() << "needs an X11 display";
    auto center = HotKeyCenter::create();
    rktest::HotKeyTarget target;
    ASSERT_TRUE(center->addHotKey("early", comboF(99), &target, "pressed"));
    const auto early = center->hotKeyList().value("early");
    const uintptr_t ref = early->ref();
    ASSERT_NE(ref, 0U);

    center->setEnabled(false);
    EXPECT_FALSE(center->enabled());
    EXPECT_TRUE(early->registered());
    EXPECT_EQ(early->ref(), ref);
    // Added while disabled: stored, answered true, not registered.
    ASSERT_TRUE(center->addHotKey("late", comboF(118), &target, "pressed"));
    const auto late = center->hotKeyList().value("late");
    EXPECT_FALSE(late->registered());

    center->setEnabled(true);
    EXPECT_TRUE(late->registered());
    EXPECT_NE(late->ref(), 0U);
    EXPECT_EQ(early->ref(), ref); // not registered again
    // Its keys really are free: another registry can take them.
    auto other = HotKeyCenter::create();
    EXPECT_TRUE(other->addHotKey("x", comboF(99), &target, "pressed"));
    // ...and removing the stale entry does not take them from the other registry.
    center->removeHotKey("early");
    EXPECT_TRUE(other->hotKeyList().value("x")->registered());
    EXPECT_FALSE(center->addHotKey("y", comboF(99), &target, "pressed"));
}

TEST(HotKeyCenterTest, EventChecks)
{
    if (!rktest::haveDisplay()) GTEST_SKIP() << "needs an X11 display";
    auto center = HotKeyCenter::create();
    rktest::HotKeyTarget target;
    ASSERT_TRUE(center->addHotKey("k", comboF(97), &target, "pressed"));
    const uint32_t id = center->hotKeyList().value("k")->identity();
    ASSERT_NE(id, 0U);
    using rk::HotKeyEvent;
    using rk::HotKeyID;
    struct Row {
        const char *name = nullptr;
        HotKeyEvent event;
        int line = 0; // 0: no assertion
        const char *description = nullptr;
        int32_t status = 0;
        int calls = 0;
    } rows[] = {
        {"press", {rk::kEventClassKeyboard, 5, HotKeyID{rk::kHotKeySignature, id}}, 0, "", 0, 1},
        {"release", {rk::kEventClassKeyboard, 6, HotKeyID{rk::kHotKeySignature, id}}, 0, "", 0, 0},
        {"other kind", {rk::kEventClassKeyboard, 7, HotKeyID{rk::kHotKeySignature, id}}, 0, "", 0, 0},
        {"identity of no entry",
         {rk::kEventClassKeyboard, 5, HotKeyID{rk::kHotKeySignature, id + 100000}},
         0,
         "",
         0,
         0},
        {"no parameter", {rk::kEventClassKeyboard, 5, std::nullopt}, 0, "", rk::kEventParameterNotFoundErr, 0},
        {"wrong class",
         {rk::fourCharCode("mous"), 5, HotKeyID{rk::kHotKeySignature, id}},
         240,
         "Got unhandled event class",
         0,
         0},
        {"wrong class before missing parameter", {0, 5, std::nullopt}, 240, "Got unhandled event class", 0, 0},
        {"wrong signature",
         {rk::kEventClassKeyboard, 5, HotKeyID{rk::fourCharCode("HKyc"), id}},
         253,
         "Got unknown hot key",
         0,
         0},
        {"id zero", {rk::kEventClassKeyboard, 5, HotKeyID{rk::kHotKeySignature, 0}}, 256, "Got bad hot key", 0, 0},
    };
    for (const Row &row : rows) {
        target.calls.clear();
        if (row.line != 0) {
            const auto failure = assertionOf([&] { (void)center->handleHotKeyEvent(row.event); });
            EXPECT_EQ(failure.line(), row.line) << row.name;
            EXPECT_EQ(failure.description(), row.description) << row.name;
            EXPECT_EQ(failure.method(), "-[HotKeyCenter handleHotKeyEvent:]") << row.name;
        } else {
            EXPECT_EQ(center->handleHotKeyEvent(row.event), row.status) << row.name;
        }
        ASSERT_EQ(target.calls.size(), row.calls) << row.name;
        if (row.calls > 0) {
            EXPECT_EQ(target.calls.first(), center.get()) << "the registry is the argument";
        }
    }
    // The handling registry is the argument, whichever registry holds the entry.
    target.calls.clear();
    (void)HotKeyCenter::sharedCenter().handleHotKeyEvent(
        {rk::kEventClassKeyboard, 5, HotKeyID{rk::kHotKeySignature, id}});
    ASSERT_EQ(target.calls.size(), 1);
    EXPECT_EQ(target.calls.first(), &HotKeyCenter::sharedCenter());
}

TEST(HotKeyCenterTest, DestroyedTargetIsNotCalledAndAppEventsAreIgnoredWithHotKeys)
{
    if (!rktest::haveDisplay()) GTEST_SKIP() << "needs an X11 display";
    auto center = HotKeyCenter::create();
    auto target = std::make_unique<rktest::HotKeyTarget>();
    ASSERT_TRUE(center->addHotKey("k", comboF(98), target.get(), "pressed"));
    const auto entry = center->hotKeyList().value("k");
    center->sendEvent({rk::kSystemDefinedEventType, rk::kHotKeyPressedSubtype, entry->ref()});
    EXPECT_TRUE(target->calls.isEmpty()) << "system hot keys do the work";
    center->_hotKeyDownWithRef(entry->ref());
    center->_hotKeyUpWithRef(entry->ref());
    EXPECT_EQ(target->calls, QList<HotKeyCenter *>{center.get()});
    EXPECT_EQ(center->_findHotKeyWithRef(entry->ref()), entry);
    EXPECT_EQ(center->_findHotKeyWithRef(entry->ref() + 1000), nullptr);
    target.reset();
    EXPECT_EQ(
        center->handleHotKeyEvent({rk::kEventClassKeyboard, 5, rk::HotKeyID{rk::kHotKeySignature, entry->identity()}}),
        0);
}

// The same process without a display: run this program again with DISPLAY unset.
TEST(HotKeyCenterTest, WithoutDisplayRegistrationIsRefusedAndTheRestWorks)
{
    if (!qEnvironmentVariableIsSet("RKTEST_CHILD_NO_DISPLAY")) {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("DISPLAY");
        environment.remove("WAYLAND_DISPLAY");
        environment.insert("RKTEST_CHILD_NO_DISPLAY", "1");
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::MergedChannels);
        child.start(QCoreApplication::applicationFilePath(),
                    {"--gtest_filter=HotKeyCenterTest.WithoutDisplayRegistrationIsRefusedAndTheRestWorks"});
        ASSERT_TRUE(child.waitForFinished(60000));
        const QByteArray output = child.readAll();
        EXPECT_EQ(child.exitCode(), 0) << output.toStdString();
        EXPECT_TRUE(output.contains("[  PASSED  ] 1 test")) << output.toStdString();
        return;
    }
    ASSERT_FALSE(HotKeyCenter::_systemSupportsHotKeys());
    HotKeyCenter &center = HotKeyCenter::sharedCenter();
    rktest::HotKeyTarget target;
    EXPECT_FALSE(center.addHotKey("k", comboF(122), &target, "pressed"));
    const auto entry = center.hotKeyList().value("k");
    ASSERT_TRUE(entry);
    EXPECT_FALSE(entry->registered());
    EXPECT_EQ(entry->lastStatus(), rk::kHotKeyUnsupportedErr);
    EXPECT_TRUE(center.addHotKey("invalid", KeyCombo::clearKeyCombo(), &target, "pressed"));
    EXPECT_EQ(center.keyComboForName("k")->keyCode(), 122);

    const auto failure = assertionOf([&] {
        (void)center.handleHotKeyEvent({rk::kEventClassKeyboard, 5, rk::HotKeyID{rk::kHotKeySignature, 1}});
    });
    EXPECT_EQ(failure.line(), 239);
    EXPECT_EQ(failure.description(), "");

    // The application-event route: only a system-defined press with a handle.
    auto list = HotKeyCenter::HotKeyList{{"k", entry}};
    auto routed = HotKeyCenter::initWithHotKeyList(list);
    EXPECT_EQ(routed->_findHotKeyWithRef(0), entry); // an unregistered entry's handle is 0
    routed->sendEvent({rk::kSystemDefinedEventType, rk::kHotKeyPressedSubtype, 0});
    routed->sendEvent({rk::kSystemDefinedEventType, rk::kHotKeyPressedSubtype, 77});
    routed->sendEvent({rk::kSystemDefinedEventType, rk::kHotKeyReleasedSubtype, 77});
    routed->sendEvent({0, rk::kHotKeyPressedSubtype, 77});
    EXPECT_TRUE(target.calls.isEmpty());
    center.removeHotKey("k");
    EXPECT_EQ(center.allNames(), QStringList{"invalid"});
}

} // namespace
