#pragma once

#include <string>
#include <vector>

#include "framework/rows.h"
#include "hardware/element.h"

/// The classes of elements, one row each.
namespace Hardware {

/// The keys that tell the elements of a class apart.
enum class KeyKind {
  kDevice,    ///< SystemCreationClassName, SystemName, CreationClassName, DeviceID
  kPhysical,  ///< CreationClassName, Tag
  kPool,      ///< InstanceID
};

struct HardwareClass {
  const char* className;
  KeyKind keys;
  /// Asks the host for the elements of the class; no two have the same `id`. Fails as the calls of
  /// platform/hardware.h.
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

/// The classes, in the order in which the health monitor polls them.
ORV::Rows<HardwareClass> hardwareClasses();

/// The row of a class, whose name may be in any case; null when it is not one of these.
const HardwareClass* findHardwareClass(const std::string& className);

}  // namespace Hardware
