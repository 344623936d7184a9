#include "tool/mof_output.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/tool/sample.h"

namespace orv::tool {
namespace {

using broker::Value;

std::string mof(const broker::Instance& instance, bool withNulls = false) {
  std::ostringstream out;
  writeMof(out, instance, sampleClasses(), withNulls);
  return out.str();
}

TEST(MofOutput, WritesKeysFirstAndNumbersWithTheirMeaning) {
  EXPECT_EQ(mof(sampleInstance("eth0")),
            "instance of T_Port {\n"
            "  Id = \"eth0\";\n"
            "  State = 2;  // Enabled\n"
            "  Status = {2, NULL};  // OK\n"
            "  Extra = 18446744073709551615;\n"
            "};\n");
}

TEST(MofOutput, WritesNullsOnRequest) {
  EXPECT_NE(mof(sampleInstance("eth0"), true).find("  Caption = NULL;\n"), std::string::npos);
}

TEST(MofOutput, WritesEmbeddedInstancesInTheirPlace) {
  broker::Instance outer;
  outer.path = samplePath("a");
  outer.properties = {{"Inner", Value::ofInstance(sampleInstance("b"))}};
  EXPECT_EQ(mof(outer),
            "instance of T_Port {\n"
            "  Inner = instance of T_Port {\n"
            "    Id = \"b\";\n"
            "    State = 2;  // Enabled\n"
            "    Status = {2, NULL};  // OK\n"
            "    Extra = 18446744073709551615;\n"
            "  };\n"
            "};\n");
}

TEST(MofOutput, WritesReferencesAsQuotedPathsAndTimesReadably) {
  broker::Instance instance;
  instance.path = samplePath("a");
  instance.properties = {{"Link", Value::ofReference(samplePath("b"))},
                         {"Since", Value::ofDateTime({"20261121024000.000000+060", 0, false})}};
  EXPECT_EQ(mof(instance),
            "instance of T_Port {\n"
            "  Since = \"20261121024000.000000+060\";  // 2026-11-21 02:40:00 +01:00\n"
            "  Link = \"root/cimv2:T_Port.Id=\\\"b\\\"\";\n"
            "};\n");
}

TEST(MofOutput, NothingInAValueActsOnATerminal) {
  EXPECT_EQ(mof(sampleInstance("\x1b[2J")).find('\x1b'), std::string::npos);
}

TEST(MofOutput, AnUnknownClassIsWrittenAsItIs) {
  broker::Instance instance;
  instance.path.className = "X";
  instance.properties = {{"B", Value::ofBoolean(true)}, {"A", Value::ofBoolean(false)}};
  EXPECT_EQ(mof(instance), "instance of X {\n  B = true;\n  A = false;\n};\n");
}

}  // namespace
}  // namespace orv::tool
