#include <string>

#include "ethernet/ethernet_port_provider.h"
#include "ethernet/port_associations.h"
#include "framework/scoping_keys.h"
#include "platform/computer_system.h"
#include "platform/nodemgr_exception.h"

namespace EthernetProvider {

namespace {

using Nodemgr::Lib::NodemgrException;
using Nodemgr::Network::Pnic;
using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicDriverInfo;
using Nodemgr::Network::PnicStatistics;

CmpiData published(bool value) { return CmpiBooleanData(value); }
template <typename Number>
CmpiData published(Number value) {
  return CmpiData(value);
}

/// Sets each fact of the record as the property of the same name, in the order of the record.
template <typename Record>
void setFacts(CmpiInstance& instance, const Record& record) {
  platform::forEachFact<Record>(
      [&](const auto& fact) { instance.setProperty(fact.name, published(record.*fact.member)); });
}

/// Sets the names of either identity. Both are named after the driver; ElementName ends in a space,
/// and VersionString repeats it before the version.
void setSoftwareIdentity(CmpiInstance& instance, Pnic& pnic, const char* connectingText,
                         std::string PnicDriverInfo::*version) {
  PnicDriverInfo info;
  pnic.GetDriverInfo(info);
  std::string text = info.driver + connectingText;
  instance.setProperty("ElementName", text.c_str());
  text += info.*version;
  instance.setProperty("VersionString", text.c_str());
}

/// Runs a fill operation. When the host library fails, the instance keeps what was set before.
template <typename Fill>
void fillAsFarAsKnown(Fill fill) {
  try {
    fill();
  } catch (const NodemgrException&) {
  }
}

// Deliberate (contract.md#driver-system-class): the driver's row asks the host itself.
constexpr PortAssociation kRows[] = {
    {"Orvane_EPDriverElementSoftwareIdentity", "Dependent", "Antecedent",
     "Orvane_EPDriverSoftwareIdentity", &EthernetPortProvider::fillEPDriverInstance, true,
     &OMC::getComputerSystemClassName},
    {"Orvane_EPFirmwareElementSoftwareIdentity", "Dependent", "Antecedent",
     "Orvane_EPFirmwareSoftwareIdentity", &EthernetPortProvider::fillEPFirmwareInstance, true,
     &ORV::getSystemCreationClassName},
    {"Orvane_EPStatistics", "Element", "Stats", "Orvane_EPStatisticalInformation",
     &EthernetPortProvider::fillEPStatsInstance, false, &ORV::getSystemCreationClassName},
    {"Orvane_EPCoalesceElementSettingData", "ManagedElement", "SettingData",
     "Orvane_EPCoalesceSettingData", &EthernetPortProvider::fillEPCoalesceInstance, false,
     &ORV::getSystemCreationClassName},
};

}  // namespace

void EthernetPortProvider::fillEPStatsInstance(CmpiInstance& instance, Pnic* pnic) {
  fillAsFarAsKnown([&] {
    PnicStatistics statistics;
    pnic->GetStatistics(statistics);
    std::string name = pnic->GetName();
    for (const char* property : {"Name", "ElementName", "Caption"}) {
      instance.setProperty(property, name.c_str());
    }
    name += " statistics";
    instance.setProperty("Description", name.c_str());
    setFacts(instance, statistics);
  });
}

void EthernetPortProvider::fillEPCoalesceInstance(CmpiInstance& instance, Pnic* pnic) {
  fillAsFarAsKnown([&] {
    PnicCoalesceParams params;
    pnic->GetCoalesceParams(params);
    instance.setProperty("ElementName", pnic->GetName().c_str());
    setFacts(instance, params);
  });
}

void EthernetPortProvider::fillEPDriverInstance(CmpiInstance& instance, Pnic* pnic) {
  fillAsFarAsKnown(
      [&] { setSoftwareIdentity(instance, *pnic, " driver ", &PnicDriverInfo::driverVersion); });
}

void EthernetPortProvider::fillEPFirmwareInstance(CmpiInstance& instance, Pnic* pnic) {
  fillAsFarAsKnown([&] {
    setSoftwareIdentity(instance, *pnic, " device firmware ", &PnicDriverInfo::firmwareVersion);
  });
}

ORV::Rows<PortAssociation> portAssociations() { return kRows; }

}  // namespace EthernetProvider
