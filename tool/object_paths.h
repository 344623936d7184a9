#pragma once

#include <string>
#include <string_view>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::tool {

/// Reads an object path from the command line, as notation::readObjectPath does.
///
/// Fails: BadInput.
broker::ObjectPath objectPathArgument(std::string_view text, const std::string& nameSpace,
                                      const broker::ClassSource& classes);

}  // namespace orv::tool
