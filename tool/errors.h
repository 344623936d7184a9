#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "broker/values.h"

namespace orv::tool {

enum ExitStatus {
  kExitOk = 0,
  kExitCimError = 1,  ///< a request failed, or anything else that is not the user's input
  kExitBadInput = 2,  ///< wrong usage, or a file or text that cannot be used
  kExitUnknown = 3,   ///< check: no verdict
};

/// The user's input cannot be used. The text is one line.
class BadInput : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A request was answered with a status other than OK.
class CimError : public std::runtime_error {
 public:
  CimError(CMPIrc rc, const std::optional<std::string>& message);
};

/// One line that explains a status to a person: name, number and text, or a general text if there
/// is none.
std::string statusLine(CMPIrc rc, const std::optional<std::string>& message);

/// Prints to standard output, as monitoring plugins do, that a check could not be made and why.
/// Returns the exit status for that.
int reportUnknown(const std::string& reason);

}  // namespace orv::tool
