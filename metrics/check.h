#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "metrics/check_state.h"
#include "metrics/collect.h"
#include "metrics/threshold_range.h"

/// A monitoring plugin's verdict on a host. Reading the host, judging what was read and writing the
/// line are apart.
namespace orv::metrics {

/// As plugins exit.
enum class Verdict { kOk = 0, kWarning = 1, kCritical = 2, kUnknown = 3 };

struct Thresholds {
  std::optional<ThresholdRange> warning;
  std::optional<ThresholdRange> critical;
};

struct CheckSettings {
  Thresholds health;     ///< of the roll-up: 0 unknown, 5 OK, 10 degraded, ..., 30 not recoverable
  Thresholds latched;    ///< of the worst record, likewise
  Thresholds down;       ///< of the number of ports that are down
  Thresholds errors;     ///< of each port's errors per second
  Thresholds heartbeat;  ///< of the age of the last heartbeat, in seconds
  /// Ports that must be there and up; empty: all ports, of which those must be up that an
  /// administrator has not taken down.
  std::vector<std::string> ports;
};

/// Health is a warning above OK and critical from major failures on, a port that is down is a
/// warning, as are more than one error per second, of which ten are critical.
CheckSettings defaultCheck();

struct PortFacts {
  std::string device;
  std::optional<bool> enabled;
  std::optional<bool> up;
  std::optional<std::uint64_t> errors;  ///< received and sent
};

struct RecordFacts {
  std::string element;  ///< class and name
  double health = 0;
};

struct HostFacts {
  std::string host;
  std::optional<double> bootTime;  ///< seconds since the epoch
  std::optional<double> rollup;
  std::vector<RecordFacts> records;
  std::vector<PortFacts> ports;
  std::vector<std::string> failures;  ///< what the host did not answer, a line each
};

HostFacts readHost(const Ask& ask, const std::string& nameSpace);

/// The last heartbeat, where it is looked at.
struct HeartbeatFacts {
  std::optional<double> time;  ///< seconds since the epoch; absent: none came
  double waited = 0;           ///< seconds
};

struct CheckResult {
  Verdict verdict = Verdict::kUnknown;
  std::string line;  ///< status, then performance data after "|"; without a line break
  /// For the next check; absent while the last one is younger than a second, and stays.
  std::optional<CheckState> next;
};

/// `now` in seconds since the epoch. Rates are told when `previous` is of this host, from before
/// now and from after its start, and for counters that have not gone back.
CheckResult judge(const HostFacts& facts, const std::optional<HeartbeatFacts>& heartbeat,
                  const StoredState& previous, const CheckSettings& settings, double now);

}  // namespace orv::metrics
