#pragma once

#include <string>
#include <string_view>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::notation {

/// The object path that a person wrote: as broker::parseObjectPath reads it, a missing namespace
/// replaced by `nameSpace`, and the texts of keys that the class declares as references read as the
/// paths they are.
///
/// Fails: broker::ObjectPathError, when the text or that of a reference is not an object path.
broker::ObjectPath readObjectPath(std::string_view text, const std::string& nameSpace,
                                  const broker::ClassSource& classes);

/// The text that readObjectPath reads as the path: references quoted, keys that are null left
/// out.
std::string objectPathText(const broker::ObjectPath& path);

}  // namespace orv::notation
