#include "health/latched_store.h"

#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include "cmpi/cmpi_status.h"
#include "framework/text.h"

namespace OrvLatchedHealth {

namespace {

constexpr char kNoHost[] = "NULL";
constexpr char kDropped[] = "Failed to copy object, dropping health state %u for %s\n";
constexpr char kNoKeyMemory[] = "Latched health state failed to allocate memory for object keys\n";
// Deliberate (contract.md#in-not).
constexpr char kNonStringKey[] = "%s has a non string key, this in not supported\n";

bool hasHost(const HealthInfo& record) {
  return std::strncmp(record.hostName, kNoHost, sizeof kNoHost - 1) != 0;
}

template <std::size_t size>
void copyText(char (&buffer)[size], const char* text) {
  std::snprintf(buffer, size, "%s", text);
}

/// A copy of the text; null for null.
std::unique_ptr<char[]> ownText(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  auto copy = std::make_unique<char[]>(size);
  std::memcpy(copy.get(), text, size);
  return copy;
}

void copyHost(const CmpiObjectPath& element, HealthInfo& record) {
  try {
    const CmpiString host = element.getHostname();
    copyText(record.hostName, host.charPtr() == nullptr ? kNoHost : host.charPtr());
  } catch (const CmpiStatus&) {
    record.hostName[0] = '\0';
  }
}

/// The object manager has broken one of its own rules.
[[noreturn]] void endForMissingKey() {
  syslog(LOG_ERR, kNoKeyMemory);
  // Deliberate (contract.md#key-without-value): fatal.
  std::terminate();
}

/// The text of a key's value; a null string for a key of another type.
CmpiString keyText(const CmpiData& value) {
  if (value.isNullValue() || value.isNotFound()) endForMissingKey();
  try {
    const CmpiString text(value);
    if (text.charPtr() == nullptr) endForMissingKey();
    return text;
  } catch (const CmpiStatus&) {
    return {};
  }
}

/// Copies the keys. False when there are none; false, after a log line, when a key is not a text or
/// there is no memory for the list.
bool copyKeys(const CmpiObjectPath& element, HealthInfo& record) {
  const CMPICount count = element.getKeyCount();
  if (count == 0) return false;
  std::unique_ptr<HealthKey[]> keys(new (std::nothrow) HealthKey[count]());
  if (keys == nullptr) {
    syslog(LOG_ERR, kNoKeyMemory);
    return false;
  }
  for (CMPICount i = 0; i < count; ++i) {
    CmpiString name;
    const CmpiString value = keyText(element.getKey(i, &name));
    if (value.isNull()) {
      syslog(LOG_ERR, kNonStringKey, ORV::classNameOf(element).c_str());
      return false;
    }
    keys[i] = {ownText(name.charPtr()), ownText(value.charPtr())};
  }
  record.keyCount = count;
  record.keys = std::move(keys);
  return true;
}

bool givesBack(const HealthInfo& record, const CmpiObjectPath& element) {
  const std::optional<CmpiObjectPath> rebuilt = elementPath(record);
  return rebuilt && *rebuilt == element;
}

}  // namespace

bool buildPathFromRecord(const HealthInfo& record, CmpiObjectPath& path) {
  try {
    if (hasHost(record)) path.setHostname(record.hostName);
  } catch (const CmpiStatus&) {
    // The path is used without the host name.
  }
  try {
    for (std::uint32_t i = 0; i < record.keyCount; ++i) {
      const HealthKey& key = record.keys[i];
      if (key.name == nullptr || key.value == nullptr) return false;
      path.setKey(key.name.get(), CmpiData(static_cast<const char*>(key.value.get())));
    }
  } catch (const CmpiStatus&) {
    return false;
  }
  return true;
}

std::optional<CmpiObjectPath> elementPath(const HealthInfo& record) {
  CmpiObjectPath path(record.nameSpace, record.className);
  if (!buildPathFromRecord(record, path)) return std::nullopt;
  return path;
}

const HealthInfo* LatchedStore::findEvent(std::uint32_t eventId) const {
  for (const auto& record : healthList_) {
    if (record->eventId == eventId) return record.get();
  }
  return nullptr;
}

void LatchedStore::latch(const CmpiObjectPath& element, std::uint16_t healthState,
                         std::uint32_t now) {
  if (HealthInfo* known = find(element)) {
    worsen(*known, healthState, now);
  } else {
    add(element, healthState, now);
  }
}

HealthInfo* LatchedStore::find(const CmpiObjectPath& element) const {
  const std::string className = ORV::classNameOf(element);
  for (const auto& record : healthList_) {
    // The cheap comparison comes first. Deliberate (contract.md#class-name-case).
    const bool sameClass =
        std::strncmp(record->className, className.c_str(), sizeof record->className) == 0;
    if (sameClass && givesBack(*record, element)) return record.get();
  }
  return nullptr;
}

void LatchedStore::worsen(HealthInfo& record, std::uint16_t healthState, std::uint32_t now) {
  if (healthState <= record.healthState) return;
  record.healthState = healthState;
  record.eventId = nextEventId_++;
  record.timestamp = now;
}

void LatchedStore::add(const CmpiObjectPath& element, std::uint16_t healthState,
                       std::uint32_t now) {
  auto record = std::make_unique<HealthInfo>();  // all bytes zero
  copyText(record->className, ORV::classNameOf(element).c_str());
  copyText(record->nameSpace, ORV::nameSpaceOf(element).c_str());
  record->eventId = nextEventId_++;  // Deliberate (contract.md#event-number-gap).
  record->healthState = healthState;
  record->timestamp = now;
  copyHost(element, *record);
  if (!copyKeys(element, *record)) {
    syslog(LOG_ERR, kDropped, unsigned{record->healthState}, record->className);
    return;
  }
  // Deliberate (contract.md#record-without-way): fatal.
  if (!givesBack(*record, element)) std::abort();
  healthList_.push_back(std::move(record));
}

}  // namespace OrvLatchedHealth
