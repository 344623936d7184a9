#pragma once

#include <string>
#include <string_view>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::tool {

/// The object path of a command line; see notation::readObjectPath.
///
/// Fails: BadInput.
broker::ObjectPath objectPathArgument(std::string_view text, const std::string& nameSpace,
                                      const broker::ClassSource& classes);

}  // namespace orv::tool
