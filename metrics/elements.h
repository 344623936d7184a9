#pragma once

#include <string>

#include "broker/values.h"

namespace orv::metrics {

/// A short name for an element among those of its class: the value of its one key that tells it,
/// and `Name=a,Other=5` where several do. The keys that only name the host and the class are left
/// out.
std::string elementName(const broker::ObjectPath& path);

}  // namespace orv::metrics
