#pragma once

#include <string>

#include "broker/values.h"
#include "metrics/ask.h"

namespace orv::metrics {

/// A short name for an element within its class, made of its keys without those that name the host
/// and the class: the value if one key is left, `Name=a,Other=5` if there are more.
std::string elementName(const broker::ObjectPath& path);

/// The name of the element that an instance is about, found through an association. Empty when
/// there is none or the request fails.
std::string elementOf(const Ask& ask, const broker::Instance& instance, const char* association);

}  // namespace orv::metrics
