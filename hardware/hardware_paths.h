#pragma once

#include <string>

#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"
#include "framework/scoping_keys.h"
#include "hardware/element.h"
#include "hardware/hardware_classes.h"

/// Elements as objects of the broker. All functions throw the broker's CmpiStatus.
namespace Hardware {

constexpr const char* kSystemClass = "OMC_UnitaryComputerSystem";

/// The path of the host's computer system.
CmpiObjectPath systemPath(const std::string& nameSpace, const ORV::ScopingKeys& system);

/// The path of an element.
CmpiObjectPath elementPath(const std::string& nameSpace, const ORV::ScopingKeys& system,
                           const HardwareClass& row, const std::string& id);

/// The id in a path of the class. Empty when its key is absent or not a text, or another key names
/// another class or system.
std::string idOf(const CmpiObjectPath& path, const HardwareClass& row,
                 const ORV::ScopingKeys& system);

/// The instance of an element, with the property list applied.
CmpiInstance elementInstance(const std::string& nameSpace, const ORV::ScopingKeys& system,
                             const HardwareClass& row, const Element& element,
                             const char** properties);

/// Sets HealthState, OperationalStatus and, when there are words, StatusDescriptions.
void setHealth(CmpiInstance& instance, const Judgement& judgement);

/// Sets a property that is an array of texts.
void setTexts(CmpiInstance& instance, const char* name, const std::vector<std::string>& texts);

}  // namespace Hardware
