#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "platform/simulated/simulated_host.h"

namespace simulated {

/// Why a text is not a host; each member is one line.
struct HostError {
  std::string place;    ///< "line 3, column 7", or a JSON pointer such as /ports/1/linkSpeed
  std::string message;  ///< what is wrong or was expected there
};

/// Reads the text of a host file. Depends on its argument alone.
///
/// Members that are absent have their defaults. Errors are: text that is not JSON, a member that no
/// table has, a value of the wrong type, a number outside the range of its member.
std::variant<SimulatedHost, HostError> parseHost(std::string_view text);

}  // namespace simulated
