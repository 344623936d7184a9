#include "broker/registration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace orv::broker {
namespace {

std::vector<RegistrationSection> sectionsOf(const std::string& text) {
  std::istringstream in(text);
  return readRegistration(in, "t.reg");
}

std::string registrationError(const std::string& text) {
  try {
    sectionsOf(text);
  } catch (const RegistrationError& e) {
    return e.what();
  }
  return "no error";
}

TEST(Registration, ReadsEveryKeyOfASection) {
  const auto sections = sectionsOf(
      "# comment\n"
      "[T_Port]\n"
      "   provider: PortProvider\n"
      "   location: tprovider\n"
      "   type: instance association\n"
      "   namespace: root/cimv2 root/interop\n"
      "   group: shared\n"
      "   unload: never\n"
      "   user: root\n"
      "   parameters: a=1 b: 2\n");
  ASSERT_EQ(sections.size(), 1u);
  const RegistrationSection& s = sections[0];
  EXPECT_EQ(s.className, "T_Port");
  EXPECT_EQ(s.provider, "PortProvider");
  EXPECT_EQ(s.location, "tprovider");
  EXPECT_TRUE(s.instance);
  EXPECT_TRUE(s.association);
  EXPECT_FALSE(s.method);
  EXPECT_FALSE(s.indication);
  EXPECT_THAT(s.namespaces, testing::ElementsAre("root/cimv2", "root/interop"));
  EXPECT_EQ(s.group, "shared");
  EXPECT_TRUE(s.unloadNever);
  EXPECT_EQ(s.parameters, "a=1 b: 2");
}

TEST(Registration, OptionalKeysMayBeAbsent) {
  const auto sections = sectionsOf(
      "[A]\nprovider: P\nlocation: l\ntype: method\n[B]\r\n"
      "provider:P\r\nlocation:l\r\ntype:indication\r\n");
  ASSERT_EQ(sections.size(), 2u);
  EXPECT_TRUE(sections[0].method);
  EXPECT_TRUE(sections[0].namespaces.empty());
  EXPECT_FALSE(sections[0].unloadNever);
  EXPECT_TRUE(sections[1].indication);
  EXPECT_EQ(sections[1].location, "l");
}

TEST(Registration, AnEmptyTextHasNoSections) {
  EXPECT_TRUE(sectionsOf("").empty());
  EXPECT_TRUE(sectionsOf("\n  \n# only comments").empty());
}

TEST(Registration, AcceptsTheTypeWordsThatMeanNothingToUs) {
  EXPECT_EQ(sectionsOf("[A]\nprovider: P\nlocation: l\ntype: property class qualifier\n").size(),
            1u);
}

TEST(Registration, OneClassMayHaveSectionsOfTwoProviders) {
  EXPECT_EQ(sectionsOf("[A]\nprovider: P\nlocation: l\ntype: instance\n"
                       "[A]\nprovider: Q\nlocation: l\ntype: indication\n")
                .size(),
            2u);
  EXPECT_EQ(sectionsOf("[A]\nprovider: P\nlocation: l\ntype: instance\nnamespace: x\n"
                       "[A]\nprovider: P\nlocation: l\ntype: instance\nnamespace: y\n")
                .size(),
            2u);
}

struct BadText {
  const char* text;
  const char* error;
};

class RegistrationErrors : public testing::TestWithParam<BadText> {};

TEST_P(RegistrationErrors, NameFileAndLine) {
  EXPECT_EQ(registrationError(GetParam().text), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    All, RegistrationErrors,
    testing::Values(
        BadText{"[A]\n\ncolour: red\n", "t.reg:3: unknown key \"colour\""},
        BadText{"[A]\nProvider: P\n", "t.reg:2: unknown key \"Provider\""},
        BadText{"[A]\ntype: instance associations\n", "t.reg:2: unknown type \"associations\""},
        BadText{"[A]\nunload: always\n", "t.reg:2: unknown unload value \"always\""},
        BadText{"[A]\nprovider: P\nprovider: Q\n", "t.reg:3: key \"provider\" is given twice"},
        BadText{"provider: P\n", "t.reg:1: a key stands before the first section"},
        BadText{"[A]\nprovider\n", "t.reg:2: expected \"key: value\" or \"[class]\""},
        BadText{"[A\n", "t.reg:1: section header lacks its closing bracket"},
        BadText{"[ ]\n", "t.reg:1: section header names no class"},
        BadText{"\n[A]\nlocation: l\ntype: instance\n", "t.reg:2: section names no provider"},
        BadText{"[A]\nprovider: P\ntype: instance\n", "t.reg:1: section names no location"},
        BadText{"[A]\nprovider: P\nlocation: l\n[B]\n", "t.reg:1: section names no type"},
        BadText{"[A]\nprovider: P\nlocation: l\ntype: instance\n\n"
                "[a]\nprovider: P\nlocation: l\ntype: instance association\n",
                "t.reg:6: class a has another section of provider P with other types"}));

TEST(Registration, RefusesANullCharacterAndAnEndlessLine) {
  EXPECT_EQ(registrationError(std::string("[A\0]\n", 5)), "t.reg:1: line holds a null character");
  EXPECT_EQ(registrationError("[A]\nparameters: " + std::string(70000, 'x')),
            "t.reg:2: line is too long");
}

TEST(Registration, AFileThatCannotBeReadIsAnError) {
  EXPECT_THROW(readRegistrationFile("/nonexistent/x.reg"), RegistrationError);
  EXPECT_THROW(readRegistrationFile("/"), RegistrationError);
}

}  // namespace
}  // namespace orv::broker
