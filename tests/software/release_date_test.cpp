#include "software/release_date.h"

#include <gtest/gtest.h>

#include "tests/support/scoped_environment.h"

namespace OrvSoftware {
namespace {

constexpr std::uint64_t kSecond = 1'000'000;
constexpr std::uint64_t kHour = 3600 * kSecond;
constexpr std::uint64_t kOctober4 = 1'412'380'800 * kSecond;  // 2014-10-04 00:00 UTC
constexpr std::uint64_t kJanuary4 = 1'388'793'600 * kSecond;  // 2014-01-04 00:00 UTC

// Zones that need no time zone database: with summer time, and without.
constexpr const char* kEastern = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char* kIndia = "IST-5:30";

std::optional<std::uint64_t> dateIn(const char* zone, const std::string& text) {
  const orv::test::ScopedEnvironment environment("TZ", zone);
  return releaseDateMicroseconds(text);
}

struct MonthCase {
  const char* word;
  int month;  // from 0
};

class Month : public testing::TestWithParam<MonthCase> {};

TEST_P(Month, FollowsFromTheFirstLetters) {
  EXPECT_EQ(monthOf(GetParam().word), GetParam().month) << GetParam().word;
}

constexpr MonthCase kMonthCases[] = {
    // As they are written.
    {"Jan", 0},
    {"Feb", 1},
    {"Mar", 2},
    {"Apr", 3},
    {"May", 4},
    {"Jun", 5},
    {"Jul", 6},
    {"Aug", 7},
    {"Sep", 8},
    {"Oct", 9},
    {"Nov", 10},
    {"Dec", 11},
    {"September", 8},
    // The deciding letter in upper case.
    {"APR", 3},
    {"AUG", 7},
    {"JAN", 0},
    {"JUN", 5},
    {"JUL", 6},
    {"MAR", 2},
    {"MAY", 4},
    // No more letters than needed.
    {"D", 11},
    {"F", 1},
    {"N", 10},
    {"O", 9},
    {"S", 8},
    {"Ap", 3},
    {"Au", 7},
    {"Jxn", 5},
    {"JxL", 6},
    {"MxR", 2},
    {"Mxy", 4},
    {"Jal", 0},
    // Anything else is January.
    {"A", 0},
    {"Axp", 0},
    {"J", 0},
    {"Ju", 0},
    {"Jux", 0},
    {"M", 0},
    {"Ma", 0},
    {"Mad", 0},
    {"", 0},
    {"X", 0},
    {"oct", 0},
    {"dec", 0},
    {"april", 0},
    {"10", 0},
};
INSTANTIATE_TEST_SUITE_P(Words, Month, testing::ValuesIn(kMonthCases));

TEST(ReleaseDate, IsMidnightOfTheDay) { EXPECT_EQ(dateIn("UTC0", "Oct 4 2014"), kOctober4); }

TEST(ReleaseDate, LowerCaseMonthIsJanuary) { EXPECT_EQ(dateIn("UTC0", "oct 4 2014"), kJanuary4); }

TEST(ReleaseDate, IsLocalTimeWhereThereIsNoDaylightSaving) {
  EXPECT_EQ(dateIn(kIndia, "Oct 4 2014"), kOctober4 - 11 * kHour / 2);
}

TEST(ReleaseDate, IsLocalMidnightInWinter) {
  EXPECT_EQ(dateIn(kEastern, "Jan 4 2014"), kJanuary4 + 5 * kHour);
}

// Deliberate: midnight with daylight saving off, one o'clock by the clocks.
TEST(ReleaseDate, IsStandardTimeMidnightInSummer) {
  EXPECT_EQ(dateIn(kEastern, "Oct 4 2014"), kOctober4 + 5 * kHour);
}

TEST(ReleaseDate, FollowsAChangeOfTheZone) {
  EXPECT_EQ(dateIn(kIndia, "Jan 4 2014"), kJanuary4 - 11 * kHour / 2);
  EXPECT_EQ(dateIn("UTC0", "Jan 4 2014"), kJanuary4);
}

TEST(ReleaseDate, WhiteSpaceBetweenTheFieldsIsFree) {
  EXPECT_EQ(dateIn("UTC0", "  Oct\t4   2014 "), kOctober4);
}

TEST(ReleaseDate, TextBehindTheYearDoesNotMatter) {
  EXPECT_EQ(dateIn("UTC0", "Oct 4 2014 12:00:00"), kOctober4);
  EXPECT_EQ(dateIn("UTC0", "Oct 4 2014x"), kOctober4);
}

TEST(ReleaseDate, DayRunsOverIntoAnotherMonth) {
  EXPECT_EQ(dateIn("UTC0", "Sep 34 2014"), kOctober4);
  EXPECT_EQ(dateIn("UTC0", "Nov -27 2014"), kOctober4);
}

TEST(ReleaseDate, YearBelow1901CountsFrom1900) {
  EXPECT_EQ(dateIn("UTC0", "Oct 4 114"), kOctober4);
  EXPECT_EQ(dateIn("UTC0", "Jan 1 70"), 0U);
  EXPECT_EQ(dateIn("UTC0", "Jan 2 1900"), 57'749'328'000 * kSecond);  // of the year 3800
}

TEST(ReleaseDate, IsAbsentUnlessThreeFieldsAreRead) {
  for (const char* text : {"", " ", "Oct", "Oct 4", "Oct 4 x", "Oct x 2014", "Oct 4, 2014",
                           "4 Oct 2014", "Oct 4 99999999999", "Oct 99999999999 2014"}) {
    EXPECT_EQ(dateIn("UTC0", text), std::nullopt) << text;
  }
}

TEST(ReleaseDate, IsAbsentWhereADateTimeCannotHoldIt) {
  EXPECT_EQ(dateIn("UTC0", "Dec 31 1969"), std::nullopt);
  EXPECT_EQ(dateIn("UTC0", "Jan 1 1901"), std::nullopt);
  EXPECT_TRUE(dateIn("UTC0", "Dec 31 9999").has_value());
  EXPECT_EQ(dateIn("UTC0", "Jan 1 10000"), std::nullopt);
  EXPECT_EQ(dateIn("UTC0", "Jan 1 2147483647"), std::nullopt);
  EXPECT_EQ(dateIn("UTC0", "Jan 1 -2147483648"), std::nullopt);
}

}  // namespace
}  // namespace OrvSoftware
