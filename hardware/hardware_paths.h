#pragma once

#include <string>

#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"
#include "hardware/element.h"
#include "hardware/hardware_classes.h"

/// Elements as objects of the broker. Everything here throws the broker's CmpiStatus.
namespace Hardware {

/// The host's computer system, which scopes the devices.
struct ScopingSystem {
  std::string className;
  std::string name;
};

constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";

CmpiObjectPath systemPath(const std::string& nameSpace, const ScopingSystem& system);

CmpiObjectPath elementPath(const std::string& nameSpace, const ScopingSystem& system,
                           const HardwareClass& row, const std::string& id);

/// The id in a path of the class; empty when its key is absent or not a text, or another key names
/// another class or system.
std::string idOf(const CmpiObjectPath& path, const HardwareClass& row, const ScopingSystem& system);

/// With the property list applied.
CmpiInstance elementInstance(const std::string& nameSpace, const ScopingSystem& system,
                             const HardwareClass& row, const Element& element,
                             const char** properties);

/// Sets HealthState, OperationalStatus and, when there are words, StatusDescriptions.
void setHealth(CmpiInstance& instance, const Judgement& judgement);

/// An array property of texts.
void setTexts(CmpiInstance& instance, const char* name, const std::vector<std::string>& texts);

}  // namespace Hardware
