#include "tests/health/health_fixture.h"

#include <cstdlib>
#include <new>

#include "broker/mof_reader.h"
#include "cmpi/cmpi_provider_base.h"
#include "health/monitor_state.h"
#include "tests/health/test_period.h"
#include "tests/support/syslog_capture.h"

extern "C" {
CMPIInstanceMI* Orvane_LatchedHealthState_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                            CMPIStatus*);
CMPIIndicationMI* Orvane_KernelIPChangedIndication_Create_IndicationMI(const CMPIBroker*,
                                                                       const CMPIContext*,
                                                                       CMPIStatus*);
CMPIAssociationMI* Orvane_LatchedHealthAssociation_Create_AssociationMI(const CMPIBroker*,
                                                                        const CMPIContext*,
                                                                        CMPIStatus*);
}

namespace orv::test {

using broker::Broker;
using broker::ClassRepository;
using broker::MofReader;
using broker::RegistrationSection;

const char kOddHardwareMof[] = R"(
[Version("2.0.0")] class Orvane_PortController : CIM_LogicalDevice {};
[Version("2.0.0")] class Orvane_Controller : CIM_ManagedElement {
  [Key] string Name; [Key] uint32 Number; uint16 HealthState;
};
[Version("2.0.0")] class Orvane_Battery : CIM_ManagedElement { uint16 HealthState; };
[Version("2.0.0")] class Orvane_StorageVolume : CIM_LogicalDevice {};
[Version("2.0.0")] class Orvane_StorageExtent : CIM_LogicalDevice {};
[Version("2.0.0")] class Orvane_DiskDrive : CIM_ManagedElement {
  [Key] string Name; string HealthState;
};
[Version("2.0.0")] class Orvane_SASSATAPort : CIM_LogicalDevice {};
[Version("2.0.0")] class Orvane_StoragePool : CIM_LogicalDevice {};
)";

const std::vector<std::string>& monitoredClasses() {
  static const auto* const classes = new std::vector<std::string>{
      "CIM_Sensor",       "CIM_PhysicalMemory",    "CIM_Processor",
      "CIM_PowerSupply",  "Orvane_PortController", "Orvane_Controller",
      "Orvane_Battery",   "Orvane_StorageVolume",  "Orvane_StorageExtent",
      "Orvane_DiskDrive", "Orvane_SASSATAPort",    "Orvane_StoragePool"};
  return *classes;
}

namespace {

std::shared_ptr<const ClassRepository> classesWith(const std::string& hardwareMof) {
  auto classes = std::make_shared<ClassRepository>();
  MofReader reader(*classes);
  reader.readDirectory(ORV_SOURCE_DIR "/schema");
  if (hardwareMof.empty()) {
    reader.readFile(ORV_SOURCE_DIR "/tests/hardware_provider/hardware.mof");
  } else {
    reader.readText(hardwareMof, "odd.mof");
  }
  return classes;
}

RegistrationSection scriptedSection(const std::string& className) {
  RegistrationSection section;
  section.className = className;
  section.provider = "ScriptedHardware";
  section.location = "scripted";
  section.instance = true;
  section.namespaces = {"root/cimv2"};
  section.unloadNever = true;
  return section;
}

/// The product's sections that concern health.
std::vector<RegistrationSection> registration() {
  std::vector<RegistrationSection> sections;
  for (auto& section : broker::readRegistrationFile(ORV_SOURCE_DIR "/schema/orvprovider.reg")) {
    const bool isHealth = section.provider == "Orvane_LatchedHealthState" ||
                          section.provider == "Orvane_LatchedHealthAssociation" ||
                          section.provider == "Orvane_KernelIPChangedIndication";
    if (isHealth) sections.push_back(section);
  }
  return sections;
}

}  // namespace

void addScriptedHardware(Broker::Options& options) {
  for (const std::string& name : monitoredClasses()) {
    options.registration.push_back(scriptedSection(name));
  }
  options.linkedFactories["ScriptedHardware_Create_InstanceMI"] =
      reinterpret_cast<void*>(ScriptedHardware_Create_InstanceMI);
}

Broker::Options healthBrokerOptions(const std::string& hardwareMof) {
  Broker::Options options;
  options.namespaces["root/cimv2"] = classesWith(hardwareMof);
  options.registration = registration();
  options.linkedFactories = {
      {"Orvane_LatchedHealthState_Create_InstanceMI",
       reinterpret_cast<void*>(Orvane_LatchedHealthState_Create_InstanceMI)},
      {"Orvane_KernelIPChangedIndication_Create_IndicationMI",
       reinterpret_cast<void*>(Orvane_KernelIPChangedIndication_Create_IndicationMI)},
      {"Orvane_LatchedHealthAssociation_Create_AssociationMI",
       reinterpret_cast<void*>(Orvane_LatchedHealthAssociation_Create_AssociationMI)}};
  addScriptedHardware(options);
  return options;
}

Broker::Options brokerWithoutProviders(const std::string& schema) {
  Broker::Options options;
  options.namespaces["root/cimv2"] = std::make_shared<const ClassRepository>(
      broker::loadSchema(std::string(ORV_SOURCE_DIR "/") + schema));
  return options;
}

void resetMonitorState() {
  OrvLatchedHealth::MonitorState& state = OrvLatchedHealth::monitorState();
  state.~MonitorState();
  new (&state) OrvLatchedHealth::MonitorState;
}

CmpiObjectPath makePath(const std::string& className, const std::vector<TextKey>& keys,
                        const char* host, const std::string& nameSpace) {
  CmpiObjectPath path(nameSpace.c_str(), className.c_str());
  for (const TextKey& key : keys) path.setKey(key.name, CmpiData(key.value));
  if (host != nullptr) path.setHostname(host);
  return path;
}

HealthTest::HealthTest(Broker::Options options, broker::ContextTable contextTable)
    : broker_(std::move(options), contextTable),
      scope_(std::make_unique<broker::RequestScope>(broker_)) {
  setenv("ORV_HOST_FILE", ORV_SOURCE_DIR "/tests/hosts/example.json", 1);
  CmpiProviderBase::setBroker(Broker::cmpi());
  resetMonitorState();
  scriptedHardware().clear();
  setPeriodMilliseconds(kUntilStopped);
  setBrokerStarted(true);
  setStopPatience(std::chrono::seconds(5));
  clearSyslog();
}

HealthTest::~HealthTest() = default;

std::uint16_t HealthTest::poll(std::time_t now) {
  const CmpiBroker manager = binding();
  const CmpiContext own = context();
  const ORV::AttachedThreadMemory memory(own);
  const ORV::ThreadTools tools{manager, own, memory};
  return OrvLatchedHealth::pollMonitoredClasses(tools, store_, [now] { return now; });
}

}  // namespace orv::test
