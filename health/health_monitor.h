#pragma once

#include <cstdint>
#include <ctime>
#include <functional>

#include "framework/background_thread.h"
#include "health/latched_store.h"

namespace OrvLatchedHealth {

/// The work of the health monitor thread, which polls every 120 seconds.
ORV::ThreadWork HealthMonitorThread();

/// One cycle: asks the broker for the instances of the twelve monitored classes, in order, and
/// latches each one that is not OK in `store`, with the time that `now` returns.
///
/// Returns the greatest HealthState of all instances, those that are OK included; 0 when none has
/// one. A class that fails is logged and skipped; what it returned before that stays. What the
/// thread has made is released (`tools.memory`) after each class that does not fail. The caller
/// guards the store.
std::uint16_t pollMonitoredClasses(const ORV::ThreadTools& tools, LatchedStore& store,
                                   const std::function<std::time_t()>& now);

}  // namespace OrvLatchedHealth
