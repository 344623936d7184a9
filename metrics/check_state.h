#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace orv::metrics {

/// What a check remembers for the next one.
struct CheckState {
  double time = 0;                              ///< seconds since the epoch
  std::string host;                             ///< SystemName of the ports
  std::map<std::string, std::uint64_t> errors;  ///< of each port, received and sent
};

/// What a state file held.
struct StoredState {
  std::optional<CheckState> state;
  std::string complaint;  ///< not empty: the file is there and cannot be used
};

/// Nothing for a file that is not there. Never fails: a file that cannot be used is begun anew.
StoredState readState(const std::string& file);

/// Replaces the file as a whole, readable by its owner only.
///
/// Fails: std::runtime_error with a message that names the file.
void writeState(const std::string& file, const CheckState& state);

}  // namespace orv::metrics
