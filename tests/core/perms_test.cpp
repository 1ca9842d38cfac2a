#include <rkcore/rpf_perms.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <tuple>

#include "core_test_support.h"

using rktest::take;

namespace {

struct StringRow {
    const char *text;
    int32_t octal;
};

TEST(PermissionText, ListingFormToOctal)
{
    const StringRow rows[] = {
        {"-rwxr-xr-x", 755}, {"drwx------", 700},  {"----------", 0},        {"rwxr-xr-x", -1},
        {"-rwsr-sr-t", 644}, {"-rwsr-xr-x", 655},  {"-rwxr-xr-xEXTRA", 755}, {"", -1},
        {"-xwr------", 700}, {"-rrr------", 1200}, {"-?????????", 0},
    };
    for (const StringRow &row : rows) {
        EXPECT_EQ(rpf_permissions_string_to_octal(row.text), row.octal) << "text: \"" << row.text << '"';
    }
    EXPECT_EQ(rpf_permissions_string_to_octal(nullptr), -1);
}

TEST(PermissionText, OctalToNineCharacterText)
{
    const struct {
        int32_t octal;
        const char *text;
    } rows[] = {
        {755, "rwxr-xr-x"},        {44, "---r--r--"},  {7, "rwx"},     {0, "---"},
        {4755, "r--rwxr-x"},       {644, "rw-r--r--"}, {-1, "-----x"}, {80, "------"},
        {-12, "--x-w-"},           {999, ""},          {1, "--x"},     {10, "-----x---"},
        {2147483647, "-w---xr--"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(take(rpf_permissions_octal_to_string(row.octal)), row.text) << "octal: " << row.octal;
    }
}

TEST(PermissionRecord, OctalToRecordReadsAtMostThreeCharacters)
{
    // "-1": two characters are group and world, and '-' clears the group; '8' is no digit; one character is
    // the owner digit, though perms_to_octal gives 7 for ------rwx; only "475" of 4755 counts.
    const struct {
        int32_t octal, back;
    } rows[] = {{-1, 1}, {80, 0}, {7, 700}, {4755, 475}, {750, 750}};
    for (const auto &row : rows) {
        rpf_perms *perms = rpf_permissions_octal_to_perms(row.octal);
        EXPECT_EQ(rpf_permissions_perms_to_octal(perms), row.back) << "octal: " << row.octal;
        std::free(perms);
    }
}

TEST(PermissionRecord, ToggleAndCheckEveryIndex)
{
    rpf_perms perms{};
    const int32_t weights[9] = {400, 200, 100, 40, 20, 10, 4, 2, 1};
    int32_t expected = 0;
    for (int index = 0; index < 9; ++index) {
        EXPECT_EQ(rpf_check_for_permission(index, &perms), 0);
        rpf_toggle_permission(index, &perms);
        expected += weights[index];
        EXPECT_EQ(rpf_check_for_permission(index, &perms), 1) << "index " << index;
        EXPECT_EQ(rpf_permissions_perms_to_octal(&perms), expected) << "index " << index;
    }
    for (int outside : {9, 10, -1, 1000}) {
        rpf_toggle_permission(outside, &perms);
        EXPECT_EQ(rpf_permissions_perms_to_octal(&perms), 777) << "index " << outside;
        EXPECT_EQ(rpf_check_for_permission(outside, &perms), 0);
    }
    rpf_toggle_permission(4, &perms);
    EXPECT_EQ(rpf_permissions_perms_to_octal(&perms), 757);
    rpf_toggle_permission(0, nullptr);
    EXPECT_EQ(rpf_check_for_permission(0, nullptr), 0);
}

TEST(PermissionMode, ModeConversionsAgreeWithStat)
{
    EXPECT_EQ(rpf_permissions_octal_to_mode(755), S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH);
    EXPECT_EQ(rpf_permissions_octal_to_mode(44), S_IRGRP | S_IROTH);
    EXPECT_EQ(rpf_permissions_octal_to_mode(7), S_IRWXU); // one digit is the owner's
    for (unsigned mode = 0; mode < 01000; ++mode) {
        const int32_t octal = rpf_get_perms_from_mode(static_cast<uint16_t>(mode | S_IFREG));
        EXPECT_EQ(octal, static_cast<int32_t>((mode >> 6) * 100 + ((mode >> 3) & 7) * 10 + (mode & 7)));
        if (octal >= 10) {
            EXPECT_EQ(rpf_permissions_octal_to_mode(octal), mode);
        }
    }
}

TEST(PermissionMode, SpecialBitsOnlyThroughModetToPerms)
{
    int sticky = -1, setgid = -1, setuid = -1;
    EXPECT_EQ(modetToPerms(07755, &sticky, &setgid, &setuid), 755);
    EXPECT_EQ(std::make_tuple(sticky, setgid, setuid), std::make_tuple(1, 1, 1));
    EXPECT_EQ(modetToPerms(04644, &sticky, &setgid, &setuid), 644);
    EXPECT_EQ(std::make_tuple(sticky, setgid, setuid), std::make_tuple(0, 0, 1));
    EXPECT_EQ(modetToPerms(01000, &sticky, nullptr, nullptr), 0);
    EXPECT_EQ(sticky, 1);
}

TEST(PermissionMode, ListingTextIsRightForEveryMode)
{
    const struct {
        uint32_t mode;
        const char *text;
    } rows[] = {
        {S_IFREG | 0644, "-rw-r--r--"},  {S_IFDIR | 0755, "drwxr-xr-x"},
        {S_IFREG | 07, "-------rwx"},    {S_IFREG | 04755, "-rwsr-xr-x"},
        {S_IFREG | 04644, "-rwSr--r--"}, {S_IFDIR | 02775, "drwxrwsr-x"},
        {S_IFDIR | 01777, "drwxrwxrwt"}, {S_IFDIR | 01776, "drwxrwxrwT"},
        {S_IFLNK | 0777, "lrwxrwxrwx"},  {S_IFCHR | 0620, "crw--w----"},
        {S_IFBLK | 0660, "brw-rw----"},  {S_IFIFO | 0600, "prw-------"},
        {S_IFSOCK | 0755, "srwxr-xr-x"}, {0, "?---------"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(take(rpf_permissions_mode_to_listing_string(row.mode)), row.text) << "mode " << std::oct << row.mode;
    }
}

} // namespace
