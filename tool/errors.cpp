#include "tool/errors.h"

#include "tool/readable_text.h"

namespace orv::tool {

std::string statusLine(CMPIrc rc, const std::optional<std::string>& message) {
  const bool hasText = message && !message->empty();
  return broker::statusName(rc) + ": " + (hasText ? oneLine(*message) : broker::statusText(rc));
}

CimError::CimError(CMPIrc rc, const std::optional<std::string>& message)
    : std::runtime_error(statusLine(rc, message)) {}

}  // namespace orv::tool
