#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"
#include "cimxml/messages.h"

namespace orv::cimxml {

/// A server's response to one intrinsic method call. The method decides which lists have members.
struct Reply {
  std::string messageId;
  std::string method;
  std::optional<CimError> failure;  ///< the ERROR element; the lists are then empty

  /// The namespace is empty where the response has none.
  std::vector<broker::ObjectPath> paths;
  /// The path of an INSTANCE without one has only the class name.
  std::vector<broker::Instance> instances;
  std::vector<std::string> classNames;
  /// With inherited properties as far as the server sends them. `originClass` is the CLASSORIGIN,
  /// or empty; `declaringClass` is empty.
  std::vector<broker::ClassDefinition> classes;
};

/// Reads a response message.
///
/// Fails: BadMessage when the text is not well-formed, nested too deeply, or not a response to one
/// intrinsic method call; CimError (CMPI_RC_ERR_INVALID_PARAMETER) for a value that does not fit
/// its type.
Reply readReply(std::string_view text);

}  // namespace orv::cimxml
