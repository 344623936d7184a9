#pragma once

#include <string>
#include <string_view>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::notation {

/// Reads an object path as broker::parseObjectPath does. Adds `nameSpace` where the text has no
/// namespace, and reads keys that the class declares as references as paths.
///
/// Fails: broker::ObjectPathError when the text, or the text of a reference, is not an object path.
broker::ObjectPath readObjectPath(std::string_view text, const std::string& nameSpace,
                                  const broker::ClassSource& classes);

/// The text from which readObjectPath reads the path. References are quoted; null keys are left
/// out.
std::string objectPathText(const broker::ObjectPath& path);

}  // namespace orv::notation
