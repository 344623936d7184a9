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
  std::map<std::string, std::uint64_t> errors;  ///< of each port, receive and transmit together
};

/// What was read from a state file.
struct StoredState {
  std::optional<CheckState> state;
  std::string complaint;  ///< why an existing file cannot be used; else empty
};

/// Reads a state file; neither state nor complaint when there is none. A file that cannot be used
/// is not an error, because the next state replaces it. Fails: std::bad_alloc.
StoredState readState(const std::string& file);

/// Replaces the file atomically. Only its owner can read it.
///
/// Fails: std::runtime_error with a message that names the file.
void writeState(const std::string& file, const CheckState& state);

}  // namespace orv::metrics
