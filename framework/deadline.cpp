#include "framework/deadline.h"

namespace ORV {

timespec deadlineIn(long seconds) {
  timeval now{};
  gettimeofday(&now, nullptr);
  return addSeconds(now, seconds);
}

}  // namespace ORV
