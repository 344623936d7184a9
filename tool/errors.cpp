#include "tool/errors.h"

#include <algorithm>
#include <iterator>

#include "tool/readable_text.h"

namespace orv::tool {
namespace {

struct StatusText {
  CMPIrc rc;
  const char* text;
};

// For statuses that come without a text of their own.
constexpr StatusText kStatusTexts[] = {
    {CMPI_RC_ERR_FAILED, "the request failed"},
    {CMPI_RC_ERR_ACCESS_DENIED, "access denied"},
    {CMPI_RC_ERR_INVALID_NAMESPACE, "no such namespace"},
    {CMPI_RC_ERR_INVALID_PARAMETER, "a parameter of the request is invalid"},
    {CMPI_RC_ERR_INVALID_CLASS, "no such class"},
    {CMPI_RC_ERR_NOT_FOUND, "no such instance"},
    {CMPI_RC_ERR_NOT_SUPPORTED, "the class does not support this operation"},
};

const char* generalText(CMPIrc rc) {
  const auto* known = std::find_if(std::begin(kStatusTexts), std::end(kStatusTexts),
                                   [&](const StatusText& s) { return s.rc == rc; });
  return known == std::end(kStatusTexts) ? "the provider gave no reason" : known->text;
}

}  // namespace

std::string statusLine(CMPIrc rc, const std::optional<std::string>& message) {
  const bool hasText = message && !message->empty();
  return broker::statusName(rc) + ": " + (hasText ? oneLine(*message) : generalText(rc));
}

CimError::CimError(CMPIrc rc, const std::optional<std::string>& message)
    : std::runtime_error(statusLine(rc, message)) {}

}  // namespace orv::tool
