#include "framework/object_identity.h"

#include <gtest/gtest.h>

#include "tests/support/provider_scope.h"

namespace ORV {
namespace {

using orv::broker::ObjectPath;
using orv::broker::Value;
using orv::test::objectPath;

class ObjectIdentity : public testing::Test {
 protected:
  std::string identity(const ObjectPath& path) {
    return objectIdentity(scope_.path(path), "root/cimv2");
  }
  static ObjectPath with(const std::string& name, Value value) {
    ObjectPath path = objectPath("T_Class");
    path.keys.push_back({name, std::move(value)});
    return path;
  }

  orv::test::ProviderScope scope_;
};

TEST_F(ObjectIdentity, CaseOfNamesDoesNotCount) {
  EXPECT_EQ(identity(objectPath("T_Class", {{"Key", "v"}}, "root/cimv2")),
            identity(objectPath("t_class", {{"kEY", "v"}}, "ROOT/cimv2")));
}

TEST_F(ObjectIdentity, CaseOfValuesCounts) {
  EXPECT_NE(identity(objectPath("T_Class", {{"Key", "v"}})),
            identity(objectPath("T_Class", {{"Key", "V"}})));
}

TEST_F(ObjectIdentity, OrderOfKeysDoesNotCount) {
  EXPECT_EQ(identity(objectPath("T_Class", {{"A", "1"}, {"B", "2"}})),
            identity(objectPath("T_Class", {{"B", "2"}, {"A", "1"}})));
}

TEST_F(ObjectIdentity, HostDoesNotCount) {
  ObjectPath withHost = objectPath("T_Class", {{"A", "1"}});
  withHost.host = "host-7";
  EXPECT_EQ(identity(withHost), identity(objectPath("T_Class", {{"A", "1"}})));
}

TEST_F(ObjectIdentity, NamespaceCountsButNotItsLeadingSlashNorItsAbsence) {
  EXPECT_NE(identity(objectPath("T_Class", {}, "root/other")), identity(objectPath("T_Class")));
  EXPECT_EQ(identity(objectPath("T_Class", {}, "/root/cimv2")), identity(objectPath("T_Class")));
  EXPECT_EQ(identity(objectPath("T_Class", {}, "")), identity(objectPath("T_Class")));
}

TEST_F(ObjectIdentity, NumbersAreTheirDigitsWhateverTheirType) {
  const std::string text = identity(objectPath("T_Class", {{"N", "7"}}));
  for (const CMPIType type : {CMPI_uint8, CMPI_uint16, CMPI_uint32, CMPI_uint64}) {
    EXPECT_EQ(identity(with("N", Value::ofUnsigned(type, 7))), text) << type;
  }
  for (const CMPIType type : {CMPI_sint8, CMPI_sint16, CMPI_sint32, CMPI_sint64}) {
    EXPECT_EQ(identity(with("N", Value::ofSigned(type, 7))), text) << type;
  }
  EXPECT_EQ(identity(with("N", Value::ofSigned(CMPI_sint64, -7))),
            identity(objectPath("T_Class", {{"N", "-7"}})));
  EXPECT_NE(identity(with("N", Value::ofUnsigned(CMPI_uint32, 8))), text);
}

TEST_F(ObjectIdentity, NullAndBooleanKeysDoNotCount) {
  EXPECT_EQ(identity(with("N", Value::ofNull(CMPI_string))), identity(objectPath("T_Class")));
  EXPECT_EQ(identity(with("N", Value::ofBoolean(true))), identity(objectPath("T_Class")));
}

TEST_F(ObjectIdentity, ReferencesCountByTheirOwnIdentity) {
  const std::string one =
      identity(with("R", Value::ofReference(objectPath("T_Far", {{"A", "1"}, {"B", "2"}}))));
  EXPECT_EQ(one,
            identity(with("R", Value::ofReference(objectPath("t_far", {{"B", "2"}, {"A", "1"}})))));
  EXPECT_NE(one, identity(with("R", Value::ofReference(objectPath("T_Far", {{"A", "1"}})))));
}

TEST_F(ObjectIdentity, MissingKeyAndOtherClassCount) {
  EXPECT_NE(identity(objectPath("T_Class", {{"A", "1"}})), identity(objectPath("T_Class")));
  EXPECT_NE(identity(objectPath("T_Class")), identity(objectPath("T_Other")));
}

TEST_F(ObjectIdentity, PartsDoNotRunIntoOneAnother) {
  EXPECT_NE(identity(objectPath("T_Class", {{"A", "1B2"}})),
            identity(objectPath("T_Class", {{"A", "1"}, {"B", "2"}})));
}

TEST_F(ObjectIdentity, PlainNamespaceHasNoLeadingSlash) {
  EXPECT_EQ(plainNameSpace(scope_.path(objectPath("C", {}, "/root/cimv2")), "d"), "root/cimv2");
  EXPECT_EQ(plainNameSpace(scope_.path(objectPath("C", {}, "")), "root/d"), "root/d");
  EXPECT_EQ(plainNameSpace(scope_.path(objectPath("C", {}, "/")), "d"), "");
}

}  // namespace
}  // namespace ORV
