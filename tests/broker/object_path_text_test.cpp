#include "broker/object_path_text.h"

#include <gtest/gtest.h>

namespace orv::broker {
namespace {

using Kind = KeyText::Kind;

std::string pathError(const std::string& text) {
  try {
    parseObjectPath(text);
  } catch (const ObjectPathError& e) {
    return e.what();
  }
  return "no error";
}

TEST(ObjectPathText, ReadsAClassAlone) {
  const ObjectPathText path = parseObjectPath("T_Port");
  EXPECT_EQ(path.className, "T_Port");
  EXPECT_EQ(path.nameSpace, "");
  EXPECT_EQ(path.host, "");
  EXPECT_TRUE(path.keys.empty());
}

TEST(ObjectPathText, ReadsNamespaceAndKeysOfEveryKind) {
  const ObjectPathText path =
      parseObjectPath(R"(root/cimv2:T_Port.Name="eth0",N=5,S=-7,P=+8,B=TRUE,C=false)");
  EXPECT_EQ(path.nameSpace, "root/cimv2");
  EXPECT_EQ(path.className, "T_Port");
  ASSERT_EQ(path.keys.size(), 6u);
  EXPECT_EQ(path.keys[0].name, "Name");
  EXPECT_EQ(path.keys[0].kind, Kind::text);
  EXPECT_EQ(path.keys[0].value, "eth0");
  EXPECT_EQ(path.keys[1].kind, Kind::unsignedNumber);
  EXPECT_EQ(path.keys[1].value, "5");
  EXPECT_EQ(path.keys[2].kind, Kind::signedNumber);
  EXPECT_EQ(path.keys[2].value, "-7");
  EXPECT_EQ(path.keys[3].kind, Kind::signedNumber);
  EXPECT_EQ(path.keys[3].value, "8");
  EXPECT_EQ(path.keys[4].kind, Kind::boolean);
  EXPECT_EQ(path.keys[4].value, "true");
  EXPECT_EQ(path.keys[5].value, "false");
}

TEST(ObjectPathText, SeparatorsInsideValuesSeparateNothing) {
  const ObjectPathText path = parseObjectPath(R"(ns:C.A="x:y.z,B=1",B="")");
  EXPECT_EQ(path.nameSpace, "ns");
  ASSERT_EQ(path.keys.size(), 2u);
  EXPECT_EQ(path.keys[0].value, "x:y.z,B=1");
  EXPECT_EQ(path.keys[1].value, "");
}

TEST(ObjectPathText, AValueWithColonsNeedsNoNamespace) {
  const ObjectPathText path = parseObjectPath(R"(C.A="Orvane:C:eth0")");
  EXPECT_EQ(path.nameSpace, "");
  EXPECT_EQ(path.keys[0].value, "Orvane:C:eth0");
}

TEST(ObjectPathText, EscapesStandForQuoteAndBackslash) {
  EXPECT_EQ(parseObjectPath(R"(C.A="say \"hi\" \\ there")").keys[0].value, R"(say "hi" \ there)");
}

TEST(ObjectPathText, AReferenceIsTheTextOfItsPath) {
  const ObjectPathText path = parseObjectPath(R"(ns:A.Ref="ns:B.K=\"v\\\"w\"")");
  const ObjectPathText inner = parseObjectPath(path.keys[0].value);
  EXPECT_EQ(inner.className, "B");
  EXPECT_EQ(inner.keys[0].value, "v\"w");
}

TEST(ObjectPathText, KeepsALeadingSlashOfTheNamespace) {
  EXPECT_EQ(parseObjectPath("/root/cimv2:C.A=1").nameSpace, "/root/cimv2");
}

TEST(ObjectPathText, ReadsAHost) {
  const ObjectPathText path = parseObjectPath("//host.example:5988/root/cimv2:C.A=1");
  EXPECT_EQ(path.host, "host.example:5988");
  EXPECT_EQ(path.nameSpace, "root/cimv2");
}

TEST(ObjectPathText, BlanksMayStandAroundNamesAndValues) {
  const ObjectPathText path = parseObjectPath(" ns: C . A = 1 , B = \" x \" ");
  EXPECT_EQ(path.className, "C");
  ASSERT_EQ(path.keys.size(), 2u);
  EXPECT_EQ(path.keys[1].value, " x ");
}

TEST(ObjectPathText, AcceptsTheLimitsOf64Bits) {
  const ObjectPathText path = parseObjectPath("C.A=18446744073709551615,B=-9223372036854775808");
  EXPECT_EQ(path.keys[0].value, "18446744073709551615");
  EXPECT_EQ(path.keys[1].value, "-9223372036854775808");
}

struct BadPath {
  const char* text;
  const char* error;
};

class ObjectPathErrors : public testing::TestWithParam<BadPath> {};

TEST_P(ObjectPathErrors, NameTheColumn) {
  EXPECT_EQ(pathError(GetParam().text), std::string("object path, column ") + GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    All, ObjectPathErrors,
    testing::Values(
        BadPath{"", "1: expected a class name"}, BadPath{"ns:", "4: expected a class name"},
        BadPath{"ns:5C", "4: expected a class name"}, BadPath{"C.", "3: expected a key name"},
        BadPath{"C.A", "4: expected \"=\" after key A"},
        BadPath{"C.A=", "5: expected a quoted text, a number, true or false"},
        BadPath{"C.A=eth0", "5: expected a quoted text, a number, true or false"},
        BadPath{"C.A=\"eth0", "5: value is not closed by a quote"},
        BadPath{"C.A=\"eth0\\\"", "5: value is not closed by a quote"},
        BadPath{"C.A=\"a\\n\"", "8: expected a quote or a backslash after the backslash"},
        BadPath{"C.A=1,", "7: expected a key name"},
        BadPath{"C.A=1,a=2", "7: key a is given twice"},
        BadPath{"C.A=1 B=2", "7: expected the end of the path or \".\" and keys"},
        BadPath{"C.A=-", "6: expected a digit"},
        BadPath{"C.A=18446744073709551616", "5: number is out of range"},
        BadPath{"C.A=-9223372036854775809", "5: number is out of range"},
        BadPath{"C.A=+9223372036854775808", "5: number is out of range"},
        BadPath{"C.A=1.5", "6: expected the end of the path or \".\" and keys"},
        BadPath{"C x", "3: expected the end of the path or \".\" and keys"},
        BadPath{"a b:C", "2: character cannot stand in a namespace"},
        BadPath{"//host", "1: expected a host name and \"/\""},
        BadPath{"///ns:C", "1: expected a host name and \"/\""}));

TEST(ObjectPathText, RefusesWhatIsTooLong) {
  EXPECT_EQ(pathError(std::string(70000, 'x')),
            "object path, column 1: path is longer than 65536 characters");
  std::string many = "C.K0=1";
  for (int i = 1; i <= 256; ++i) many += ",K" + std::to_string(i) + "=1";
  EXPECT_NE(pathError(many).find("too many keys"), std::string::npos);
}

TEST(ObjectPathText, PrintsWhatItReads) {
  for (const char* text :
       {"T_Port", "root/cimv2:T_Port", R"(/root/cimv2:C.A="x \"y\" \\",B=5,C=-7,D=+8,E=true)",
        R"(//host/ns:A.Ref="ns:B.K=\"v\"")"}) {
    EXPECT_EQ(printObjectPath(parseObjectPath(text)), text);
  }
}

}  // namespace
}  // namespace orv::broker
