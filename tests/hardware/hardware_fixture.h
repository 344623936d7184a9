#pragma once

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "broker/broker.h"
#include "broker/mof_reader.h"
#include "broker/registration.h"
#include "tests/support/linked_providers.h"
#include "tests/support/simulated_host_file.h"

extern "C" {
CMPIInstanceMI* OrvaneHostSystem_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                   CMPIStatus*);
CMPIInstanceMI* OrvaneHostHardware_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                     CMPIStatus*);
CMPIInstanceMI* OrvaneHostAssociations_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                         CMPIStatus*);
CMPIAssociationMI* OrvaneHostAssociations_Create_AssociationMI(const CMPIBroker*,
                                                               const CMPIContext*, CMPIStatus*);
}

/// The providers of the second library, linked into the test program. ORV_SOURCE_DIR names the
/// source tree.
namespace orv::test {

inline std::shared_ptr<const broker::ClassRepository> hostClasses() {
  auto classes = std::make_shared<broker::ClassRepository>();
  broker::MofReader reader(*classes);
  reader.readDirectory(std::string(ORV_SOURCE_DIR) + "/schema");
  reader.readFile(std::string(ORV_SOURCE_DIR) + "/schema/host/orvhost.mof");
  return classes;
}

inline std::vector<broker::RegistrationSection> hostRegistration() {
  return broker::readRegistrationFile(std::string(ORV_SOURCE_DIR) + "/schema/host/orvhost.reg");
}

/// The registered classes whose instances are parts of the system.
inline std::set<std::string> elementClasses() {
  std::set<std::string> classes;
  for (const auto& section : hostRegistration()) {
    if (!section.association) classes.insert(section.className);
  }
  classes.erase("OMC_UnitaryComputerSystem");
  return classes;
}

inline broker::Broker::Options hardwareProviders() {
  broker::Broker::Options options;
  options.namespaces["root/cimv2"] = hostClasses();
  options.registration = hostRegistration();
  options.linkedFactories = {
      {"OrvaneHostSystem_Create_InstanceMI", linkedFactory(OrvaneHostSystem_Create_InstanceMI)},
      {"OrvaneHostHardware_Create_InstanceMI", linkedFactory(OrvaneHostHardware_Create_InstanceMI)},
      {"OrvaneHostAssociations_Create_InstanceMI",
       linkedFactory(OrvaneHostAssociations_Create_InstanceMI)},
      {"OrvaneHostAssociations_Create_AssociationMI",
       linkedFactory(OrvaneHostAssociations_Create_AssociationMI)}};
  return options;
}

/// The classes that the health monitor polls, in its order.
inline const std::vector<std::string> kPolledClasses = {
    "CIM_Sensor",       "CIM_PhysicalMemory",    "CIM_Processor",
    "CIM_PowerSupply",  "Orvane_PortController", "Orvane_Controller",
    "Orvane_Battery",   "Orvane_StorageVolume",  "Orvane_StorageExtent",
    "Orvane_DiskDrive", "Orvane_SASSATAPort",    "Orvane_StoragePool"};

inline std::vector<std::string> textsOf(const broker::Instance& instance, const char* property) {
  std::vector<std::string> texts;
  const broker::Value* value = instance.property(property);
  if (value == nullptr) return texts;
  for (const broker::Value& element : value->array()) texts.push_back(element.text());
  return texts;
}

inline unsigned healthOf(const broker::Instance& instance) {
  return static_cast<unsigned>(std::stoul(instance.property("HealthState")->toText()));
}

}  // namespace orv::test
