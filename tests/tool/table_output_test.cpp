#include "tool/table_output.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/tool/sample.h"

namespace orv::tool {
namespace {

using broker::Value;

std::string table(const std::vector<broker::Instance>& instances, std::size_t width) {
  std::ostringstream out;
  writeTable(out, instances, sampleClasses(), false, width);
  return out.str();
}

TEST(TableOutput, ARowForEachInstanceWhereThatFits) {
  EXPECT_EQ(table({sampleInstance("a"), sampleInstance("longer")}, 80),
            "T_Port\n"
            "Id      State        Status       Extra\n"
            "a       2 (Enabled)  {2, -} (OK)  18446744073709551615\n"
            "longer  2 (Enabled)  {2, -} (OK)  18446744073709551615\n");
}

TEST(TableOutput, ABlockForEachInstanceWhereItDoesNot) {
  EXPECT_EQ(table({sampleInstance("a"), sampleInstance("b")}, 20),
            "T_Port\n"
            "  Id      a\n"
            "  State   2 (Enabled)\n"
            "  Status  {2, -} (OK)\n"
            "  Extra   18446744073709551615\n"
            "\n"
            "T_Port\n"
            "  Id      b\n"
            "  State   2 (Enabled)\n"
            "  Status  {2, -} (OK)\n"
            "  Extra   18446744073709551615\n");
}

TEST(TableOutput, ATableForEachClass) {
  broker::Instance other;
  other.path.className = "T_Other";
  other.properties = {{"X", Value::ofBoolean(true)}};
  EXPECT_EQ(table({sampleInstance("a"), other, sampleInstance("b")}, 80),
            "T_Port\n"
            "Id  State        Status       Extra\n"
            "a   2 (Enabled)  {2, -} (OK)  18446744073709551615\n"
            "b   2 (Enabled)  {2, -} (OK)  18446744073709551615\n"
            "\n"
            "T_Other\n"
            "X\n"
            "true\n");
}

TEST(TableOutput, NothingForNothing) { EXPECT_EQ(table({}, 80), ""); }

TEST(TableOutput, PathsHaveAColumnForEachKey) {
  std::ostringstream out;
  writeTable(out, {samplePath("a"), samplePath("b")});
  EXPECT_EQ(out.str(), "T_Port\nId\na\nb\n");
}

TEST(CellText, ShowsEveryKindOfValue) {
  EXPECT_EQ(cellText(nullptr, Value::ofNull(CMPI_string)), "-");
  EXPECT_EQ(cellText(nullptr, Value::ofString("a b")), "a b");
  EXPECT_EQ(cellText(nullptr, Value::ofReference(samplePath("a"))), "root/cimv2:T_Port.Id=\"a\"");
  EXPECT_EQ(cellText(nullptr, Value::ofInstance(sampleInstance("a"))), "instance of T_Port");
  EXPECT_EQ(cellText(nullptr, Value::ofDateTime({"20261121024000.000000+000", 0, false})),
            "2026-11-21 02:40:00 +00:00");
  EXPECT_EQ(cellText(nullptr, Value::ofArray(CMPI_string, {})), "{}");
}

}  // namespace
}  // namespace orv::tool
