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
  /// Guards every member below that does not say otherwise. Locked before the detector's own mutex.
  /// A monitor thread holds it whenever it is not waiting, also during up-calls.
  OMC::Mutex latchedHealthMutex;
  /// Wakes the monitor threads early, so that they end.
  OMC::Condition latchedHealthCondition;

  LatchedStore store;

  /// Has a mutex of its own. The kernel IP monitor calls it with latchedHealthMutex held.
  ORV::KernelIpIndication kernelIpIndication;

  /// The worst HealthState of the last complete cycle. Written with the mutex held, read without
  /// it.
  std::atomic<std::uint16_t> rollupHealthState{0};

  ORV::ThreadGroup threads{latchedHealthMutex, latchedHealthCondition};
  ORV::BackgroundThread healthMonitor{threads};
  ORV::BackgroundThread kernelIpMonitor{threads};
};

/// The only one of the process.
MonitorState& monitorState();

}  // namespace OrvLatchedHealth
