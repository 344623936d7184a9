#include "framework/deadline.h"

namespace ORV {

timespec addSeconds(const timeval& now, long seconds) {
  constexpr long kNanosecondsPerSecond = 1'000'000'000;
  const long nanoseconds = now.tv_usec * 1000;
  timespec deadline{};
  deadline.tv_sec = now.tv_sec + seconds + nanoseconds / kNanosecondsPerSecond;
  deadline.tv_nsec = nanoseconds % kNanosecondsPerSecond;
  return deadline;
}

}  // namespace ORV
