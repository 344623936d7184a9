#pragma once

#include <string>

#include "broker/values.h"
#include "metrics/ask.h"

namespace orv::metrics {

/// A short name for an element among those of its class: the value of its one key that tells it,
/// and `Name=a,Other=5` where several do. The keys that only name the host and the class are left
/// out.
std::string elementName(const broker::ObjectPath& path);

/// The name of the element that an instance is about, through an association. Empty when it cannot
/// be told.
std::string elementOf(const Ask& ask, const broker::Instance& instance, const char* association);

}  // namespace orv::metrics
