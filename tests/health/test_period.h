#pragma once

#include <vector>

/// Replaces ORV::deadlineIn: the periods of the monitor threads end when a test wants it.
namespace orv::test {

constexpr long kUntilStopped = 3'600'000;

/// How long a period lasts, whatever is asked for. At the start: until the threads are stopped.
void setPeriodMilliseconds(long milliseconds);

/// The periods asked for since the last call of setPeriodMilliseconds, in seconds, in order.
std::vector<long> periodsAskedFor();

}  // namespace orv::test
