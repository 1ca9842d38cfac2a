#include <rkcore/rpf_date.h>
#include <rkcore/rpf_size.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <ctime>
#include <string>
#include <tuple>

#include "../../src/core/rpf_clock_p.h"
#include "core_test_support.h"

using rktest::take;

namespace {

std::tm localFields(time_t t)
{
    std::tm fields{};
    localtime_r(&t, &fields);
    return fields;
}

std::string formatted(time_t t, const char *format)
{
    std::tm fields = localFields(t);
    std::array<char, 256> buffer{};
    return {buffer.data(), std::strftime(buffer.data(), buffer.size(), format, &fields)};
}

// A fixed local time: the core's clock reads `fixedNow` while a test runs.
time_t fixedNow = 0;
time_t fixedClock()
{
    return fixedNow;
}

time_t localTime(int year, int month, int day, int hour)
{
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_isdst = -1;
    return std::mktime(&fields);
}

// Fixes "now" for the core's date functions for the test's lifetime.
class FixedClock : public ::testing::Test {
protected:
    void SetUp() override { rpf_date_set_clock(fixedClock); }
    void TearDown() override { rpf_date_set_clock(nullptr); }
    static void setNow(time_t now) { fixedNow = now; }
};

using DateText = FixedClock;

TEST_F(DateText, TodayYesterdayAndFullForm)
{
    setNow(localTime(2026, 3, 15, 12));
    const time_t morning = localTime(2026, 3, 15, 0);
    const time_t lateEvening = localTime(2026, 3, 15, 23);
    const time_t yesterday = localTime(2026, 3, 14, 12);
    const time_t old = 1105785000; // January 2005
    EXPECT_EQ(take(rpf_date_string_from_time_t(morning)), formatted(morning, "Today, %T"));
    EXPECT_EQ(take(rpf_date_string_from_time_t(lateEvening)), formatted(lateEvening, "Today, %T"));
    EXPECT_EQ(take(rpf_date_string_from_time_t(yesterday)), formatted(yesterday, "Yesterday, %T"));
    EXPECT_EQ(take(rpf_date_string_from_time_t(old)), formatted(old, "%a, %b %d, %Y, %T"));
}

TEST_F(DateText, OnTheFirstOfAMonthTheDayBeforeKeepsTheFullForm)
{
    setNow(localTime(2026, 4, 1, 0));
    const time_t lastOfMarch = localTime(2026, 3, 31, 23);
    EXPECT_EQ(take(rpf_date_string_from_time_t(lastOfMarch)), formatted(lastOfMarch, "%a, %b %d, %Y, %T"));
    EXPECT_EQ(take(rpf_date_string_from_time_t(fixedNow)), formatted(fixedNow, "Today, %T"));
}

std::tm parsedFields(const char *text)
{
    return localFields(rpf_date_ls_date_to_time_t(text));
}

TEST(ListingDate, YearFormAndSecondsOne)
{
    const std::tm f = parsedFields("Jan  5  1999");
    EXPECT_EQ(std::make_tuple(f.tm_year, f.tm_mon, f.tm_mday, f.tm_hour, f.tm_min, f.tm_sec),
              std::make_tuple(99, 0, 5, 0, 0, 1));
}

TEST(ListingDate, MonthDecisionTable)
{
    const struct {
        const char *text;
        int month;
    } rows[] = {
        {"Jan 15  2003", 0}, {"Feb 15  2003", 1}, {"Mar 15  2003", 2},  {"Apr 15  2003", 3},
        {"May 15  2003", 4}, {"Jun 15  2003", 5}, {"Jul 15  2003", 6},  {"Aug 15  2003", 7},
        {"Sep 15  2003", 8}, {"Oct 15  2003", 9}, {"Nov 15  2003", 10}, {"Dec 15  2003", 11},
        {"Xyz 15  2003", 0}, {"Jux 15  2003", 5}, {"Axx 15  2003", 3},  {"Mxx 15  2003", 4},
    };
    for (const auto &row : rows)
        EXPECT_EQ(parsedFields(row.text).tm_mon, row.month) << row.text;
}

using ListingDateNow = FixedClock;

TEST_F(ListingDateNow, TimeFormYearFollowsTheCurrentMonth)
{
    setNow(localTime(2026, 6, 15, 12));
    const std::tm now = localFields(fixedNow);
    static const char *const names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int month = 0; month < 12; ++month) {
        std::string text = std::string(names[month]) + " 15 10:30";
        const std::tm f = parsedFields(text.c_str());
        const int expectedYear = now.tm_year - (month > now.tm_mon ? 1 : 0);
        EXPECT_EQ(std::make_tuple(f.tm_year, f.tm_mon, f.tm_mday, f.tm_hour, f.tm_min, f.tm_sec),
                  std::make_tuple(expectedYear, month, 15, 10, 30, 1))
            << text;
    }
    EXPECT_EQ(parsedFields("Mar  7 09:05").tm_mday, 7);
}

TEST(ListingDate, TextIsUntouchedAndShortTextsAreRefused)
{
    char text[] = "Jun 15 10:00";
    (void)rpf_date_ls_date_to_time_t(text);
    EXPECT_STREQ(text, "Jun 15 10:00");
    EXPECT_EQ(rpf_date_ls_date_to_time_t("Jun 15 10:0"), 0);
    EXPECT_EQ(rpf_date_ls_date_to_time_t(""), 0);
    EXPECT_EQ(rpf_date_ls_date_to_time_t(nullptr), 0);
}

TEST(SizeText, ThirtyTwoBitForm)
{
    const struct {
        int32_t bytes;
        const char *text;
    } rows[] = {
        {0, "0 "},         {512, "512 "},          {1023, "1023"},       {1024, "1 k"},
        {-5, "-5 "},       {-1000, "-100"},        {1023999, "999 k"},   {1024000, "1 MB"},
        {3700000, "3 MB"}, {1023999999, "999 MB"}, {1024000000, "1 GB"}, {2147483647, "2 GB"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(take(rpf_utility_format_size(row.bytes)), row.text) << row.bytes;
}

TEST(SizeText, SixtyFourBitFormKeepsItsQuirks)
{
    const struct {
        uint32_t low, high;
        const char *text;
    } rows[] = {
        {0, 0, "0"},
        {512, 0, "512"},
        {1000, 0, "100"}, // a four-digit byte count keeps three digits
        {1023, 0, "102"},
        {1024, 0, "1KB"},
        {1100, 0, "1KB"}, // remainder 76 / 100 = 0
        {1536, 0, "1.5KB"},
        {1047552, 0, "1023K"}, // 1023 KB: four digits lose the unit's last letter
        {1048575, 0, "1023.10KB"},
        {3700000, 0, "3.554MB"},
        {1073741823, 0, "1023.1048"}, // the limit cuts the unit
        {0, 1, "4GB"},
        {1073741824U, 0, "1GB"},
        {0, 255, "1020G"},
        {0, 256, "1TB"},
        {0xffffffffU, 0xffffffffU, "16777215."},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(take(format_size(row.low, row.high)), row.text) << row.low << ", " << row.high;
        EXPECT_EQ(take(_format_size(row.low, row.high)), row.text) << row.low << ", " << row.high;
    }
}

} // namespace
