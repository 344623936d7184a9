#pragma once

#include <string>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::tool {

/// What the property's Values qualifier calls a number, or the numbers of an array: "Enabled",
/// "OK, Degraded". Date-times are told readably. Empty when there is nothing to add; `property` may
/// be null.
std::string valueWords(const broker::PropertyDefinition* property, const broker::Value& value);

}  // namespace orv::tool
