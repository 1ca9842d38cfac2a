#include <rkcore/RBPermission.h>

#include <gtest/gtest.h>

using rk::RBPermission;

namespace {

// A number keeps its last three octal digits (one digit is the owner's); the listing text skips its type character.
TEST(RBPermission, ValuesFromANumberOrTheListingText)
{
    const struct {
        QVariant input; // an int for initWithNumber, a text for initWithString
        int32_t intValue;
        const char *stringValue;
    } rows[] = {{644, 644, "rw-r--r--"},
                {44, 44, "---r--r--"},
                {4755, 475, "r--rwxr-x"},
                {7, 700, "rwx------"},
                {0, 0, "---"},
                {-1, 1, "--x"}, // one digit is the owner's, and gives one triple
                {"-rwxr-xr-x", 755, "rwxr-xr-x"},
                {"drwsr-xr-x", 655, "rw-r-xr-x"},
                {"-rwsr-sr-t", 644, "rw-r--r--"}, // the listing text never sets a flag
                {"rwxr-xr-x", 1, "--x"},
                {"", 1, "--x"}, // nine characters (stringValue's own form) read as -1: world execute
                {"-rw-r--r--trailing", 644, "rw-r--r--"},
                {"-\u00e9wxr-xr-x", 355, "-wxr-xr-x"},  // a Latin-1 letter keeps its one position
                {"-\u2603wxr-xr-x", 355, "-wxr-xr-x"}}; // and so does a character beyond Latin-1
    for (const auto &row : rows) {
        const auto permission = row.input.typeId() == QMetaType::Int
                                    ? RBPermission::initWithNumber(row.input.toInt())
                                    : RBPermission::initWithString(row.input.toString());
        SCOPED_TRACE("input \"" + row.input.toString().toStdString() + '"');
        ASSERT_TRUE(permission);
        EXPECT_EQ(permission->intValue(), row.intValue);
        EXPECT_EQ(permission->numberValue(), QVariant(row.intValue));
        EXPECT_EQ(permission->stringValue(), row.stringValue);
        EXPECT_FALSE(permission->hasStickyBit() || permission->hasSuidBit() || permission->hasSgidBit());
    }
    EXPECT_EQ(RBPermission::stringToOctal("rw-r--r--") + RBPermission::stringToOctal(QString()), -2);
    EXPECT_EQ(RBPermission::octalToString(750), "rwxr-x---");
}

// From 777 every toggle clears its own right (its weight in intValue) and nothing else; twice restores it.
// A copy keeps the value and the three flags, and is independent of the original.
TEST(RBPermission, EveryToggleActsOnItsOwnRightOnlyAndCopiesKeepIt)
{
    const struct {
        const char *name;
        void (RBPermission::*toggle)();
        bool (RBPermission::*test)() const;
        int32_t weight; // 0 for the three flags
    } rows[] = {
        {"sticky", &RBPermission::toggleStickyBit, &RBPermission::hasStickyBit, 0},
        {"suid", &RBPermission::toggleSuidBit, &RBPermission::hasSuidBit, 0},
        {"sgid", &RBPermission::toggleSgidBit, &RBPermission::hasSgidBit, 0},
        {"user read", &RBPermission::toggleUserRead, &RBPermission::userCanRead, 400},
        {"user write", &RBPermission::toggleUserWrite, &RBPermission::userCanWrite, 200},
        {"user execute", &RBPermission::toggleUserExecute, &RBPermission::userCanExecute, 100},
        {"group read", &RBPermission::toggleGroupRead, &RBPermission::groupCanRead, 40},
        {"group write", &RBPermission::toggleGroupWrite, &RBPermission::groupCanWrite, 20},
        {"group execute", &RBPermission::toggleGroupExecute, &RBPermission::groupCanExecute, 10},
        {"world read", &RBPermission::toggleWorldRead, &RBPermission::worldCanRead, 4},
        {"world write", &RBPermission::toggleWorldWrite, &RBPermission::worldCanWrite, 2},
        {"world execute", &RBPermission::toggleWorldExecute, &RBPermission::worldCanExecute, 1},
    };
    for (const auto &row : rows) {
        const auto permission = RBPermission::initWithNumber(777);
        RBPermission &p = *permission;
        (p.*row.toggle)();
        const auto copy = p.copy();
        ASSERT_TRUE(copy && copy != permission);
        EXPECT_EQ(p.intValue(), 777 - row.weight) << row.name;
        EXPECT_EQ(copy->intValue(), 777 - row.weight) << "copy after " << row.name;
        for (const auto &other : rows) {
            const bool expected = (other.weight != 0) != (&other == &row);
            EXPECT_EQ((p.*other.test)(), expected) << row.name << " changed " << other.name;
            EXPECT_EQ(((*copy).*other.test)(), expected) << "copy after " << row.name << ": " << other.name;
        }
        (p.*row.toggle)();
        EXPECT_EQ((p.*row.test)(), row.weight != 0) << row.name << " toggled twice";
        EXPECT_EQ(p.intValue(), 777) << row.name;
        EXPECT_EQ(((*copy).*row.test)(), row.weight == 0) << "the copy is independent: " << row.name;
    }
    // A short value is read again: 44 stays group and world, but world-only ------rwx (7) comes back as the owner's.
    EXPECT_EQ(RBPermission::initWithNumber(44)->copy()->intValue(), 44);
    const auto worldOnly = RBPermission::initWithNumber(0);
    for (const auto toggle :
         {&RBPermission::toggleWorldRead, &RBPermission::toggleWorldWrite, &RBPermission::toggleWorldExecute})
        (worldOnly.get()->*toggle)();
    EXPECT_EQ(worldOnly->intValue(), 7);
    EXPECT_TRUE(worldOnly->copy()->userCanRead());
}

} // namespace
