#pragma once

#include <string>

#include "broker/broker.h"
#include "broker/values.h"

namespace orv::serve {

/// The path without its host and in the given namespace, and so for the paths in its keys, which
/// clients may send without a namespace. Two such paths of one object compare equal.
broker::ObjectPath localPath(broker::ObjectPath path, const std::string& nameSpace);

/// Whether the list has the name. An absent list has every name.
bool isListed(const broker::PropertyList& list, const std::string& name);

/// Removes the properties that are not listed, keys included: those are in the path.
void keepListed(broker::Instance& instance, const broker::PropertyList& list);

}  // namespace orv::serve
