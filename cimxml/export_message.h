#pragma once

#include <string>
#include <string_view>

#include "broker/values.h"

namespace orv::cimxml {

/// The ExportIndication request for one indication.
std::string exportMessage(const broker::Instance& indication, const std::string& messageId);

/// An ExportIndication request, read.
struct ExportedIndication {
  std::string messageId;
  broker::Instance indication;  ///< its path has the class name only
};

/// Fails: BadMessage when the text is not such a request, CimError for a value that does not fit
/// its type.
ExportedIndication readExport(std::string_view text);

/// The response that tells the sender of an ExportIndication request that it was taken.
std::string exportResponse(const std::string& messageId);

}  // namespace orv::cimxml
