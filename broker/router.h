#pragma once

#include <deque>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/provider_host.h"

namespace orv::broker {

/// A section that gets a request, and the class name under which it gets it.
struct Target {
  Section* section;
  std::string className;
};

struct Route {
  CMPIrc rc = CMPI_RC_OK;  ///< 3 or 5 when nobody is asked
  std::string message;
  std::vector<Target> targets;
};

/// What a request is routed by.
struct RouteQuery {
  Operation operation;
  std::string nameSpace;
  std::string className;   ///< of the path
  std::string assocClass;  ///< of association operations; empty: all
};

/// Who is asked, in order:
///
/// - enumerations: the section of the class, else that of the nearest registered superclass; then
///   the sections of its subclasses, each under its own registered name;
/// - single instances: the section of the class, else that of the nearest registered superclass;
/// - associations: with an association class as for enumerations, but under the name of the
///   source; else every association provider of the namespace. A provider name is asked once.
Route route(const RouteQuery& query, const ClassRepository* classes, std::deque<Section>& sections);

}  // namespace orv::broker
