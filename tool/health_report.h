#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/cim_client.h"
#include "notation/json.h"

namespace orv::tool {

/// The element that a latched record is about, as it is now.
struct AffectedElement {
  std::string path;        ///< empty when it is not known
  std::string name = "-";  ///< ElementName
  std::string now = "-";   ///< health; "-" for an element that is gone
  std::vector<std::string> wrong;
};

/// A latched record, its values with their words.
struct HealthRecord {
  broker::Instance record;
  std::string event;
  std::string worst;
  std::string since;
  std::uint64_t state = 0;  ///< HealthState as a number
  AffectedElement element;
};

/// The health of one host.
struct HealthReport {
  broker::Instance rollup;
  std::string text;         ///< of the roll-up: "5 (OK)"
  std::uint64_t state = 0;  ///< the same as a number
  std::vector<HealthRecord> records;
};

/// Asks for roll-up and latched records, and for the element of each record.
///
/// Fails: CimError.
HealthReport readHealth(client::CimClient& client, const std::string& nameSpace);

notation::Json toJson(const HealthReport& report, const broker::ClassSource& classes);

/// What is wrong with an element, on one line; "-" when nothing is told.
std::string wrongText(const AffectedElement& element);

/// How bad a health state is: the larger, the worse. Unknown is worse than OK and better than
/// anything that is known to be wrong.
std::uint64_t severityOf(std::uint64_t healthState);

}  // namespace orv::tool
