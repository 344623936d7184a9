#pragma once

#include <string>
#include <vector>

#include "framework/rows.h"
#include "hardware/element.h"

/// The classes of elements, one row each.
namespace Hardware {

/// How the elements of a class are told apart.
enum class KeyKind {
  kDevice,    ///< SystemCreationClassName, SystemName, CreationClassName, DeviceID
  kPhysical,  ///< CreationClassName, Tag
  kPool,      ///< InstanceID
};

struct HardwareClass {
  const char* className;
  KeyKind keys;
  /// The elements of the class, afresh, each `id` once. Fails as the calls of platform/hardware.h.
  std::vector<Element> (*elements)(const Query& query);
};

constexpr const char* kSensorClass = "Orvane_NumericSensor";
constexpr const char* kMemoryClass = "Orvane_PhysicalMemory";
constexpr const char* kPowerSupplyClass = "Orvane_PowerSupply";
constexpr const char* kBatteryClass = "Orvane_Battery";
constexpr const char* kDiskClass = "Orvane_DiskDrive";
constexpr const char* kControllerClass = "Orvane_Controller";
constexpr const char* kStoragePortClass = "Orvane_SASSATAPort";
constexpr const char* kPoolClass = "Orvane_StoragePool";
constexpr const char* kVolumeClass = "Orvane_StorageVolume";
constexpr const char* kExtentClass = "Orvane_StorageExtent";
constexpr const char* kPortControllerClass = "Orvane_PortController";

/// In the order in which the health monitor polls them.
ORV::Rows<HardwareClass> hardwareClasses();

/// The row of a class name in any case; null when it is not ours.
const HardwareClass* findHardwareClass(const std::string& className);

}  // namespace Hardware
