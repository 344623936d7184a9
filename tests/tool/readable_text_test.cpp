#include "tool/readable_text.h"

#include <gtest/gtest.h>

namespace orv::tool {
namespace {

TEST(OneLine, MakesControlCharactersVisible) {
  EXPECT_EQ(oneLine("a\nb\tc\x1b\x7f"), "a\\nb\\tc\\x1B\\x7F");
  EXPECT_EQ(oneLine(std::string("a\0b", 3)), "a\\x00b");
}

TEST(OneLine, KeepsOtherCharacters) {
  EXPECT_EQ(oneLine("Gr\xC3\xBC\xC3\x9F \\ \""), "Gr\xC3\xBC\xC3\x9F \\ \"");
}

TEST(ColumnsOf, CountsCharactersNotBytes) {
  EXPECT_EQ(columnsOf(""), 0u);
  EXPECT_EQ(columnsOf("abc"), 3u);
  EXPECT_EQ(columnsOf("\xC3\xBC\xE2\x82\xAC"), 2u);
}

TEST(ReadableDateTime, ShowsAPointInTimeWithItsOffset) {
  EXPECT_EQ(readableDateTime("20261121024059.123456+000"), "2026-11-21 02:40:59 +00:00");
  EXPECT_EQ(readableDateTime("20200913082640.123456-240"), "2020-09-13 08:26:40 -04:00");
  EXPECT_EQ(readableDateTime("20200913082640.123456+330"), "2020-09-13 08:26:40 +05:30");
}

TEST(ReadableDateTime, ShowsAnInterval) {
  EXPECT_EQ(readableDateTime("00000000010203.000000:000"), "01:02:03");
  EXPECT_EQ(readableDateTime("00000001010203.000000:000"), "1 day 01:02:03");
  EXPECT_EQ(readableDateTime("00000012010203.000000:000"), "12 days 01:02:03");
}

TEST(ReadableDateTime, LeavesOtherTextsAlone) {
  for (const char* text : {"", "yesterday", "2026112102****.******+000",
                           "20261121024059.123456*000", "20261121024059.123456+0x0"}) {
    EXPECT_EQ(readableDateTime(text), text);
  }
}

}  // namespace
}  // namespace orv::tool
