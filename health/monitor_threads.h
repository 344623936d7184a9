#pragma once

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"

namespace OrvLatchedHealth {

/// Starts the health monitor and the kernel IP monitor, each unless it runs. `context` is the
/// request's: each thread gets a copy of its own.
///
/// Ends the process, with a line in the log, when a thread cannot be started. Fails: CmpiStatus
/// when the broker makes no context for a thread; the other one is started all the same.
void startMonitorThreads(const CmpiBroker& broker, const CmpiContext& context);

/// Ends all monitor threads for good: threads started later end at once. Returns when every thread
/// has ended that had been started before the call, also when another caller joins it. When a call
/// of the broker holds one up for 5 seconds, logs that and returns. Any number of callers at once.
void stopMonitorThreads();

}  // namespace OrvLatchedHealth
