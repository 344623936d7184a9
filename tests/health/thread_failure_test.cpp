// A monitor thread that cannot be started. The program replaces pthread_create.

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <csignal>

#include "health/latched_health_state.h"
#include "tests/health/health_fixture.h"

namespace {

std::atomic<int> passing{1 << 30};  // calls that succeed before all others fail

}  // namespace

extern "C" __attribute__((visibility("default"))) int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
    void* argument) noexcept {
  if (passing-- <= 0) return EAGAIN;
  using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  return next(thread, attributes, body, argument);
}

namespace orv::test {

namespace {

class ThreadFailureDeathTest : public HealthTest {
 protected:
  ThreadFailureDeathTest() { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }

  void initializeWithThreads(int count) {
    OrvLatchedHealth::OrvLatchedHealthState provider(binding(), context());
    passing = count;
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
