#pragma once

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"

namespace OrvLatchedHealth {

/// Starts the health monitor and the kernel IP monitor, unless they run. `context` is the
/// request's; each thread gets a copy of its own.
///
/// Ends the process, after a log line, when a thread cannot be started. Fails: CmpiStatus when the
/// broker makes no context for a thread; the other thread is started all the same.
void startMonitorThreads(const CmpiBroker& broker, const CmpiContext& context);

/// Ends all monitor threads for good; a thread that is started later ends at once. Returns when
/// every thread that was started before the call has ended, whoever joins it. When a call to the
/// broker holds one up for 5 seconds, logs that and returns. May be called by any number of threads
/// at once.
void stopMonitorThreads();

}  // namespace OrvLatchedHealth
