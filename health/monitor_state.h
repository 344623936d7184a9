#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <vector>

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

  /// Set once, never cleared.
  bool monitorStop = false;
  /// Threads that run; each counts itself once it holds the mutex.
  std::uint32_t monitorThreadCount = 0;
  /// Threads on their way there: started, and not yet holding the mutex for the first time.
  std::uint32_t startingThreadCount = 0;

  /// Threads started and not yet joined, counted or not. More than one of a kind only when an
  /// earlier one has ended by itself, refused by the broker.
  std::vector<pthread_t> kernelIpThreads;
  std::vector<pthread_t> healthMonitorThreads;

  /// Callers of stopMonitorThreads that are joining, and what tells the others that one is done.
  unsigned joining = 0;
  OMC::Condition joined;
};

/// The one of the process.
MonitorState& monitorState();

}  // namespace OrvLatchedHealth
