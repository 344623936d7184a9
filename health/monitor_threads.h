#pragma once

#include <functional>

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"
#include "framework/thread_memory.h"

namespace OrvLatchedHealth {

/// Starts the health monitor and the kernel IP monitor unless monitor threads run or are about to.
/// `context` is the request's: each thread gets a copy of its own.
///
/// Ends the process, with a line in the log, when a thread cannot be started. Fails: CmpiStatus
/// when the broker makes no context for a thread.
void startMonitorThreads(const CmpiBroker& broker, const CmpiContext& context);

/// Ends all monitor threads for good: threads started later end at once. Returns when every thread
/// has ended that had been started before the call, also when another caller joins it. Any number
/// of callers at once.
void stopMonitorThreads();

/// What a monitor thread works with.
struct MonitorTools {
  const CmpiBroker& broker;
  const CmpiContext& context;  ///< the thread's own, attached
  const ORV::AttachedThreadMemory& memory;
};

/// The life of a monitor thread: attaches, takes the mutex and counts itself; until the stop flag
/// is seen does `work` and waits for the period, with the mutex released only meanwhile.
///
/// `argument` is what startMonitorThreads handed to the thread; it is taken over. `work` must not
/// throw. Does nothing when the broker refuses the thread.
void runMonitorThread(void* argument, long periodSeconds,
                      const std::function<void(const MonitorTools&)>& work);

}  // namespace OrvLatchedHealth
