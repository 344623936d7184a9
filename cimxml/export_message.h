#pragma once

#include <string>
#include <string_view>

#include "broker/values.h"

namespace orv::cimxml {

/// The ExportIndication request for one indication.
std::string exportMessage(const broker::Instance& indication, const std::string& messageId);

/// What an ExportIndication request contains.
struct ExportedIndication {
  std::string messageId;
  broker::Instance indication;  ///< its path has only the class name
};

/// Reads an ExportIndication request.
///
/// Fails: BadMessage when the text is not one, CimError for a value that does not fit its type.
ExportedIndication readExport(std::string_view text);

/// The response to an ExportIndication request that was accepted.
std::string exportResponse(const std::string& messageId);

}  // namespace orv::cimxml
