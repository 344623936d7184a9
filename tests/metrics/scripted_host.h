#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "metrics/collect.h"

namespace orv::test {

broker::Value text(const std::string& value);
broker::Value number(std::uint64_t value, CMPIType type = CMPI_uint64);
broker::Value flag(bool value);
/// A date-time, in seconds since the epoch.
broker::Value time(std::uint64_t seconds);
broker::Value nothing(CMPIType type = CMPI_uint64);

broker::Instance instance(const std::string& className, std::vector<broker::Property> properties);

/// A host that answers with what it was given: enumerations by class, associator names by event.
struct ScriptedHost {
  std::map<std::string, std::vector<broker::Instance>> instances;
  std::map<std::string, CMPIrc> failures;              ///< by class
  std::map<std::string, broker::ObjectPath> elements;  ///< by EventId of the record
  std::vector<broker::Request> requests;               ///< that were made

  metrics::Ask ask();
};

}  // namespace orv::test
