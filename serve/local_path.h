#pragma once

#include <string>

#include "broker/values.h"

namespace orv::serve {

/// The path without its host and in the given namespace, and so for the paths in its keys, which
/// clients may send without a namespace. Two such paths of one object compare equal.
broker::ObjectPath localPath(broker::ObjectPath path, const std::string& nameSpace);

}  // namespace orv::serve
