#include "hardware/hardware_classes.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

#include "framework/text.h"
#include "platform/hardware.h"

namespace Hardware {
namespace {

/// The first values of the counters. Never destroyed: requests may still come while the process
/// exits.
CounterBaselines& baselines() {
  static auto* const counters = new CounterBaselines;
  return *counters;
}

// ---- Facts become properties ----

bool isProperty(const char* factName) { return *factName >= 'A' && *factName <= 'Z'; }

template <typename Value>
void add(Properties& properties, const char* name, const Value& value) {
  properties.emplace_back(name, value);
}
template <typename Value>
void add(Properties& properties, const char* name, const std::optional<Value>& value) {
  if (value) properties.emplace_back(name, *value);
}
void add(Properties& properties, const char* name, const std::string& text) {
  if (!text.empty()) properties.emplace_back(name, text);
}

template <typename Facts>
Properties propertiesOf(const Facts& facts) {
  Properties properties;
  platform::forEachFact<Facts>([&](const auto& fact) {
    if (isProperty(fact.name)) add(properties, fact.name, facts.*fact.member);
  });
  return properties;
}

// ---- What a class adds to its facts ----

template <typename Facts>
void complete(const Facts&, Element&) {}

struct SensorUnit {
  std::uint16_t sensorType;
  std::uint16_t baseUnits;
  std::int32_t modifier;  ///< power of ten
};
constexpr SensorUnit kSensorUnits[] = {
    {2, 2, -3},   // degrees Celsius
    {3, 5, -3},   // volts
    {4, 6, -3},   // amperes
    {5, 19, 0},   // revolutions per minute
    {13, 7, -3},  // watts
};

const char* currentState(const Element& element) {
  switch (element.judgement.health) {
    case kUnknown:
      return "Unknown";
    case kOk:
      return "Normal";
    case kDegraded:
      return "Non-Critical";
    case kMajor:
      return "Fault";
    default:
      return "Critical";
  }
}

void complete(const Sensor& sensor, Element& element) {
  for (const SensorUnit& row : kSensorUnits) {
    if (row.sensorType != sensor.sensorType) continue;
    element.properties.emplace_back("BaseUnits", row.baseUnits);
    element.properties.emplace_back("UnitModifier", row.modifier);
  }
  element.properties.emplace_back("CurrentState", std::string(currentState(element)));
  element.properties.emplace_back(
      "PossibleStates",
      std::vector<std::string>{"Unknown", "Normal", "Non-Critical", "Critical", "Fault"});
  element.monitored = sensor.monitored;
}

/// BatteryStatus: 2 unknown, 3 fully charged, 4 low, 5 critical, 6 charging, 11 partially charged.
std::uint16_t batteryStatus(const Battery& battery) {
  if (battery.status == "Charging") return 6;
  if (battery.capacityLevel == "Critical") return 5;
  if (battery.capacityLevel == "Low") return 4;
  if (battery.status == "Full") return 3;
  if (battery.status == "Discharging" || battery.status == "Not charging") return 11;
  return 2;
}

void complete(const Battery& battery, Element& element) {
  element.properties.emplace_back("BatteryStatus", batteryStatus(battery));
}

void complete(const Volume& volume, Element& element) {
  element.properties.emplace_back("Name", volume.name);
  element.disk = volume.disk;
}

void complete(const Extent& extent, Element& element) {
  element.properties.emplace_back("Name", extent.name);
  element.pool = extent.pool;
  element.disk = extent.disk;
}

void complete(const Disk& disk, Element& element) {
  element.properties.emplace_back("Name", disk.name);
}

void complete(const Pool& pool, Element& element) {
  element.properties.emplace_back("Primordial", false);
  element.properties.emplace_back("PoolID", pool.name);
}

// ---- Elements ----

template <typename Facts>
Element elementOf(const Facts& facts, std::string id, bool withHealth) {
  Element element;
  element.id = std::move(id);
  element.name = facts.name;
  if (withHealth) element.judgement = judge(facts, Growth(baselines(), element.id));
  element.properties = propertiesOf(facts);
  complete(facts, element);
  return element;
}

/// Gives each element of a list an id of its own. Where hardware gives several the same identity,
/// all but the first get a number: "serial-0", "serial-0#2".
class UniqueIds {
 public:
  std::string idFor(const std::string& identity) {
    unsigned& last = last_[identity];
    if (last == 0) {
      last = 1;
      return identity;
    }
    std::string id;
    do {
      id = identity + '#' + std::to_string(++last);
    } while (!last_.emplace(id, 1).second);
    return id;
  }

 private:
  std::map<std::string, unsigned> last_;  ///< the last number given after each id; 1: itself
};

/// The identity by which the host is asked for an element. On a host that looks elements up by it,
/// no identity contains "#".
std::string identityOf(const std::string& id) { return id.substr(0, id.find('#')); }

template <auto read>
std::vector<Element> elementsBy(const Query& query) {
  std::vector<Element> elements;
  UniqueIds ids;
  for (const auto& facts : read(Query{query.health, identityOf(query.onlyId)})) {
    std::string id = ids.idFor(facts.id);
    const bool wanted = query.onlyId.empty() || query.onlyId == id;
    elements.push_back(elementOf(facts, std::move(id), query.health && wanted));
  }
  return elements;
}

/// The batteries without the empty bays.
std::vector<Battery> presentBatteries(const Query& query) {
  std::vector<Battery> present;
  for (Battery& battery : batteries(query)) {
    if (battery.present != 0) present.push_back(std::move(battery));
  }
  return present;
}

constexpr HardwareClass kRows[] = {
    {kSensorClass, KeyKind::kDevice, elementsBy<sensors>},
    {kMemoryClass, KeyKind::kPhysical, elementsBy<memoryModules>},
    {kPowerSupplyClass, KeyKind::kDevice, elementsBy<powerSupplies>},
    {kPortControllerClass, KeyKind::kDevice, elementsBy<networkControllers>},
    {kControllerClass, KeyKind::kDevice, elementsBy<storageControllers>},
    {kBatteryClass, KeyKind::kDevice, elementsBy<presentBatteries>},
    {kVolumeClass, KeyKind::kDevice, elementsBy<volumes>},
    {kExtentClass, KeyKind::kDevice, elementsBy<extents>},
    {kDiskClass, KeyKind::kDevice, elementsBy<disks>},
    {kStoragePortClass, KeyKind::kDevice, elementsBy<storagePorts>},
    {kPoolClass, KeyKind::kPool, elementsBy<pools>},
};

}  // namespace

ORV::Rows<HardwareClass> hardwareClasses() { return kRows; }

const HardwareClass* findHardwareClass(const std::string& className) {
  for (const HardwareClass& row : kRows) {
    if (ORV::sameName(className.c_str(), row.className)) return &row;
  }
  return nullptr;
}

}  // namespace Hardware
