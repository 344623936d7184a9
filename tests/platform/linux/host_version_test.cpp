#include "platform/host_version.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tests/platform/linux/tool_output.h"

namespace LinuxHost {
namespace {

/// The value that the shell sees in os-release.
std::optional<std::string> osRelease(const std::string& name) {
  auto text = toolOutput(". /etc/os-release && printf %s \"$" + name + "\"");
  if (text && text->size() > 31) text->resize(31);
  return text;
}

TEST(SystemVersion, AgreesWithOsReleaseAndUname) {
  HykuserVersion_SystemVersion version{};
  ASSERT_EQ(HykuserVersion_GetSystemVersion(&version), 0);
  const auto name = osRelease("NAME");
  if (!name) GTEST_SKIP() << "no os-release on this machine";
  EXPECT_EQ(version.productName, *name);
  EXPECT_STRNE(version.edition, "");
  if (osRelease("VARIANT") == "" && osRelease("VERSION") != "") {
    EXPECT_EQ(version.edition, osRelease("VERSION"));
  }
  utsname kernel{};
  ASSERT_EQ(uname(&kernel), 0);
  const std::string dotted = version.version;
  EXPECT_EQ(std::string(kernel.release).compare(0, dotted.size(), dotted), 0);
  EXPECT_EQ(dotted.find_first_not_of("0123456789."), std::string::npos);
  const auto build = toolOutput("uname -v");
  if (build && build->front() == '#') {
    EXPECT_EQ(version.buildNumber, std::stoi(build->substr(1)));
  }
}

TEST(SystemVersion, CannotBeStoredNowhere) {
  EXPECT_EQ(HykuserVersion_GetSystemVersion(nullptr), EINVAL);
}

TEST(Status, IsAnErrnoValueWithItsText) {
  EXPECT_EQ(HykuserStatus_CodeToErrno(ENOENT), ENOENT);
  char text[1024];
  EXPECT_EQ(HykuserStatus_CodeToString(ENOENT, text, sizeof text), text);
  EXPECT_STREQ(text, std::strerror(ENOENT));
}

TEST(Status, TextIsCutToItsField) {
  char text[8];
  std::memset(text, 'x', sizeof text);
  HykuserStatus_CodeToString(ENOENT, text, 5);
  EXPECT_STREQ(text, std::string(std::strerror(ENOENT)).substr(0, 4).c_str());
  EXPECT_EQ(text[5], 'x');
  EXPECT_EQ(HykuserStatus_CodeToString(ENOENT, text, 0), text);
  EXPECT_EQ(HykuserStatus_CodeToString(ENOENT, nullptr, 10), nullptr);
}

}  // namespace
}  // namespace LinuxHost
