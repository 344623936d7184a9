#pragma once

#include <deque>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/provider_host.h"

namespace orv::broker {

/// A section that gets a request, and the class name that the request has for it.
struct Target {
  Section* section;
  std::string className;
};

struct Route {
  CMPIrc rc = CMPI_RC_OK;  ///< 3 or 5 for an unknown namespace or class
  std::string message;
  std::vector<Target> targets;
};

/// What determines the route of a request.
struct RouteQuery {
  Operation operation;
  std::string nameSpace;
  std::string className;   ///< of the path
  std::string assocClass;  ///< of association operations; empty: all
};

/// The sections that get a request, in order:
///
/// - enumerations: the section of the class, or else of the nearest registered superclass; then the
///   sections of its subclasses, each with its own registered class name;
/// - single instances: the section of the class, or else of the nearest registered superclass;
/// - associations: with an association class as for enumerations, but with the class name of the
///   source; without one every association provider of the namespace. Each provider name once.
Route route(const RouteQuery& query, const ClassRepository* classes, std::deque<Section>& sections);

}  // namespace orv::broker
