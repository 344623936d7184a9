#pragma once

#include <string>

#include "broker/values.h"

namespace orv::serve {

/// The path as this server's own: without a host, in this namespace, and its reference keys too,
/// which may come without a namespace.
broker::ObjectPath localPath(broker::ObjectPath path, const std::string& nameSpace);

}  // namespace orv::serve
