// The process ends by exit() while the monitor threads run, without any cleanup: no crash, no hang,
// no sanitizer report.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "tests/health/health_fixture.h"
#include "tests/health/test_period.h"

/// The thread sanitizer lets the other threads run on for a second when a process ends: a tenth of
/// it will do, two hundred times.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
  return "atexit_sleep_ms=100";
}

namespace orv::test {

namespace {

using broker::Broker;

constexpr int kRuns = 200;
constexpr unsigned kSecondsUntilHang = 60;

/// Lets a thread wait for a poll to be under way. Never destroyed.
struct Poll {
  std::mutex mutex;
  std::condition_variable changed;
  bool underWay = false;

  void begin() {
    const std::lock_guard<std::mutex> lock(mutex);
    underWay = true;
    changed.notify_all();
  }
  void wait() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return underWay; });
  }
};

/// The ways in which the runs differ, by turns.
enum Variant { kAtOnce, kWaiting, kPolling, kCleanupUnderWay, kVariants };

[[noreturn]] void endWhileThreadsRun(const Broker::Options& options, int run) {
  alarm(kSecondsUntilHang);
  static broker::TestBroker* broker;  // never destroyed, as an object manager's is not
  static Poll* poll;
  broker = new broker::TestBroker(options);
  poll = new Poll;
  const int variant = run % kVariants;
  setPeriodMilliseconds(variant == kPolling ? 0 : kUntilStopped);
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "a", 10)});
  scriptedHardware().onCall([](const std::string&) { poll->begin(); });

  const auto answer = broker->enumerateInstances("root/cimv2", "Orvane_RollupHealthState");
  if (!answer.ok()) {
    std::fprintf(stderr, "status %d %s\n", answer.rc, answer.message.value_or("").c_str());
    _exit(2);
  }
  if (variant != kAtOnce) poll->wait();
  if (variant == kCleanupUnderWay) std::thread([] { broker->shutdown(true); }).detach();
  std::exit(0);
}

/// Exit status of a child process that does it; -1 when a signal ended it.
int exitStatusOf(const Broker::Options& options, int run) {
  const pid_t child = fork();
  if (child == 0) endWhileThreadsRun(options, run);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(ProcessExit, WithoutCleanupIsCleanWhileTheThreadsRun) {
  const Broker::Options options = healthBrokerOptions();
  for (int run = 0; run < kRuns; ++run) {
    ASSERT_EQ(exitStatusOf(options, run), 0) << "run " << run;
  }
}

TEST(ProcessExit, WithoutCleanupIsCleanWithTheLoadedLibrary) {
  Broker::Options options = healthBrokerOptions();
  options.linkedFactories = {{"ScriptedHardware_Create_InstanceMI",
                              reinterpret_cast<void*>(ScriptedHardware_Create_InstanceMI)}};
  options.libraryFile = ORV_SIMULATED_LIBRARY;
  for (int run = 0; run < kRuns; ++run) {
    ASSERT_EQ(exitStatusOf(options, run), 0) << "run " << run;
  }
}

}  // namespace

}  // namespace orv::test
