#pragma once

#include <cstdint>
#include <ctime>
#include <functional>

#include "framework/background_thread.h"
#include "health/latched_store.h"

namespace OrvLatchedHealth {

/// The health monitor thread: polls every 120 seconds.
ORV::ThreadWork HealthMonitorThread();

/// One cycle: asks the broker for the instances of the twelve monitored classes, in order, and
/// latches in `store` each that is not OK, at the time that `now` gives.
///
/// Returns the greatest HealthState of any instance, OK ones included; 0 when none has one. A class
/// that fails is logged and passed over; what it gave before stays. After each class that did not
/// fail, what the thread made is released (`tools.memory`). The caller guards the store.
std::uint16_t pollMonitoredClasses(const ORV::ThreadTools& tools, LatchedStore& store,
                                   const std::function<std::time_t()>& now);

}  // namespace OrvLatchedHealth
