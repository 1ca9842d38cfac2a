#include <rkcore/RBPermission.h>

#include <gtest/gtest.h>

using rk::RBPermission;

namespace {

TEST(RBPermission, ValuesFromANumber)
{
    const struct {
        int32_t number, intValue;
        const char *stringValue;
    } rows[] = {{644, 644, "rw-r--r--"},
                {755, 755, "rwxr-xr-x"},
                {44, 44, "---r--r--"},
                {7, 700, "rwx------"},    // one digit is the owner's
                {0, 0, "---"},            // a one-digit value gives one triple
                {4755, 475, "r--rwxr-x"}, // only three digits count
                {-1, 1, "--x"}};
    for (const auto &row : rows) {
        const auto permission = RBPermission::initWithNumber(row.number);
        ASSERT_TRUE(permission) << "number " << row.number;
        EXPECT_EQ(permission->intValue(), row.intValue) << "number " << row.number;
        EXPECT_EQ(permission->numberValue(), QVariant(row.intValue)) << "number " << row.number;
        EXPECT_EQ(permission->stringValue(), row.stringValue) << "number " << row.number;
        EXPECT_FALSE(permission->hasStickyBit() || permission->hasSuidBit() || permission->hasSgidBit());
    }
}

TEST(RBPermission, ValuesFromTheListingText)
{
    const struct {
        const char *text;
        int32_t intValue;
    } rows[] = {{"-rwxr-xr-x", 755},
                {"drwsr-xr-x", 655},
                {"-rwsr-sr-t", 644},
                {"----------", 0},
                {"rwxr-xr-x", 1}, // nine characters (stringValue's own form) read as -1: only world execute
                {"", 1},
                {"-rw-r--r--trailing", 644},
                {"-\u00e9wxr-xr-x", 355},  // a Latin-1 letter keeps its one position
                {"-\u2603wxr-xr-x", 355}}; // and so does a character beyond Latin-1
    for (const auto &row : rows) {
        const auto permission = RBPermission::initWithString(QString::fromUtf8(row.text));
        ASSERT_TRUE(permission);
        EXPECT_EQ(permission->intValue(), row.intValue) << "text \"" << row.text << '"';
        EXPECT_FALSE(permission->hasSuidBit()) << "the listing text never sets a flag: " << row.text;
    }
    EXPECT_EQ(RBPermission::stringToOctal("rw-r--r--"), -1);
    EXPECT_EQ(RBPermission::stringToOctal(QString()), -1);
    EXPECT_EQ(RBPermission::octalToString(750), "rwxr-x---");
}

// From 777 every toggle clears its own right (its weight in intValue) and nothing else; twice restores it.
TEST(RBPermission, EveryToggleActsOnItsOwnRightOnly)
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
        (permission.get()->*row.toggle)();
        EXPECT_EQ(permission->intValue(), 777 - row.weight) << row.name;
        for (const auto &other : rows)
            EXPECT_EQ((permission.get()->*other.test)(), (other.weight != 0) != (&other == &row))
                << row.name << " changed " << other.name;
        (permission.get()->*row.toggle)();
        EXPECT_EQ((permission.get()->*row.test)(), row.weight != 0) << row.name << " toggled twice";
        EXPECT_EQ(permission->intValue(), 777) << row.name;
    }
}

TEST(RBPermission, CopyKeepsValueAndFlags)
{
    for (int flags = 0; flags < 8; ++flags) {
        const auto original = RBPermission::initWithString("drwxr-x--x");
        if (flags & 1) original->toggleStickyBit();
        if (flags & 2) original->toggleSuidBit();
        if (flags & 4) original->toggleSgidBit();
        const auto copy = original->copy();
        ASSERT_TRUE(copy);
        EXPECT_NE(copy.get(), original.get());
        EXPECT_EQ(copy->intValue(), 751) << "flags " << flags;
        EXPECT_EQ(copy->hasStickyBit() + 2 * copy->hasSuidBit() + 4 * copy->hasSgidBit(), flags);
        copy->toggleUserRead();
        EXPECT_TRUE(original->userCanRead()) << "the copy is independent";
    }
    // A short value is read again: 44 stays group and world, but world-only
    // ------rwx (intValue 7) comes back as the owner's digit.
    EXPECT_EQ(RBPermission::initWithNumber(44)->copy()->intValue(), 44);
    const auto worldOnly = RBPermission::initWithNumber(0);
    for (const auto toggle :
         {&RBPermission::toggleWorldRead, &RBPermission::toggleWorldWrite, &RBPermission::toggleWorldExecute})
        (worldOnly.get()->*toggle)();
    EXPECT_EQ(worldOnly->intValue(), 7);
    EXPECT_TRUE(worldOnly->copy()->userCanRead());
}

} // namespace
