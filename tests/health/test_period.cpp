#include "tests/health/test_period.h"

#include <mutex>

#include "framework/deadline.h"

namespace orv::test {

namespace {

struct Periods {
  std::mutex mutex;
  long milliseconds = kUntilStopped;
  std::vector<long> asked;
};

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

}  // namespace orv::test

namespace ORV {

timespec deadlineIn(long seconds) {
  const long milliseconds = orv::test::takePeriod(seconds);
  timeval now{};
  gettimeofday(&now, nullptr);
  now.tv_usec += milliseconds % 1000 * 1000;
  if (now.tv_usec >= 1'000'000) {
    ++now.tv_sec;
    now.tv_usec -= 1'000'000;
  }
  return addSeconds(now, milliseconds / 1000);
}

}  // namespace ORV
