#include <gtest/gtest.h>

#include "cmpi/cmpi_object_path.h"
#include "tests/support/provider_scope.h"

namespace {

using orv::broker::ObjectPath;
using orv::broker::Value;
using orv::test::objectPath;

class PathEquality : public testing::Test {
 protected:
  bool same(const ObjectPath& a, const ObjectPath& b) {
    const CmpiObjectPath left = scope_.path(a);
    const CmpiObjectPath right = scope_.path(b);
    EXPECT_EQ(left == right, right == left);
    EXPECT_NE(left == right, left != right);
    return left == right;
  }
  static ObjectPath with(const std::string& name, Value value) {
    ObjectPath path = objectPath("T");
    path.keys.push_back({name, std::move(value)});
    return path;
  }

  orv::test::ProviderScope scope_;
};

TEST_F(PathEquality, CaseOfNamesDoesNotCount) {
  EXPECT_TRUE(same(objectPath("T_Class", {{"Key", "v"}}, "root/cimv2"),
                   objectPath("t_CLASS", {{"kEY", "v"}}, "ROOT/CIMV2")));
}

TEST_F(PathEquality, ClassNamespaceAndValuesCount) {
  EXPECT_FALSE(same(objectPath("T"), objectPath("U")));
  EXPECT_FALSE(same(objectPath("T"), objectPath("T", {}, "root/other")));
  EXPECT_FALSE(same(objectPath("T", {{"K", "v"}}), objectPath("T", {{"K", "V"}})));
  EXPECT_FALSE(same(objectPath("T", {{"K", "v"}}), objectPath("T", {{"L", "v"}})));
}

TEST_F(PathEquality, KeysMayStandInAnyOrder) {
  EXPECT_TRUE(
      same(objectPath("T", {{"A", "1"}, {"B", "2"}}), objectPath("T", {{"B", "2"}, {"A", "1"}})));
}

TEST_F(PathEquality, EveryKeyCounts) {
  EXPECT_FALSE(same(objectPath("T", {{"A", "1"}}), objectPath("T", {{"A", "1"}, {"B", "2"}})));
  EXPECT_FALSE(same(objectPath("T"), objectPath("T", {{"A", "1"}})));
}

TEST_F(PathEquality, AbsentAndEmptyHostAreOne) {
  ObjectPath withHost = objectPath("T");
  withHost.host = "host-7";
  ObjectPath otherCase = objectPath("T");
  otherCase.host = "HOST-7";
  EXPECT_FALSE(same(withHost, objectPath("T")));
  EXPECT_TRUE(same(withHost, otherCase));
  CmpiObjectPath emptyHost = scope_.path(objectPath("T"));
  emptyHost.setHostname("");
  EXPECT_TRUE(emptyHost == scope_.path(objectPath("T")));
}

TEST_F(PathEquality, TypesOfNumbersCount) {
  EXPECT_TRUE(same(with("N", Value::ofUnsigned(CMPI_uint32, 7)),
                   with("N", Value::ofUnsigned(CMPI_uint32, 7))));
  EXPECT_FALSE(same(with("N", Value::ofUnsigned(CMPI_uint32, 7)),
                    with("N", Value::ofUnsigned(CMPI_uint64, 7))));
  EXPECT_FALSE(same(with("N", Value::ofUnsigned(CMPI_uint32, 7)), objectPath("T", {{"N", "7"}})));
  EXPECT_FALSE(same(with("N", Value::ofSigned(CMPI_sint64, -7)),
                    with("N", Value::ofSigned(CMPI_sint64, 7))));
}

TEST_F(PathEquality, BooleansAndReferencesAreCompared) {
  EXPECT_TRUE(same(with("B", Value::ofBoolean(true)), with("B", Value::ofBoolean(true))));
  EXPECT_FALSE(same(with("B", Value::ofBoolean(true)), with("B", Value::ofBoolean(false))));
  const auto reference = [](const char* id) {
    return with("R", Value::ofReference(objectPath("U", {{"Id", id}})));
  };
  EXPECT_TRUE(same(reference("a"), reference("a")));
  EXPECT_FALSE(same(reference("a"), reference("b")));
}

TEST_F(PathEquality, NullPathsEqualEachOtherOnly) {
  const CmpiObjectPath null(nullptr);
  EXPECT_TRUE(null == CmpiObjectPath(nullptr));
  EXPECT_FALSE(null == scope_.path(objectPath("T")));
  EXPECT_TRUE(scope_.path(objectPath("T")) != null);
}

}  // namespace
