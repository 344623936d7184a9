#pragma once

#include <cstdint>

#include "cmpi/cmpi_result.h"
#include "health/latched_store.h"

namespace OrvLatchedHealth {

extern const char kLatchedHealthStateClass[];

/// "%u" of the number, as the EventId key has it.
struct EventIdText {
  explicit EventIdText(std::uint32_t eventId);
  char text[64];
};

/// Reads the EventId key of a request's path: the number at the front of its text, 0 when there is
/// none. False when the key is absent, null or not a text; `id` is untouched then.
bool findEventIdKey(const CmpiObjectPath& path, std::uint32_t& id);

/// Returns to `result` the record as an instance on the request's path, reduced to `properties`.
///
/// Fails: CmpiStatus of the broker. The caller guards the record.
void fillLatchedInstance(const CmpiObjectPath& reference, const char** properties,
                         const HealthInfo& record, CmpiResult& result);

}  // namespace OrvLatchedHealth
