// A monitor thread that cannot be started.

#include <csignal>

#include "health/latched_health_state.h"
#include "tests/health/health_fixture.h"
#include "tests/support/failing_threads.h"

namespace orv::test {

namespace {

class ThreadFailureDeathTest : public HealthTest {
 protected:
  ThreadFailureDeathTest() { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }

  void initializeWithThreads(int count) {
    OrvLatchedHealth::OrvLatchedHealthState provider(binding(), context());
    threadsLeft = count;
    provider.initialize(context());
  }
};

TEST_F(ThreadFailureDeathTest, WithoutAHealthMonitorTheProcessEnds) {
  EXPECT_EXIT(initializeWithThreads(0), ::testing::KilledBySignal(SIGABRT),
              "syslog<3>: StartHealthMonitorThread failed to start health monitoring thread\n");
}

TEST_F(ThreadFailureDeathTest, WithoutAKernelIpMonitorTheProcessEnds) {
  EXPECT_EXIT(
      initializeWithThreads(1), ::testing::KilledBySignal(SIGABRT),
      "syslog<3>: StartKernelIpMonitorThread failed to start Kernel Ip monitoring thread\n");
}

}  // namespace

}  // namespace orv::test
