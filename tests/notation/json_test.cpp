#include "notation/json.h"

#include <gtest/gtest.h>

#include "tests/tool/sample.h"

namespace orv::notation {
namespace {

using broker::Value;
using tool::sampleClasses;
using tool::sampleInstance;
using tool::samplePath;

class JsonOutput : public testing::Test {
 protected:
  std::string text(const Value& value) { return jsonText(toJson(value, classes_, false), -1); }
  broker::ClassRepository classes_ = sampleClasses();
};

TEST_F(JsonOutput, AnInstanceHasPathClassAndProperties) {
  EXPECT_EQ(jsonText(toJson(sampleInstance("a\"b"), classes_, false), -1),
            R"({"path":"root/cimv2:T_Port.Id=\"a\\\"b\"","class":"T_Port","properties":)"
            R"({"Id":"a\"b","State":2,"Status":[2,null],"Extra":18446744073709551615}})");
}

TEST_F(JsonOutput, NullPropertiesAreThereOnRequest) {
  const Json json = toJson(sampleInstance("a"), classes_, true);
  EXPECT_TRUE(json["properties"].contains("Caption"));
  EXPECT_TRUE(json["properties"]["Caption"].is_null());
}

TEST_F(JsonOutput, APathHasItsParts) {
  EXPECT_EQ(jsonText(toJson(samplePath("a"), classes_), -1),
            R"({"path":"root/cimv2:T_Port.Id=\"a\"","namespace":"root/cimv2","class":"T_Port",)"
            R"("keys":{"Id":"a"}})");
}

TEST_F(JsonOutput, ValuesKeepTheirKind) {
  EXPECT_EQ(text(Value::ofBoolean(true)), "true");
  EXPECT_EQ(text(Value::ofSigned(CMPI_sint64, -5)), "-5");
  EXPECT_EQ(text(Value::ofReal(CMPI_real64, 1.5)), "1.5");
  EXPECT_EQ(text(Value::ofNull(CMPI_string)), "null");
  EXPECT_EQ(text(Value::ofDateTime({"20261121024000.000000+000", 0, false})),
            "\"20261121024000.000000+000\"");
  EXPECT_EQ(text(Value::ofReference(samplePath("a"))), R"("root/cimv2:T_Port.Id=\"a\"")");
  EXPECT_EQ(text(Value::ofInstance(sampleInstance("a"))).substr(0, 9), "{\"path\":\"");
}

TEST_F(JsonOutput, BytesThatAreNotUtf8AreReplaced) {
  EXPECT_EQ(text(Value::ofString("a\xFF")), "\"a\xEF\xBF\xBD\"");
}

}  // namespace
}  // namespace orv::notation
