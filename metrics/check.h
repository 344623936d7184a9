#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "metrics/check_state.h"
#include "metrics/collect.h"
#include "metrics/threshold_range.h"

/// A monitoring plugin's verdict on a host: read the host, judge what was read, write the line.
namespace orv::metrics {

/// The values are the exit statuses of monitoring plugins.
enum class Verdict { kOk = 0, kWarning = 1, kCritical = 2, kUnknown = 3 };

struct Thresholds {
  std::optional<ThresholdRange> warning;
  std::optional<ThresholdRange> critical;
};

struct CheckSettings {
  Thresholds health;     ///< of the roll-up: 0 unknown, 5 OK, 10 degraded, ..., 30 not recoverable
  Thresholds latched;    ///< of the worst latched record, in the same numbers
  Thresholds down;       ///< of the number of ports that are down
  Thresholds errors;     ///< of each port's errors per second
  Thresholds heartbeat;  ///< of the age of the last heartbeat, in seconds
  /// Ports that must exist and be up. Empty: every port is judged, and must be up unless an
  /// administrator has disabled it.
  std::vector<std::string> ports;
};

/// Health above OK is a warning, from major failures on it is critical; a port that is down is a
/// warning; more than one error per second is a warning, more than ten are critical.
CheckSettings defaultCheck();

/// A port as it was read; absent members are not known.
struct PortFacts {
  std::string device;  ///< DeviceID
  std::optional<bool> enabled;
  std::optional<bool> up;
  std::optional<std::uint64_t> errors;  ///< receive and transmit errors together
};

/// A latched health record.
struct RecordFacts {
  std::string element;  ///< class and name
  double health = 0;    ///< HealthState, 0 to 30
};

struct HostFacts {
  std::string host;                ///< SystemName of the ports; empty without ports
  std::optional<double> bootTime;  ///< seconds since the epoch
  std::optional<double> rollup;    ///< HealthState, 0 to 30
  std::vector<RecordFacts> records;
  std::vector<PortFacts> ports;
  std::vector<std::string> failures;  ///< requests that failed, one line each
};

/// Reads what `judge` needs. Requests that fail are in `failures`; passes on what `ask` throws.
HostFacts readHost(const Ask& ask, const std::string& nameSpace);

/// The last heartbeat, where one can be waited for.
struct HeartbeatFacts {
  std::optional<double> time;  ///< seconds since the epoch; absent: none arrived
  double waited = 0;           ///< seconds, at most, for the first one
};

struct CheckResult {
  Verdict verdict = Verdict::kUnknown;
  std::string line;  ///< status, then performance data after "|"; without a line break
  /// The state for the next check. Absent when the previous state is less than a second old: it
  /// stays in use.
  std::optional<CheckState> next;
};

/// The verdict at the time `now`, in seconds since the epoch. Errors per second are judged when
/// `previous` is of this host, earlier than now and later than the host's start; and for counters
/// that have not decreased since.
CheckResult judge(const HostFacts& facts, const std::optional<HeartbeatFacts>& heartbeat,
                  const StoredState& previous, const CheckSettings& settings, double now);

}  // namespace orv::metrics
