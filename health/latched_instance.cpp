#include "health/latched_instance.h"

#include <cstdio>
#include <cstdlib>

#include "cmpi/cmpi_date_time.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_status.h"

namespace OrvLatchedHealth {

namespace {

/// A signed decimal number, wrapped to 32 bits, so that every event number up to 4294967295 is
/// found.
std::uint32_t leadingNumber(const char* text) {
  return static_cast<std::uint32_t>(std::strtol(text, nullptr, 10));
}

}  // namespace

const char kLatchedHealthStateClass[] = "Orvane_LatchedHealthState";

EventIdText::EventIdText(std::uint32_t eventId) { std::snprintf(text, sizeof text, "%u", eventId); }

bool findEventIdKey(const CmpiObjectPath& path, std::uint32_t& id) {
  const CmpiData key = path.getKey("EventId");
  if (key.isNullValue() || key.isNotFound() || !key.isText()) return false;
  const CmpiString value(key);
  const char* const text = value.charPtr();
  if (text == nullptr) return false;
  id = leadingNumber(text);
  return true;
}

void fillLatchedInstance(const CmpiObjectPath& reference, const char** properties,
                         const HealthInfo& record, CmpiResult& result) {
  CmpiInstance instance(reference);
  instance.setPropertyFilter(properties);
  instance.setProperty("LatchedClassName", CmpiData(record.className));
  instance.setProperty("LatchedNamespace", CmpiData(record.nameSpace));
  instance.setProperty("EventId", CmpiData(EventIdText(record.eventId).text));
  instance.setProperty("HealthState", CmpiData(CMPIUint16{record.healthState}));
  instance.setProperty("Timestamp", CmpiDateTime::ofSeconds(record.timestamp));
  result.returnData(instance);
}

}  // namespace OrvLatchedHealth
