#include "framework/thread_times.h"

#include <sys/time.h>
#include <unistd.h>

#include "framework/broker_process.h"

namespace ORV {

using std::chrono::microseconds;
using std::chrono::seconds;

OMC::WallTime deadlineIn(seconds period) {
  timeval now{};
  gettimeofday(&now, nullptr);
  return OMC::WallTime(seconds(now.tv_sec) + microseconds(now.tv_usec) + period);
}

std::chrono::nanoseconds brokerStartupLeft() {
  constexpr seconds kStartup(10);
  const auto age = brokerAge(getpid());
  return age ? kStartup - *age : seconds(0);
}

std::chrono::milliseconds stopPatience() {
  return belongsToBroker(getpid(), thisMachine()) ? std::chrono::milliseconds(300) : seconds(5);
}

}  // namespace ORV
