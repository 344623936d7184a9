#pragma once

#include <string>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::tool {

/// The words that the property's Values qualifier has for a number, or for the numbers of an array:
/// "Enabled", "OK, Degraded". For a date-time, its readable form. Empty when there is nothing to
/// add; `property` may be null.
std::string valueWords(const broker::PropertyDefinition* property, const broker::Value& value);

}  // namespace orv::tool
