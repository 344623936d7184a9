// What the library says about this machine's image, beside what uname, os-release and the kernel's
// statistics say.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "tests/platform/linux/tool_output.h"
#include "tests/support/real_library.h"

namespace {

using LinuxHost::toolOutput;
using orv::broker::Instance;
using orv::broker::Response;

class RunningImage : public testing::Test {
 protected:
  void SetUp() override {
    images_ = broker_.enumerateInstances("root/cimv2", "Orvane_HypervisorSoftwareIdentity");
    ASSERT_TRUE(images_.ok());
    ASSERT_GE(images_.instances.size(), 1U);
  }

  std::string text(const char* property) const {
    return images_.instances[0].property(property)->text();
  }

  /// The first line of what a tool prints.
  static std::string line(const std::string& command) {
    const std::string text = toolOutput(command).value_or("");
    return text.substr(0, text.find('\n'));
  }

  orv::broker::Broker broker_{orv::test::realLibrary()};
  Response images_;
};

TEST_F(RunningImage, IsNamedAsInOsRelease) {
  const std::string name = line(". /etc/os-release && echo \"$NAME\"");
  if (name.empty()) GTEST_SKIP() << "no name in os-release";
  EXPECT_EQ(text("Name"), name.substr(0, 31));
  EXPECT_EQ(text("Caption"), text("Name"));
}

TEST_F(RunningImage, HasTheVersionAndBuildOfUname) {
  const std::string version = line("uname -r | sed -E 's/^([0-9]+(\\.[0-9]+)*).*/\\1/'");
  const std::string build = line("uname -v | sed -nE 's/^#([0-9]+).*/\\1/p'");
  ASSERT_FALSE(version.empty());
  EXPECT_EQ(text("VersionString"), version + " build-" + (build.empty() ? "0" : build));
  EXPECT_EQ(text("InstanceID"), text("Name") + " " + text("VersionString"));
  EXPECT_EQ(text("ElementName"), text("InstanceID"));
}

TEST_F(RunningImage, HasTheNumbersOfUname) {
  const std::string major = line("uname -r | cut -d. -f1");
  const std::string minor = line("uname -r | cut -d. -f2");
  const auto* majorVersion = images_.instances[0].property("MajorVersion");
  ASSERT_FALSE(majorVersion->null);
  EXPECT_EQ(majorVersion->number(), std::stoul(major));
  EXPECT_EQ(images_.instances[0].property("MinorVersion")->number(), std::stoul(minor));
}

TEST_F(RunningImage, StartedWhenTheKernelDid) {
  const std::string bootTime = line("sed -n 's/^btime //p' /proc/stat");
  ASSERT_FALSE(bootTime.empty());
  const auto started = images_.instances[0].property("LastStartTime")->dateTime().microseconds;
  EXPECT_NEAR(static_cast<double>(started / 1'000'000), std::stod(bootTime), 2.0);
}

TEST_F(RunningImage, IsTheOnlyOneWhereThereIsNoAlternateBootBank) {
  if (access("/altbootbank/boot.cfg", F_OK) == 0) GTEST_SKIP() << "has an alternate boot bank";
  EXPECT_EQ(images_.instances.size(), 1U);
}

TEST_F(RunningImage, IsInstalledOnTheHost) {
  const Response installed =
      broker_.enumerateInstances("root/cimv2", "Orvane_InstalledSoftwareIdentity");
  ASSERT_TRUE(installed.ok());
  ASSERT_EQ(installed.instances.size(), 1U);
  const Instance& association = installed.instances[0];
  EXPECT_EQ(association.property("InstalledSoftware")->reference(), images_.instances[0].path);
  EXPECT_EQ(association.property("System")->reference().key("Name")->text(), line("uname -n"));
}

}  // namespace
