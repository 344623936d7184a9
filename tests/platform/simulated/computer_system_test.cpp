#include "platform/computer_system.h"

#include <gtest/gtest.h>

#include "tests/support/simulated_host_file.h"

/// The calls look at neither argument; a context of any kind will do.
class CmpiContext {};

namespace {

std::string systemName() { return OMC::getComputerSystemName(CmpiContext(), nullptr); }

TEST(SimulatedComputerSystem, HasDefaults) {
  const SimulatedHostFile file("{}");
  EXPECT_EQ(systemName(), "simulated-host");
  EXPECT_EQ(OMC::getComputerSystemClassName(), "OMC_UnitaryComputerSystem");
}

TEST(SimulatedComputerSystem, AnswersTheMembersAtEveryCall) {
  const SimulatedHostFile file(R"({"systemName": "a", "systemClassName": "X_System"})");
  EXPECT_EQ(systemName(), "a");
  EXPECT_EQ(OMC::getComputerSystemClassName(), "X_System");
  file.write(R"({"systemName": "b", "systemClassName": "Y_System"})");
  EXPECT_EQ(systemName(), "b");
  EXPECT_EQ(OMC::getComputerSystemClassName(), "Y_System");
}

TEST(SimulatedComputerSystem, AnUnreadableHostHasTheDefaultsAndOneLineEach) {
  const SimulatedHostFile file("[]");
  const std::string line = "simulated host: " + file.path() + ": top level: expected an object\n";
  testing::internal::CaptureStderr();
  EXPECT_EQ(systemName(), "simulated-host");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), line);
  testing::internal::CaptureStderr();
  EXPECT_EQ(OMC::getComputerSystemClassName(), "OMC_UnitaryComputerSystem");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), line);
}

}  // namespace
