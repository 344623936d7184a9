#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/cim_client.h"
#include "notation/json.h"

namespace orv::tool {

/// The element that a latched record is about, in its present state.
struct AffectedElement {
  std::string path;                ///< empty when it is not known
  std::string name = "-";          ///< ElementName
  std::string now = "-";           ///< HealthState with its word; "-" for an element that is gone
  std::vector<std::string> wrong;  ///< StatusDescriptions
};

/// A latched record; its values are texts, numbers with their words.
struct HealthRecord {
  broker::Instance record;
  std::string event;        ///< EventId
  std::string worst;        ///< HealthState
  std::string since;        ///< Timestamp
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

/// Reads the roll-up, the latched records, and the element of each record.
///
/// Fails: CimError, and as the client does when there is no answer.
HealthReport readHealth(client::CimClient& client, const std::string& nameSpace);

/// {"rollup": {...}, "records": [...]}: instances with their words, records with their elements.
notation::Json toJson(const HealthReport& report, const broker::ClassSource& classes);

/// What is wrong with an element, on one line; "-" when it does not say.
std::string wrongText(const AffectedElement& element);

/// How bad a health state is: the larger, the worse. Unknown is worse than OK and better than
/// anything that is known to be wrong.
std::uint64_t severityOf(std::uint64_t healthState);

}  // namespace orv::tool
