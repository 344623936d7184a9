#pragma once

#include <cstdint>

#include "framework/background_thread.h"
#include "framework/unfiltered_indication_mi.h"

namespace Heartbeat {

/// Tells subscribers at a fixed interval that the object manager and the host are alive. A thread
/// delivers an Orvane_CIMHeartbeat at once (with sfcb, as soon as its daemon is 10 seconds old),
/// and another whenever the interval has passed since the last delivery ended.
///
/// All state belongs to the module, is shared by every object of the class, and is never destroyed:
/// a process may end while the thread runs.
class HeartbeatProvider : public ORV::UnfilteredIndicationMI {
 public:
  HeartbeatProvider(const CmpiBroker& mbp, const CmpiContext& context);

  /// Reads the interval and starts the thread unless it runs.
  ///
  /// Fails: CmpiStatus 1, logged, when the thread cannot be created.
  CmpiStatus initialize(const CmpiContext& context) override;

  /// Terminating: stops the thread for good and returns when it has ended, also when called twice
  /// or by two threads at once. A thread that is started later ends at once. When a delivery does
  /// not return for 5 seconds, logs that and returns before the thread has ended. Otherwise: never
  /// unload.
  CmpiStatus cleanup(const CmpiContext& context, bool terminating) override;

  CmpiStatus enableIndications() override;
  CmpiStatus disableIndications() override;
};

/// The work of the thread that delivers the heartbeats; each thread numbers them from 0.
ORV::ThreadWork heartBeatThread();

/// Takes the interval from the configuration file at `path`, if that gives one of at least 30
/// seconds. Logs a smaller value, and a file that cannot be opened and read or is not a regular
/// file.
void readInterval(const char* path);

/// Seconds between two heartbeats; 300 unless a file has set another number.
std::int32_t intervalSeconds();

}  // namespace Heartbeat
