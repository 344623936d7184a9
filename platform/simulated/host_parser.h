#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "platform/simulated/simulated_host.h"

namespace simulated {

/// Why a text is not a host, on one line each.
struct HostError {
  std::string place;    ///< "line 3, column 7", or a JSON pointer such as /ports/1/linkSpeed
  std::string message;  ///< what was expected there
};

/// Reads the text of a host file. A function of its argument only.
///
/// Members that are absent take their defaults. An error is: text that is not JSON, a member that
/// no table knows, a value of the wrong type, a number out of its member's range.
std::variant<SimulatedHost, HostError> parseHost(std::string_view text);

}  // namespace simulated
