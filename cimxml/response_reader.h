#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"
#include "cimxml/messages.h"

namespace orv::cimxml {

/// What a server answered to one intrinsic method call. Which of the lists has members depends on
/// the method.
struct Reply {
  std::string messageId;
  std::string method;
  std::optional<CimError> failure;  ///< the ERROR element; the lists are empty then

  /// Paths that are written without a namespace have none.
  std::vector<broker::ObjectPath> paths;
  /// An INSTANCE that comes alone has a path of its class only.
  std::vector<broker::Instance> instances;
  std::vector<std::string> classNames;
  /// With what they inherit where the server tells that; `originClass` and `declaringClass` are
  /// those of the element, or empty.
  std::vector<broker::ClassDefinition> classes;
};

/// Reads a response message.
///
/// Fails: BadMessage when the text is not well-formed, too deep or not a response to one intrinsic
/// method call; CimError (CMPI_RC_ERR_INVALID_PARAMETER) for a value that does not fit its type.
Reply readReply(std::string_view text);

}  // namespace orv::cimxml
