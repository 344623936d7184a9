#include "tool/errors.h"

#include <algorithm>
#include <iostream>

#include "tool/readable_text.h"

namespace orv::tool {

std::string statusLine(CMPIrc rc, const std::optional<std::string>& message) {
  const bool hasText = message && !message->empty();
  return broker::statusName(rc) + ": " + (hasText ? oneLine(*message) : broker::statusText(rc));
}

CimError::CimError(CMPIrc rc, const std::optional<std::string>& message)
    : std::runtime_error(statusLine(rc, message)) {}

int reportUnknown(const std::string& reason) {
  std::string line = oneLine(reason);
  std::replace(line.begin(), line.end(), '|', '/');  // which would begin performance data
  std::cout << "ORVANE UNKNOWN - " << line << std::endl;
  return kExitUnknown;
}

}  // namespace orv::tool
