#pragma once

#include <cstdint>

#include "cmpi/cmpi_result.h"
#include "health/latched_store.h"

namespace OrvLatchedHealth {

extern const char kLatchedHealthStateClass[];

/// An event number in decimal digits, as it is in the EventId key.
struct EventIdText {
  explicit EventIdText(std::uint32_t eventId);
  char text[64];
};

/// Reads the EventId key of a request's path: the number at the beginning of its text, 0 when there
/// is none. False, with `id` unchanged, when the key is absent, null or not a text.
bool findEventIdKey(const CmpiObjectPath& path, std::uint32_t& id);

/// Returns the record to `result` as an instance with the request's path, reduced to `properties`.
///
/// Fails: CmpiStatus of the broker. The caller guards the record.
void fillLatchedInstance(const CmpiObjectPath& reference, const char** properties,
                         const HealthInfo& record, CmpiResult& result);

}  // namespace OrvLatchedHealth
