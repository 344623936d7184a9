#pragma once

#include <chrono>
#include <vector>

/// Replaces framework/thread_times.cpp: the periods of the monitor threads end when a test wants
/// it, and so does the start of the broker.
namespace orv::test {

constexpr long kUntilStopped = 3'600'000;

/// How long a period lasts, whatever is asked for. At the start: until the threads are stopped.
void setPeriodMilliseconds(long milliseconds);

/// The periods asked for since the last call of setPeriodMilliseconds, in seconds, in order.
std::vector<long> periodsAskedFor();

/// Whether the broker is as old as it must be for indications; at the start it is.
void setBrokerStarted(bool started);

/// How long a stop waits for threads that do not end; at the start five seconds.
void setStopPatience(std::chrono::milliseconds patience);

}  // namespace orv::test
