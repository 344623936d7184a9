#include "tool/text_table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace orv::tool {
namespace {

std::string print(const TextTable& table) {
  std::ostringstream out;
  table.print(out);
  return out.str();
}

TEST(TextTable, AlignsColumnsByCharacters) {
  TextTable table({"A", "LONG", "C"});
  table.add({"\xC3\xBC", "x", "1"});
  table.add({"yy", "z", "2"});
  EXPECT_EQ(print(table), "A   LONG  C\n\xC3\xBC   x     1\nyy  z     2\n");
  EXPECT_EQ(table.width(), 11u);
}

TEST(TextTable, LinesHaveNoBlanksAtTheirEnd) {
  TextTable table({"A", "B", "C"});
  table.add({"x", "", ""});
  table.add({"", "", "z"});
  EXPECT_EQ(print(table), "A  B  C\nx\n      z\n");
}

TEST(TextTable, MissingCellsAreEmptyAndSurplusOnesAreDropped) {
  TextTable table({"A", "B"});
  table.add({"x"});
  table.add({"1", "2", "3"});
  EXPECT_EQ(print(table), "A  B\nx\n1  2\n");
}

TEST(TextTable, AnEmptyHeaderIsNotPrinted) {
  TextTable table({"", ""});
  EXPECT_TRUE(table.empty());
  table.add({"a", "b"});
  EXPECT_FALSE(table.empty());
  EXPECT_EQ(print(table), "a  b\n");
}

TEST(TextTable, CellsStayOnTheirLine) {
  TextTable table({"", ""});
  table.add({"a\nb", "\x1b"});
  EXPECT_EQ(print(table), "a\\nb  \\x1B\n");
}

}  // namespace
}  // namespace orv::tool
