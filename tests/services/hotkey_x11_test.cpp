// Hot keys through the real X server: key presses sent with xdotool (XTEST)
// reach the target through the passive grabs, with CapsLock and NumLock on
// too; a combination another client holds is refused.
#include <rkcore/HotKeyCenter.h>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <gtest/gtest.h>

#include "hotkey_test_support.h"

namespace {

using rk::HotKeyCenter;
using rk::KeyCombo;

constexpr int32_t kCmd = KeyCombo::kCmdKey;
constexpr int32_t kShift = KeyCombo::kShiftKey;
constexpr int32_t kOption = KeyCombo::kOptionKey;
constexpr int32_t kControl = KeyCombo::kControlKey;

class X11HotKeyTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!rktest::haveDisplay()) GTEST_SKIP() << "needs an X11 display";
        ASSERT_TRUE(HotKeyCenter::_systemSupportsHotKeys());
    }
    void TearDown() override
    {
        for (const QString &name : center().allNames())
            center().removeHotKey(name);
    }
    static HotKeyCenter &center() { return HotKeyCenter::sharedCenter(); }
    rktest::HotKeyTarget target;
};

TEST_F(X11HotKeyTest, PressesReachTheTargetWithTheRegistryAndReleasesAreIgnored)
{
    struct Row {
        const char *keys; // as xdotool names them
        int16_t keyCode;
        int32_t modifiers;
    } rows[] = {
        {"ctrl+shift+F1", 122, kCmd | kShift},        {"F5", 96, 0},
        {"alt+super+a", 0, kOption | kControl},       {"ctrl+alt+KP_Enter", 76, kCmd | kOption},
        {"super+shift+Left", 123, kControl | kShift},
    };
    for (const Row &row : rows) {
        ASSERT_TRUE(
            center().addHotKey(row.keys, KeyCombo::keyComboWithKeyCode(row.keyCode, row.modifiers), &target, "pressed"))
            << row.keys << " status " << center().hotKeyList().value(row.keys)->lastStatus();
    }
    for (const Row &row : rows) {
        target.calls.clear();
        ASSERT_TRUE(rktest::xdotool({"key", row.keys}));
        ASSERT_TRUE(target.waitForCall()) << row.keys;
        EXPECT_FALSE(target.anyCallWithin(150)) << row.keys << ": the release must not call";
        ASSERT_EQ(target.calls.size(), 1) << row.keys;
        EXPECT_EQ(target.calls.first(), &center());
    }
    // Modifiers other than the registered ones do not match.
    target.calls.clear();
    ASSERT_TRUE(rktest::xdotool({"key", "shift+F1", "ctrl+F1", "F1"}));
    EXPECT_FALSE(target.anyCallWithin(300));
}

TEST_F(X11HotKeyTest, PressesArriveWithCapsLockAndNumLockOn)
{
    ASSERT_TRUE(center().addHotKey("k", KeyCombo::keyComboWithKeyCode(122, kCmd | kShift), &target, "pressed"));
    struct Row {
        const char *name = nullptr;
        QStringList toggles;
    } rows[] = {
        {"NumLock", {"Num_Lock"}},
        {"CapsLock", {"Caps_Lock"}},
        {"both", {"Num_Lock", "Caps_Lock"}},
    };
    for (const Row &row : rows) {
        for (const QString &toggle : row.toggles)
            ASSERT_TRUE(rktest::xdotool({"key", toggle}));
        target.calls.clear();
        const bool sent = rktest::xdotool({"key", "ctrl+shift+F1"});
        const bool arrived = target.waitForCall();
        for (const QString &toggle : row.toggles)
            ASSERT_TRUE(rktest::xdotool({"key", toggle})); // back off
        ASSERT_TRUE(sent);
        EXPECT_TRUE(arrived) << row.name;
    }
}

TEST_F(X11HotKeyTest, RemovedAndDisabledKeysAreReleased)
{
    ASSERT_TRUE(center().addHotKey("k", KeyCombo::keyComboWithKeyCode(120, kCmd | kShift), &target, "pressed"));
    center().setEnabled(false);
    ASSERT_TRUE(rktest::xdotool({"key", "ctrl+shift+F2"}));
    EXPECT_FALSE(target.anyCallWithin(300)) << "disabled";
    center().setEnabled(true); // the quirk: the entry stays withdrawn
    ASSERT_TRUE(rktest::xdotool({"key", "ctrl+shift+F2"}));
    EXPECT_FALSE(target.anyCallWithin(300)) << "re-enabled";
    center().removeHotKey("k");
    ASSERT_TRUE(center().addHotKey("k", KeyCombo::keyComboWithKeyCode(120, kCmd | kShift), &target, "pressed"));
    ASSERT_TRUE(rktest::xdotool({"key", "ctrl+shift+F2"}));
    EXPECT_TRUE(target.waitForCall()) << "added anew";
    center().removeHotKey("k");
    ASSERT_TRUE(rktest::xdotool({"key", "ctrl+shift+F2"}));
    EXPECT_FALSE(target.anyCallWithin(300)) << "removed";
}

// Another X client (a connection of its own) holds ctrl+shift+F3.
TEST_F(X11HotKeyTest, CombinationHeldByAnotherClientIsRefused)
{
    xcb_connection_t *other = xcb_connect(nullptr, nullptr);
    ASSERT_EQ(xcb_connection_has_error(other), 0);
    xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(other)).data->root;
    xcb_key_symbols_t *symbols = xcb_key_symbols_alloc(other);
    xcb_keycode_t *keycodes = xcb_key_symbols_get_keycode(symbols, 0xffc0); // F3
    ASSERT_NE(keycodes, nullptr);
    const xcb_keycode_t f3 = keycodes[0];
    free(keycodes);
    xcb_key_symbols_free(symbols);
    const auto mods = static_cast<uint16_t>(XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT);
    xcb_generic_error_t *error = xcb_request_check(
        other, xcb_grab_key_checked(other, 1, root, mods, f3, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    ASSERT_EQ(error, nullptr);

    EXPECT_FALSE(center().addHotKey("held", KeyCombo::keyComboWithKeyCode(99, kCmd | kShift), &target, "pressed"));
    const auto entry = center().hotKeyList().value("held");
    ASSERT_TRUE(entry);
    EXPECT_FALSE(entry->registered());
    EXPECT_EQ(entry->lastStatus(), rk::kEventHotKeyExistsErr);
    // The other client's grab survives our failed attempt.
    ASSERT_TRUE(rktest::xdotool({"key", "ctrl+shift+F3"}));
    EXPECT_FALSE(target.anyCallWithin(300));

    // Once the other client lets go, the same combination registers.
    xcb_disconnect(other);
    center().removeHotKey("held");
    EXPECT_TRUE(center().addHotKey("held", KeyCombo::keyComboWithKeyCode(99, kCmd | kShift), &target, "pressed"));
    ASSERT_TRUE(rktest::xdotool({"key", "ctrl+shift+F3"}));
    EXPECT_TRUE(target.waitForCall());
}

} // namespace
