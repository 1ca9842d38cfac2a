// KeyCombo: validity, display texts, equality, the stored form and the
// user-defaults functions.
#include <rkcore/FrameworkResources.h>
#include <rkcore/KeyCombo.h>
#include <rkcore/KeyComboDefaults.h>

#include <QDataStream>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "../../src/services/KeyCombo_p.h"

namespace {

using rk::KeyCombo;

constexpr int32_t kCmd = KeyCombo::kCmdKey;
constexpr int32_t kShift = KeyCombo::kShiftKey;
constexpr int32_t kOption = KeyCombo::kOptionKey;
constexpr int32_t kControl = KeyCombo::kControlKey;

QString nul(char16_t symbol)
{
    return QString(QChar(u'\0')) + QChar(symbol);
}

TEST(KeyComboTest, ExactlyTheTenStandAloneFunctionKeysAreValidWithoutModifiers)
{
    QStringList standAlone;
    for (int code = -1; code <= 0x7fff; ++code) {
        const auto combo = KeyCombo::keyComboWithKeyCode(static_cast<int16_t>(code), 0);
        if (combo->isValid()) standAlone << combo->userDisplayRep();
        // Any modifier makes every non-negative key valid; the cleared modifiers (-1) never do.
        EXPECT_EQ(KeyCombo::keyComboWithKeyCode(static_cast<int16_t>(code), kShift)->isValid(), code >= 0) << code;
    }
    standAlone.sort();
    EXPECT_EQ(standAlone, QStringList({"F1", "F12", "F13", "F2", "F3", "F4", "F5", "F6", "F7", "F8"}));
}

TEST(KeyComboTest, ValidityRows)
{
    struct Row {
        const char *name;
        int32_t modifiers;
        int16_t keyCode;
        bool valid;
    } rows[] = {
        {"cleared", -1, -1, false},
        {"F1 alone", 0, 122, true},
        {"F1 with cleared modifiers", -1, 122, true},
        {"F9 alone", 0, 101, false},
        {"F10 alone", 0, 109, false},
        {"F15 alone", 0, 113, false},
        {"letter alone", 0, 0, false},
        {"letter with command", kCmd, 0, true},
        {"letter with negative modifiers", -1, 0, false},
        {"letter with a high modifier bit", 0x40000000, 0, true},
        {"negative key with modifiers", kCmd, -2, false},
        {"key code with only the upper byte", kShift, 0x7a00, true},
    };
    for (const Row &row : rows)
        EXPECT_EQ(KeyCombo::keyComboWithKeyCode(row.keyCode, row.modifiers)->isValid(), row.valid) << row.name;
}

TEST(KeyComboTest, DisplayTexts)
{
    struct Row {
        const char *name;
        int16_t keyCode;
        int32_t modifiers;
        QString text;
    } rows[] = {
        {"F1 alone", 122, 0, "F1"},
        {"F9 alone is none", 101, 0, "(None)"},
        {"cleared", -1, -1, "(None)"},
        {"command shift A", 0, kCmd | kShift, nul(u'\u2318') + nul(u'\u21E7') + "A"},
        {"all four in reading order", 122, kShift | kControl | kOption | kCmd,
         nul(u'\u2318') + nul(u'\u2325') + nul(u'^') + nul(u'\u21E7') + "F1"},
        {"control only", 49, kControl, nul(u'^') + "Space"},
        {"missing from the table: hexadecimal", 10, kCmd, nul(u'\u2318') + "A"},
        {"unassigned code 127", 127, kOption, nul(u'\u2325') + "7F"},
        {"large code", 0x1234, kCmd, nul(u'\u2318') + "1234"},
    };
    for (const Row &row : rows) {
        const auto combo = KeyCombo::keyComboWithKeyCode(row.keyCode, row.modifiers);
        EXPECT_EQ(combo->userDisplayRep(), row.text) << row.name;
        EXPECT_EQ(combo->description(), row.text) << row.name;
    }
    EXPECT_EQ(KeyCombo::_stringForKeyCode(-1), "FFFFFFFF");
    EXPECT_EQ(KeyCombo::_stringForModifiers(0), "");
    EXPECT_EQ(KeyCombo::_stringForModifiers(-1).size(), 8);
}

TEST(KeyComboTest, KeyCodesTableHasNoEntryForTheSectionKeyAndTextForTheRest)
{
    const QVariantMap &table = KeyCombo::keyCodesDictionary();
    EXPECT_FALSE(table.contains("10"));
    QSet<QString> texts;
    for (auto it = table.constBegin(); it != table.constEnd(); ++it) {
        bool number = false;
        const int code = it.key().toInt(&number);
        EXPECT_TRUE(number && code >= 0 && code < 128) << it.key().toStdString();
        EXPECT_FALSE(it.value().toString().isEmpty()) << code;
        texts.insert(it.value().toString());
    }
    EXPECT_EQ(texts.size(), table.size()) << "two keys share a display text";
}

TEST(KeyComboTest, MissingKeyCodesResourceShowsEveryKeyInHexadecimal)
{
    QTemporaryDir empty;
    rk::setFrameworkResourceDirectory(empty.path());
    rk::detail::resetKeyCodesDictionaryForTesting();
    EXPECT_TRUE(KeyCombo::keyCodesDictionary().isEmpty());
    EXPECT_EQ(KeyCombo::keyComboWithKeyCode(122, 0)->userDisplayRep(), "7A");
    EXPECT_EQ(KeyCombo::_stringForKeyCode(0), "0");
    rk::setFrameworkResourceDirectory({});
    rk::detail::resetKeyCodesDictionaryForTesting();
    EXPECT_EQ(KeyCombo::_stringForKeyCode(122), "F1");
}

TEST(KeyComboTest, EqualityIgnoresTheNameAndComparesSixteenBits)
{
    const auto a = KeyCombo::keyComboWithKeyCode(0, kCmd);
    const auto b = KeyCombo::keyComboWithKeyCode(0, kCmd);
    EXPECT_TRUE(a->isEqual(b.get()));
    EXPECT_FALSE(a->isEqual(nullptr));
    EXPECT_FALSE(a->isEqual(KeyCombo::keyComboWithKeyCode(0, kShift).get()));
    EXPECT_FALSE(a->isEqual(KeyCombo::keyComboWithKeyCode(1, kCmd).get()));
    // Modifiers that differ only above bit 15 are the same 16-bit value.
    EXPECT_TRUE(a->isEqual(KeyCombo::keyComboWithKeyCode(0, kCmd | 0x10000).get()));
    EXPECT_TRUE(KeyCombo::clearKeyCombo()->isEqual(KeyCombo::keyCombo().get()));
    EXPECT_TRUE(KeyCombo::create()->isEqual(KeyCombo::clearKeyCombo().get()));
    EXPECT_EQ(a->copy(), a); // immutable: the copy is the object itself
    bool digits = false;
    (void)a->name().toInt(&digits);
    EXPECT_TRUE(digits) << a->name().toStdString();
}

TEST(KeyComboTest, ArchiveIsTheSixByteStreamAndRoundTrips)
{
    const std::pair<int16_t, int32_t> values[] = {{-1, -1}, {0, 0}, {122, kCmd | kShift}, {32767, INT32_MIN}};
    for (const auto &[code, modifiers] : values) {
        const auto combo = KeyCombo::keyComboWithKeyCode(code, modifiers);
        // Oracle: QDataStream written independently of the class.
        QByteArray expected;
        QDataStream stream(&expected, QIODevice::WriteOnly);
        stream << qint16(code) << qint32(modifiers);
        EXPECT_EQ(combo->archivedData(), expected) << code;
        const auto back = KeyCombo::initWithArchivedData(expected);
        ASSERT_TRUE(back) << code;
        EXPECT_EQ(back->keyCode(), code);
        EXPECT_EQ(back->modifiers32(), modifiers);
    }
    for (const QByteArray &bad : {QByteArray(), QByteArray(5, 'x'), QByteArray(7, 'x'), QByteArray(1000, '\xff')})
        EXPECT_FALSE(KeyCombo::initWithArchivedData(bad)) << bad.size();
}

class KeyComboDefaultsTest : public testing::Test {
protected:
    QTemporaryDir dir;
    QSettings defaults{dir.filePath("defaults.ini"), QSettings::IniFormat};
};

TEST_F(KeyComboDefaultsTest, StoreReadRemoveAndUnreadableData)
{
    EXPECT_EQ(rk::keyComboForKey(defaults, "Show"), nullptr);
    rk::setKeyCombo(defaults, KeyCombo::keyComboWithKeyCode(122, kCmd), "Show");
    defaults.sync();
    const QSettings reread(dir.filePath("defaults.ini"), QSettings::IniFormat);
    const auto back = rk::keyComboForKey(reread, "Show");
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->isEqual(KeyCombo::keyComboWithKeyCode(122, kCmd).get()));

    rk::setKeyCombo(defaults, nullptr, "Show");
    EXPECT_FALSE(defaults.contains("Show"));
    EXPECT_EQ(rk::keyComboForKey(defaults, "Show"), nullptr);

    for (const QVariant &junk : {QVariant(QByteArray("abc")), QVariant(QStringLiteral("garbage")), QVariant(42),
                                 QVariant(QByteArray(6000, '\x01'))}) {
        defaults.setValue("Junk", junk);
        const auto cleared = rk::keyComboForKey(defaults, "Junk");
        ASSERT_TRUE(cleared) << junk.typeName();
        EXPECT_EQ(cleared->keyCode(), -1);
        EXPECT_EQ(cleared->modifiers32(), -1);
    }
}

} // namespace
