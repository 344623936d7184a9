#include "tool/object_paths.h"

#include <gtest/gtest.h>

#include "tests/tool/sample.h"
#include "tool/errors.h"

namespace orv::tool {
namespace {

using broker::Value;

broker::ObjectPath read(const std::string& text) {
  return objectPathArgument(text, "root/cimv2", sampleClasses());
}

TEST(ObjectPathArgument, TakesTheNamespaceOfTheCommandWhenItHasNone) {
  EXPECT_EQ(read("T_Port.Id=\"a\""), samplePath("a"));
  EXPECT_EQ(read("other:T_Port.Id=\"a\"").nameSpace, "other");
}

TEST(ObjectPathArgument, KeysHaveTheTypesThatClientsSend) {
  const broker::ObjectPath path = read("X.A=\"t\",B=5,C=-5,D=true");
  EXPECT_EQ(*path.key("A"), Value::ofString("t"));
  EXPECT_EQ(*path.key("B"), Value::ofUnsigned(CMPI_uint64, 5));
  EXPECT_EQ(*path.key("C"), Value::ofSigned(CMPI_sint64, -5));
  EXPECT_EQ(*path.key("D"), Value::ofBoolean(true));
}

TEST(ObjectPathArgument, TextsOfReferenceKeysArePaths) {
  const broker::ObjectPath path = read(R"(T_Link.From="T_Port.Id=\"a\"",Number=5)");
  ASSERT_EQ(path.key("From")->type, CMPI_ref);
  EXPECT_EQ(path.key("From")->reference(), samplePath("a"));
}

TEST(ObjectPathArgument, WhatDoesNotParseIsBadInput) {
  EXPECT_THROW(read("T_Port.Id="), BadInput);
  EXPECT_THROW(read(R"(T_Link.From="T_Port.")"), BadInput);
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
}  // namespace orv::tool
