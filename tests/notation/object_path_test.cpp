#include "notation/object_path.h"

#include <gtest/gtest.h>

#include "broker/object_path_text.h"
#include "tests/tool/sample.h"

namespace orv::notation {
namespace {

using broker::Value;
using tool::sampleClasses;
using tool::samplePath;

broker::ObjectPath read(const std::string& text) {
  return readObjectPath(text, "root/cimv2", sampleClasses());
}

TEST(ReadObjectPath, TakesTheNamespaceOfTheCommandWhenItHasNone) {
  EXPECT_EQ(read("T_Port.Id=\"a\""), samplePath("a"));
  EXPECT_EQ(read("other:T_Port.Id=\"a\"").nameSpace, "other");
}

TEST(ReadObjectPath, KeysHaveTheTypesThatClientsSend) {
  const broker::ObjectPath path = read("X.A=\"t\",B=5,C=-5,D=true");
  EXPECT_EQ(*path.key("A"), Value::ofString("t"));
  EXPECT_EQ(*path.key("B"), Value::ofUnsigned(CMPI_uint64, 5));
  EXPECT_EQ(*path.key("C"), Value::ofSigned(CMPI_sint64, -5));
  EXPECT_EQ(*path.key("D"), Value::ofBoolean(true));
}

TEST(ReadObjectPath, TextsOfReferenceKeysArePaths) {
  const broker::ObjectPath path = read(R"(T_Link.From="T_Port.Id=\"a\"",Number=5)");
  ASSERT_EQ(path.key("From")->type, CMPI_ref);
  EXPECT_EQ(path.key("From")->reference(), samplePath("a"));
}

TEST(ReadObjectPath, WhatDoesNotParseIsAnError) {
  EXPECT_THROW(read("T_Port.Id="), broker::ObjectPathError);
  EXPECT_THROW(read(R"(T_Link.From="T_Port.")"), broker::ObjectPathError);
}

TEST(ObjectPathText, ReadsBackAsThePath) {
  for (const char* text : {R"(T_Link.From="root/cimv2:T_Port.Id=\"a\\\"b\"",Number=5)",
                           "//host/ns:X.A=-1,B=true,C=\"\""}) {
    EXPECT_EQ(read(objectPathText(read(text))), read(text)) << text;
  }
}

TEST(ObjectPathText, LeavesOutNullKeys) {
  broker::ObjectPath path = samplePath("a");
  path.keys.push_back({"Other", Value::ofNull(CMPI_string)});
  EXPECT_EQ(objectPathText(path), "root/cimv2:T_Port.Id=\"a\"");
}

}  // namespace
}  // namespace orv::notation
