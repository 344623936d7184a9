#pragma once

#include <sys/time.h>

#include <ctime>

namespace ORV {

/// `now` plus whole seconds, the microseconds carried over as nanoseconds.
timespec addSeconds(const timeval& now, long seconds);

/// Wall-clock now (gettimeofday) plus whole seconds. Stands in a source file of its own, which
/// tests replace at link time to let periods pass at once.
timespec deadlineIn(long seconds);

}  // namespace ORV
