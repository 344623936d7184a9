#include "software/version_identity.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace OrvSoftware {
namespace {

using testing::ElementsAre;
using testing::Optional;

HykuserVersion_SystemVersion image(const char* product, const char* version, const char* edition,
                                   std::int32_t build) {
  HykuserVersion_SystemVersion result{};
  setField(result.productName, product);
  setField(result.version, version);
  setField(result.edition, edition);
  result.buildNumber = build;
  return result;
}

const HykuserVersion_SystemVersion kRunning = image("Orvane Ondi", "5.1.0", "embedded", 1234);
const HykuserVersion_SystemVersion kAlternate = image("Orvane Ondi", "5.1.0", "", 799733);

TEST(VersionIdentity, ThirdTextFieldTellsTheImagesApart) {
  EXPECT_TRUE(isRunningImage(kRunning));
  EXPECT_FALSE(isRunningImage(kAlternate));
}

TEST(VersionIdentity, RunningImage) {
  EXPECT_EQ(identityString(kRunning), "Orvane Ondi 5.1.0 build-1234");
  EXPECT_EQ(imageName(kRunning), "Orvane Ondi");
  EXPECT_EQ(versionString(kRunning), "5.1.0 build-1234");
}

TEST(VersionIdentity, AlternateImageDiffersInPrefixAndSuffix) {
  EXPECT_EQ(identityString(kAlternate), "Alt Boot Bank: Orvane Ondi 5.1.0 build-799733");
  EXPECT_EQ(imageName(kAlternate), "Orvane Ondi Alternate Boot Bank");
}

TEST(VersionIdentity, EmptyAlternateImageKeepsItsBlanks) {
  const HykuserVersion_SystemVersion empty{};
  EXPECT_EQ(identityString(empty), "Alt Boot Bank:   build-0");
  EXPECT_EQ(imageName(empty), " Alternate Boot Bank");
  EXPECT_EQ(versionString(empty), " build-0");
}

TEST(VersionIdentity, NegativeBuildNumberIsPrintedWithItsSign) {
  EXPECT_EQ(versionString(image("", "5.1.0", "", -1)), "5.1.0 build--1");
}

TEST(VersionIdentity, LargeBuildNumberIsUnsigned) {
  EXPECT_EQ(largeBuildNumber(kRunning), 1234U);
  EXPECT_EQ(largeBuildNumber(image("", "", "", -1)), 4294967295U);
}

TEST(VersionNumbers, ThreeNumbers) {
  EXPECT_THAT(versionNumbers("5.1.0"), Optional(ElementsAre(5, 1, 0)));
  EXPECT_THAT(versionNumbers("6.12.345"), Optional(ElementsAre(6, 12, 345)));
}

TEST(VersionNumbers, TextBehindTheThirdNumberDoesNotMatter) {
  EXPECT_THAT(versionNumbers("6.1.0-13-amd64"), Optional(ElementsAre(6, 1, 0)));
  EXPECT_THAT(versionNumbers("1.2.3.4"), Optional(ElementsAre(1, 2, 3)));
}

TEST(VersionNumbers, WhiteSpaceAndSignsMayStandBeforeANumber) {
  EXPECT_THAT(versionNumbers(" 5. 1.\t0"), Optional(ElementsAre(5, 1, 0)));
  EXPECT_THAT(versionNumbers("+5.1.0"), Optional(ElementsAre(5, 1, 0)));
  EXPECT_THAT(versionNumbers("-1.-2.-3"), Optional(ElementsAre(65535, 65534, 65533)));
  EXPECT_THAT(versionNumbers("007.08.09"), Optional(ElementsAre(7, 8, 9)));
}

TEST(VersionNumbers, LowSixteenBitsOfALargeNumber) {
  EXPECT_THAT(versionNumbers("65535.65536.70000"), Optional(ElementsAre(65535, 0, 4464)));
  EXPECT_TRUE(versionNumbers("99999999999999999999.1.0").has_value());
}

TEST(VersionNumbers, AbsentUnlessThereAreThree) {
  for (const char* text :
       {"", "5", "5.", "5.1", "5.1.", "5.1.x", "5,1,0", "5 .1.0", "x.1.0", "5..0", "v5.1.0"}) {
    EXPECT_EQ(versionNumbers(text), std::nullopt) << text;
  }
}

TEST(SetField, CutsAndTerminates) {
  char field[4] = {'x', 'x', 'x', 'x'};
  setField(field, "abcdef");
  EXPECT_STREQ(field, "abc");
  setField(field, "");
  EXPECT_STREQ(field, "");
}

}  // namespace
}  // namespace OrvSoftware
