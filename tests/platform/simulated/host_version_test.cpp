#include "platform/host_version.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

#include "tests/support/simulated_host_file.h"

namespace {

HykuserVersion_SystemVersion versionOf(const std::string& members) {
  const SimulatedHostFile file("{\"version\": {" + members + "}}");
  HykuserVersion_SystemVersion version{};
  EXPECT_EQ(HykuserVersion_GetSystemVersion(&version), 0);
  return version;
}

std::string textOf(int status, std::size_t size = 1024) {
  std::string text(size, '\xee');
  EXPECT_EQ(HykuserStatus_CodeToString(status, text.data(), size), text.data());
  return text.c_str();
}

TEST(SimulatedVersion, HasDefaults) {
  const auto version = versionOf("");
  EXPECT_STREQ(version.productName, "Orvane Ondi");
  EXPECT_STREQ(version.version, "5.1.0");
  EXPECT_STREQ(version.edition, "simulated");
  EXPECT_STREQ(version.releaseDate, "");
  EXPECT_EQ(version.buildNumber, 0);
}

TEST(SimulatedVersion, AnswersTheMembers) {
  const auto version = versionOf(
      R"("productName": "P", "version": "6.1", "edition": "e", "releaseDate": "Oct 4 2014",
         "buildNumber": -2)");
  EXPECT_STREQ(version.productName, "P");
  EXPECT_STREQ(version.version, "6.1");
  EXPECT_STREQ(version.edition, "e");
  EXPECT_STREQ(version.releaseDate, "Oct 4 2014");
  EXPECT_EQ(version.buildNumber, -2);
}

TEST(SimulatedVersion, CutsEachTextToThirtyOneCharacters) {
  const std::string text = "0123456789012345678901234567890";
  const std::string members = "\"productName\": \"" + text + "X\", \"version\": \"" + text +
                              "X\", \"edition\": \"" + text + "X\", \"releaseDate\": \"" + text +
                              "X\"";
  const auto version = versionOf(members);
  EXPECT_EQ(version.productName, text);
  EXPECT_EQ(version.version, text);
  EXPECT_EQ(version.edition, text);
  EXPECT_EQ(version.releaseDate, text);
}

TEST(SimulatedVersion, AStatusIsReturnedAndLeavesTheRecord) {
  const SimulatedHostFile file(R"({"version": {"status": -7, "productName": "P"}})");
  HykuserVersion_SystemVersion version{};
  version.productName[0] = 'x';
  version.buildNumber = 9;
  EXPECT_EQ(HykuserVersion_GetSystemVersion(&version), -7);
  EXPECT_STREQ(version.productName, "x");
  EXPECT_EQ(version.buildNumber, 9);
}

TEST(SimulatedVersion, TheFileWordsItsStatus) {
  const SimulatedHostFile file(R"({"version": {"status": 42, "errno": 13, "text": "not today"}})");
  HykuserVersion_SystemVersion version{};
  ASSERT_EQ(HykuserVersion_GetSystemVersion(&version), 42);
  EXPECT_EQ(HykuserStatus_CodeToErrno(42), 13);
  EXPECT_EQ(textOf(42), "not today");
  EXPECT_EQ(HykuserStatus_CodeToErrno(41), 5) << "of no call";
  EXPECT_EQ(textOf(41), "simulated failure");
}

TEST(SimulatedVersion, TheStatusHasDefaultWords) {
  const SimulatedHostFile file(R"({"version": {"status": 42}})");
  HykuserVersion_SystemVersion version{};
  ASSERT_EQ(HykuserVersion_GetSystemVersion(&version), 42);
  EXPECT_EQ(HykuserStatus_CodeToErrno(42), 5);
  EXPECT_EQ(textOf(42), "simulated failure");
}

TEST(SimulatedVersion, TheTextIsCutToTheCallersSize) {
  EXPECT_EQ(textOf(42, 10), "simulated");
  EXPECT_EQ(textOf(42, 1), "");
  char untouched = 'x';
  EXPECT_EQ(HykuserStatus_CodeToString(42, &untouched, 0), &untouched);
  EXPECT_EQ(untouched, 'x');
}

TEST(SimulatedVersion, AnUnreadableHostFailsWithOneLine) {
  const SimulatedHostFile file("{");
  HykuserVersion_SystemVersion version{};
  testing::internal::CaptureStderr();
  const int status = HykuserVersion_GetSystemVersion(&version);
  EXPECT_NE(status, 0);
  EXPECT_TRUE(HostType_OSIsHYK());
  EXPECT_EQ(HykuserStatus_CodeToErrno(status), 5);
  EXPECT_EQ(textOf(status), "simulated failure");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "simulated host: " + file.path() + ": line 1, column 2: not JSON\n");
}

TEST(SimulatedVersion, IsReadAtEveryCall) {
  EXPECT_EQ(versionOf("\"buildNumber\": 1").buildNumber, 1);
  EXPECT_EQ(versionOf("\"buildNumber\": 2").buildNumber, 2);
}

TEST(SimulatedHypervisor, IsTrueUnlessTheFileSaysFalse) {
  HykuserVersion_SystemVersion version{};
  const SimulatedHostFile file(R"({"hypervisor": false})");
  ASSERT_EQ(HykuserVersion_GetSystemVersion(&version), 0);
  EXPECT_FALSE(HostType_OSIsHYK());
  file.write("{}");
  ASSERT_EQ(HykuserVersion_GetSystemVersion(&version), 0);
  EXPECT_TRUE(HostType_OSIsHYK());
}

TEST(SimulatedHypervisor, BelongsToTheVersionCallBeforeIt) {
  HykuserVersion_SystemVersion version{};
  const SimulatedHostFile file(R"({"hypervisor": false})");
  ASSERT_EQ(HykuserVersion_GetSystemVersion(&version), 0);
  file.write("{}");
  EXPECT_FALSE(HostType_OSIsHYK());
}

TEST(SimulatedHypervisor, NeedsNoVersionCall) {
  const SimulatedHostFile file(R"({"hypervisor": false})");
  std::thread([&file] {  // a thread of its own has made none
    EXPECT_FALSE(HostType_OSIsHYK());
    file.write("{}");
    EXPECT_TRUE(HostType_OSIsHYK()) << "nothing is remembered without a version call";
  })
      .join();
}

}  // namespace
