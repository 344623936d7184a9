#include "platform/simulated/host_file.h"

#include <gtest/gtest.h>

#include "tests/support/host_with_ports.h"
#include "tests/support/simulated_host_file.h"

namespace simulated {
namespace {

/// What one call that fails writes to standard error.
std::string errorOutput() {
  testing::internal::CaptureStderr();
  EXPECT_EQ(loadHost(), nullptr);
  return testing::internal::GetCapturedStderr();
}

TEST(HostFile, IsReadAtEveryCall) {
  const SimulatedHostFile file(R"({"systemName": "first"})");
  EXPECT_EQ(loadHost()->systemName, "first");
  file.write(R"({"systemName": "other"})");  // same length, same moment
  EXPECT_EQ(loadHost()->systemName, "other");
  file.write(R"({"systemName": "first"})");
  EXPECT_EQ(loadHost()->systemName, "first");
}

TEST(HostFile, TheVariableIsReadAtEveryCall) {
  const SimulatedHostFile first(R"({"systemName": "first"})");
  const SimulatedHostFile second(R"({"systemName": "second"})");
  EXPECT_EQ(loadHost()->systemName, "second");
  ::setenv("ORV_HOST_FILE", first.path().c_str(), 1);
  EXPECT_EQ(loadHost()->systemName, "first");
}

TEST(HostFile, AGoodOneWritesNothing) {
  const SimulatedHostFile file("{}");
  testing::internal::CaptureStderr();
  EXPECT_NE(loadHost(), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(HostFile, MayBeLongerThanOneRead) {
  const SimulatedHostFile file(makeHostWithPorts(1024));
  const auto host = loadHost();
  ASSERT_NE(host, nullptr);
  const auto& ports = std::get<std::vector<SimulatedPort>>(host->ports);
  ASSERT_EQ(ports.size(), 1024U);
  EXPECT_EQ(ports.back().name, "nic1023");
}

TEST(HostFile, ARecoveredFileServesAgain) {
  const SimulatedHostFile file("{}");
  EXPECT_NE(loadHost(), nullptr);
  file.write("{");
  EXPECT_FALSE(errorOutput().empty());
  file.write("{}");
  EXPECT_NE(loadHost(), nullptr);
  file.remove();
  EXPECT_FALSE(errorOutput().empty());
}

TEST(HostFileErrors, NameTheFileAndThePointerOnOneLine) {
  const SimulatedHostFile file(R"({"ports": [{}, {"linkSpeed": -1}]})");
  EXPECT_EQ(errorOutput(), "simulated host: " + file.path() +
                               ": /ports/1/linkSpeed: expected an integer from 0 to 4294967295\n");
}

TEST(HostFileErrors, NameTheFileAndTheLine) {
  const SimulatedHostFile file("{\n  oops\n}");
  EXPECT_EQ(errorOutput(), "simulated host: " + file.path() + ": line 2, column 3: not JSON\n");
}

TEST(HostFileErrors, AreWrittenForEveryCall) {
  const SimulatedHostFile file("[]");
  const std::string line = "simulated host: " + file.path() + ": top level: expected an object\n";
  EXPECT_EQ(errorOutput(), line);
  EXPECT_EQ(errorOutput(), line);
}

TEST(HostFileErrors, AMissingFileIsNamed) {
  const SimulatedHostFile file("{}");
  file.remove();
  EXPECT_EQ(errorOutput(), "simulated host: " + file.path() + ": No such file or directory\n");
}

TEST(HostFileErrors, ADirectoryIsUnreadable) {
  const SimulatedHostFile file("{}");
  ::setenv("ORV_HOST_FILE", "/", 1);
  EXPECT_EQ(errorOutput(), "simulated host: /: Is a directory\n");
}

TEST(HostFileErrors, AMissingOrEmptyVariableIsNamed) {
  const std::string line = "simulated host: the environment variable ORV_HOST_FILE names no file\n";
  ::unsetenv("ORV_HOST_FILE");
  EXPECT_EQ(errorOutput(), line);
  ::setenv("ORV_HOST_FILE", "", 1);
  EXPECT_EQ(errorOutput(), line);
  ::unsetenv("ORV_HOST_FILE");
}

TEST(HostFileErrors, StayOneLineWhateverAMemberIsCalled) {
  const SimulatedHostFile file(R"({"a\nb\u0000\u001b": 1})");
  EXPECT_EQ(errorOutput(), "simulated host: " + file.path() + ": /a?b??: unknown member\n");
}

}  // namespace
}  // namespace simulated
