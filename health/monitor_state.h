#pragma once

#include <atomic>
#include <cstdint>

#include "framework/background_thread.h"
#include "framework/locks.h"
#include "health/latched_store.h"
#include "kernelip/kernel_ip_indication.h"

namespace OrvLatchedHealth {

/// Everything that the provider objects and the two monitor threads share.
///
/// Made when the library is loaded and never destroyed: threads of ours and requests may still run
/// while the process exits.
struct MonitorState {
  /// Guards every item below unless it says otherwise; locked before the detector's own mutex. A
  /// monitor thread holds it whenever it does not wait, up-calls included.
  OMC::Mutex latchedHealthMutex;
  /// Wakes the monitor threads early, to end.
  OMC::Condition latchedHealthCondition;

  LatchedStore store;

  /// Guards itself. The kernel IP monitor asks it with latchedHealthMutex held.
  ORV::KernelIpIndication kernelIpIndication;

  /// Worst HealthState of the last complete cycle. Written under the mutex, read without.
  std::atomic<std::uint16_t> rollupHealthState{0};

  ORV::ThreadGroup threads{latchedHealthMutex, latchedHealthCondition};
  ORV::BackgroundThread healthMonitor{threads};
  ORV::BackgroundThread kernelIpMonitor{threads};
};

/// The one of the process.
MonitorState& monitorState();

}  // namespace OrvLatchedHealth
