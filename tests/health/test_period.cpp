#include "tests/health/test_period.h"

#include <atomic>
#include <mutex>

#include "framework/thread_times.h"

namespace orv::test {

namespace {

struct Periods {
  std::mutex mutex;
  long milliseconds = kUntilStopped;
  std::vector<long> asked;
};

std::atomic<bool> brokerStarted{true};
std::atomic<std::chrono::milliseconds> patience{std::chrono::seconds(5)};

/// Never destroyed: monitor threads may run while the process ends.
Periods& periods() {
  static auto* const all = new Periods;
  return *all;
}

}  // namespace

/// Notes what was asked for and gives the period in milliseconds.
static long takePeriod(long seconds) {
  constexpr std::size_t kKept = 1000;
  const std::lock_guard<std::mutex> lock(periods().mutex);
  if (periods().asked.size() < kKept) periods().asked.push_back(seconds);
  return periods().milliseconds;
}

void setPeriodMilliseconds(long milliseconds) {
  const std::lock_guard<std::mutex> lock(periods().mutex);
  periods().milliseconds = milliseconds;
  periods().asked.clear();
}

std::vector<long> periodsAskedFor() {
  const std::lock_guard<std::mutex> lock(periods().mutex);
  return periods().asked;
}

void setBrokerStarted(bool started) { brokerStarted = started; }

void setStopPatience(std::chrono::milliseconds wanted) { patience = wanted; }

}  // namespace orv::test

namespace ORV {

OMC::WallTime deadlineIn(std::chrono::seconds period) {
  return std::chrono::system_clock::now() +
         std::chrono::milliseconds(orv::test::takePeriod(period.count()));
}

std::chrono::nanoseconds brokerStartupLeft() {
  return orv::test::brokerStarted ? std::chrono::seconds(0) : std::chrono::hours(1);
}

std::chrono::milliseconds stopPatience() { return orv::test::patience; }

}  // namespace ORV
