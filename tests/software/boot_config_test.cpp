#include "software/boot_config.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace OrvSoftware {
namespace {

HykuserVersion_SystemVersion read(const std::string& text) {
  std::istringstream file(text);
  const auto image = readAlternateImage(file);
  EXPECT_TRUE(image.has_value());
  return image.value_or(HykuserVersion_SystemVersion{});
}

void expectEmpty(const HykuserVersion_SystemVersion& image) {
  EXPECT_STREQ(image.productName, "");
  EXPECT_STREQ(image.version, "");
  EXPECT_STREQ(image.edition, "");
  EXPECT_STREQ(image.releaseDate, "");
  EXPECT_EQ(image.buildNumber, 0);
}

TEST(BootConfig, ThreeNumbersGiveVersionAndBuild) {
  const auto image = read("build=5.1.0-0.0.799733\n");
  EXPECT_STREQ(image.productName, "Orvane Ondi");
  EXPECT_STREQ(image.version, "5.1.0");
  EXPECT_EQ(image.buildNumber, 799733);
}

TEST(BootConfig, OneNumberGivesVersionAndBuild) {
  const auto image = read("build=5.1.0-799733\n");
  EXPECT_STREQ(image.version, "5.1.0");
  EXPECT_EQ(image.buildNumber, 799733);
}

TEST(BootConfig, EditionAndReleaseDateStayEmpty) {
  const auto image = read("build=5.1.0-799733\n");
  EXPECT_STREQ(image.edition, "");
  EXPECT_STREQ(image.releaseDate, "");
}

TEST(BootConfig, LineWithoutDashGivesAnEmptyImage) { expectEmpty(read("build=5.1.0\n")); }

TEST(BootConfig, EmptyFileGivesAnEmptyImage) { expectEmpty(read("")); }

TEST(BootConfig, FileWithoutBuildLineGivesAnEmptyImage) {
  expectEmpty(read("bootstate=0\ntitle=Loading\nkernel=b.b00\n"));
}

TEST(BootConfig, BareBuildLineGivesAnEmptyImage) {
  expectEmpty(read("build="));
  expectEmpty(read("build=   \n"));
}

TEST(BootConfig, LinesBeforeAreSkipped) {
  EXPECT_STREQ(read("bootstate=0\n\nbuild=6.0.0-1\nmodules=x\n").version, "6.0.0");
}

TEST(BootConfig, FirstBuildLineCountsEvenWithoutDash) {
  expectEmpty(read("build=5.1.0\nbuild=6.0.0-1\n"));
  EXPECT_STREQ(read("build=5.1.0-1\nbuild=6.0.0-2\n").version, "5.1.0");
}

TEST(BootConfig, LineMustBeginWithThePrefixExactly) {
  expectEmpty(read(" build=5.1.0-1\n"));
  expectEmpty(read("Build=5.1.0-1\n"));
  expectEmpty(read("build =5.1.0-1\n"));
  expectEmpty(read("xbuild=5.1.0-1\n"));
}

TEST(BootConfig, LastLineNeedsNoLineEnd) { EXPECT_EQ(read("x\nbuild=5.1.0-7").buildNumber, 7); }

TEST(BootConfig, TrailingWhiteSpaceIsRemoved) {
  const auto image = read("build=5.1.0-799733 \t\v\f\r\n");
  EXPECT_STREQ(image.version, "5.1.0");
  EXPECT_EQ(image.buildNumber, 799733);
}

TEST(BootConfig, WhiteSpaceInsideStays) {
  const auto image = read("build= 5.1.0 -7\n");
  EXPECT_STREQ(image.version, " 5.1.0 ");
  EXPECT_EQ(image.buildNumber, 7);
}

TEST(BootConfig, VersionEndsAtTheFirstDash) {
  const auto image = read("build=5.1.0-beta-7\n");
  EXPECT_STREQ(image.version, "5.1.0");
  EXPECT_EQ(image.buildNumber, -1);
}

TEST(BootConfig, DashNeedsNothingAroundIt) {
  EXPECT_EQ(read("build=5.1.0-\n").buildNumber, -1);
  EXPECT_STREQ(read("build=-7\n").version, "");
  EXPECT_EQ(read("build=-7\n").buildNumber, 7);
}

TEST(BootConfig, LongVersionIsCutToItsField) {
  const auto image = read("build=" + std::string(40, '5') + "-7\n");
  EXPECT_EQ(std::string(image.version), std::string(31, '5'));
  EXPECT_EQ(image.buildNumber, 7);
}

TEST(BootConfig, LinesAreReadUpTo64Kibibytes) {
  const std::string filler(10'000'000, 'x');
  EXPECT_EQ(read(filler + "\nbuild=5.1.0-7\n").buildNumber, 7);
  const auto image = read("build=" + filler.substr(0, 65'000) + "-7\n");
  EXPECT_EQ(std::string(image.version), std::string(31, 'x'));
  EXPECT_EQ(image.buildNumber, 7);
  expectEmpty(read("build=" + filler + "-7\nbuild=5.1.0-8\n"));
}

TEST(BootConfig, DirectoryIsUnreadable) {
  std::ifstream directory(std::filesystem::temp_directory_path());
  EXPECT_FALSE(readAlternateImage(directory).has_value());
}

struct BuildCase {
  const char* text;
  std::int32_t build;
};

class BuildNumber : public testing::TestWithParam<BuildCase> {};

TEST_P(BuildNumber, CountsOnlyAsItWouldBePrinted) {
  EXPECT_EQ(parseBuildNumber(GetParam().text), GetParam().build) << GetParam().text;
}

constexpr BuildCase kBuildCases[] = {
    // One number.
    {"0", 0},
    {"799733", 799733},
    {"-5", -5},
    {"2147483647", 2147483647},
    {"-2147483648", -2147483647 - 1},
    {"2147483648", -1},
    {"-2147483649", -1},
    {"99999999999999999999999999", -1},
    {"", -1},
    {"x", -1},
    {"799733x", -1},
    {"0799733", -1},
    {"00", -1},
    {"-0", -1},
    {"+799733", -1},
    {" 799733", -1},
    {"0x10", -1},
    // Two.
    {"0.799733", -1},
    {"5.", -1},
    {".5", -1},
    // Three: the last is the build number.
    {"0.0.799733", 799733},
    {"1.2.3", 3},
    {"-1.-2.-3", -3},
    {"2147483647.2147483647.2147483647", 2147483647},
    {"0.0.7997x", -1},
    {"0.0.", -1},
    {"0.0.x", -1},
    {"0..5", -1},
    {"0.0.0799733", -1},
    {"00.0.5", -1},
    {"0.00.5", -1},
    {"0.+0.5", -1},
    {"0. 0.5", -1},
    {"0.0. 5", -1},
    {" 0.0.5", -1},
    {"2147483648.0.5", -1},
    {"0.2147483648.5", -1},
    {"0.0.2147483648", -1},
    // More.
    {"1.2.3.4", -1},
    {"1.2.3.", -1},
};
INSTANTIATE_TEST_SUITE_P(Texts, BuildNumber, testing::ValuesIn(kBuildCases));

}  // namespace
}  // namespace OrvSoftware
