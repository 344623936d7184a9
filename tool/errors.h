#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "broker/values.h"

namespace orv::tool {

enum ExitStatus {
  kExitOk = 0,
  kExitCimError = 1,  ///< a request was made and refused
  kExitBadInput = 2,  ///< wrong usage, or a file or text that is not what it should be
  kExitUnknown = 3,   ///< check: no verdict
};

/// What the user gave us cannot be used. The text is one line.
class BadInput : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A request was answered with a status other than OK.
class CimError : public std::runtime_error {
 public:
  CimError(CMPIrc rc, const std::optional<std::string>& message);
};

/// The one line that explains a status to a person: name, number and text. A status without a text
/// gets a general one.
std::string statusLine(CMPIrc rc, const std::optional<std::string>& message);

/// Says on standard output, as monitoring plugins do, that a check could not be made, and why.
/// Returns the exit status for it.
int reportUnknown(const std::string& reason);

}  // namespace orv::tool
