#include "hardware/relations.h"

#include <map>
#include <utility>

#include "framework/text.h"

namespace Hardware {
namespace {

const Query kIdentities{false, ""};

const HardwareClass& rowOf(const char* className) { return *findHardwareClass(className); }

std::vector<Element> elementsOf(const char* className) {
  return rowOf(className).elements(kIdentities);
}

bool isSystem(const HardwareClass* row) { return row == nullptr; }
bool isDevice(const HardwareClass* row) { return row != nullptr && row->keys == KeyKind::kDevice; }
bool isPhysical(const HardwareClass* row) {
  return row != nullptr && row->keys == KeyKind::kPhysical;
}
bool isPool(const HardwareClass* row) { return row != nullptr && row->keys == KeyKind::kPool; }
bool isClass(const HardwareClass* row, const char* className) {
  return row != nullptr && row == findHardwareClass(className);
}
bool isSensor(const HardwareClass* row) { return isClass(row, kSensorClass); }
bool isDisk(const HardwareClass* row) { return isClass(row, kDiskClass); }
bool isExtent(const HardwareClass* row) { return isClass(row, kExtentClass); }
bool isOnDisk(const HardwareClass* row) { return isExtent(row) || isClass(row, kVolumeClass); }
bool isMonitored(const HardwareClass* row) {
  return isSystem(row) || isDisk(row) || isClass(row, kControllerClass) ||
         isClass(row, kPortControllerClass) || isClass(row, kBatteryClass) ||
         isClass(row, kPowerSupplyClass);
}

/// The system paired with every wanted element whose class `isPart` accepts.
template <bool (*isPart)(const HardwareClass*)>
std::vector<Pair> partsOfSystem(const Wanted& wanted) {
  std::vector<Pair> pairs;
  for (const HardwareClass& row : hardwareClasses()) {
    if (!isPart(&row) || !wanted(row.className)) continue;
    for (const Element& element : row.elements(kIdentities)) {
      pairs.push_back({End{}, End{&row, element.id}});
    }
  }
  return pairs;
}

std::vector<Pair> memoryOfSystem(const Wanted& wanted) {
  std::vector<Pair> pairs = partsOfSystem<isPhysical>(wanted);
  for (Pair& pair : pairs) std::swap(pair.left, pair.right);
  return pairs;
}

/// A sensor belongs to the element that it names, or else to the system.
std::vector<Pair> monitoredElements(const Wanted&) {
  std::map<std::string, const HardwareClass*> known;
  for (const HardwareClass& row : hardwareClasses()) {
    if (!isMonitored(&row)) continue;
    for (const Element& element : row.elements(kIdentities)) known.emplace(element.id, &row);
  }
  std::vector<Pair> pairs;
  for (const Element& sensor : elementsOf(kSensorClass)) {
    const auto found = known.find(sensor.monitored);
    End monitored;
    if (found != known.end()) monitored = End{found->second, found->first};
    pairs.push_back({End{&rowOf(kSensorClass), sensor.id}, std::move(monitored)});
  }
  return pairs;
}

std::vector<Pair> mediaOfDisks(const Wanted&) {
  std::vector<Pair> pairs;
  for (const char* className : {kExtentClass, kVolumeClass}) {
    for (const Element& element : elementsOf(className)) {
      if (element.disk.empty()) continue;
      pairs.push_back({End{&rowOf(kDiskClass), element.disk}, End{&rowOf(className), element.id}});
    }
  }
  return pairs;
}

std::vector<Pair> membersOfPools(const Wanted&) {
  std::vector<Pair> pairs;
  for (const Element& extent : elementsOf(kExtentClass)) {
    pairs.push_back({End{&rowOf(kPoolClass), extent.pool}, End{&rowOf(kExtentClass), extent.id}});
  }
  return pairs;
}

/// Parts of the same system that another library may serve.
constexpr const char* kForeignDevices[] = {"Orvane_EthernetPort", "Orvane_Processor", nullptr};
constexpr const char* kNone[] = {nullptr};

constexpr Association kAssociations[] = {
    {"Orvane_SystemDevice", "GroupComponent", "PartComponent", isSystem, isDevice,
     partsOfSystem<isDevice>, kForeignDevices},
    {"Orvane_SystemPackaging", "Antecedent", "Dependent", isPhysical, isSystem, memoryOfSystem,
     kNone},
    {"Orvane_HostedStoragePool", "GroupComponent", "PartComponent", isSystem, isPool,
     partsOfSystem<isPool>, kNone},
    {"Orvane_AssociatedSensor", "Antecedent", "Dependent", isSensor, isMonitored, monitoredElements,
     kNone},
    {"Orvane_MediaPresent", "Antecedent", "Dependent", isDisk, isOnDisk, mediaOfDisks, kNone},
    {"Orvane_PoolComponent", "GroupComponent", "PartComponent", isPool, isExtent, membersOfPools,
     kNone},
};

}  // namespace

ORV::Rows<Association> associations() { return kAssociations; }

const Association* findAssociation(const std::string& className) {
  for (const Association& association : kAssociations) {
    if (ORV::sameName(className.c_str(), association.className)) return &association;
  }
  return nullptr;
}

}  // namespace Hardware
