#include "ethernet/port_associations.h"

#include <algorithm>
#include <vector>

#include "ethernet/ethernet_port_provider.h"
#include "ethernet/port_paths.h"
#include "framework/text.h"
#include "platform/computer_system.h"

namespace EthernetProvider {

namespace {

using ORV::isGiven;
using ORV::passesFilter;
using ORV::sameName;

/// The filters of one request; null or empty restricts nothing.
struct Filters {
  const char* assocClass;
  const char* resultClass;
  const char* role;
  const char* resultRole;
};

using Selection = std::vector<const PortAssociation*>;

template <typename Unwanted>
void drop(Selection& selection, Unwanted unwanted) {
  selection.erase(std::remove_if(selection.begin(), selection.end(), unwanted), selection.end());
}

bool isA(const CmpiString& nameSpace, const char* className, const char* wanted) {
  return CmpiObjectPath(nameSpace, className).classPathIsA(wanted);
}

/// Whether any association has that role. If none has, the request is answered with nothing.
bool isRole(const char* PortAssociation::*role, const char* wanted) {
  return std::any_of(
      portAssociations().begin(), portAssociations().end(),
      [&](const PortAssociation& association) { return sameName(association.*role, wanted); });
}

bool rolesApply(const Filters& filters) {
  return (!isGiven(filters.role) || isRole(&PortAssociation::portRole, filters.role)) &&
         (!isGiven(filters.resultRole) ||
          isRole(&PortAssociation::satelliteRole, filters.resultRole));
}

/// The associations of a port that pass all four filters.
Selection selectAssociations(const CmpiString& nameSpace, const Filters& filters) {
  Selection selection;
  for (const PortAssociation& association : portAssociations()) selection.push_back(&association);
  drop(selection, [&](auto* row) { return !passesFilter(filters.role, row->portRole); });
  drop(selection, [&](auto* row) { return !passesFilter(filters.resultRole, row->satelliteRole); });
  if (isGiven(filters.resultClass)) {
    drop(selection,
         [&](auto* row) { return !isA(nameSpace, row->satelliteClass, filters.resultClass); });
  }
  if (isGiven(filters.assocClass)) {
    drop(selection, [&](auto* row) { return !isA(nameSpace, row->className, filters.assocClass); });
  }
  return selection;
}

CmpiStatus referencesOfPort(CmpiResult& result, const CmpiObjectPath& port,
                            const Filters& filters) {
  if (!rolesApply(filters)) return CMPI_RC_OK;
  const CmpiString nameSpace = port.getNameSpace();
  const Selection selection = selectAssociations(nameSpace, filters);

  const CmpiString deviceName = getKey(port, "DeviceID");
  if (deviceName.charPtr() == nullptr) {
    return CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER, kInvalidDeviceId);
  }
  for (const PortAssociation* association : selection) {
    const CmpiObjectPath satellite =
        satellitePath(nameSpace, association->satelliteClass, deviceName.charPtr());
    result.returnData(associationInstance(*association, nameSpace, port, satellite));
  }
  result.returnDone();
  return CMPI_RC_OK;
}

/// Deliberate (contract.md#satellite-association-class): the association class is not consulted.
bool satelliteFiltersApply(const PortAssociation& association, const CmpiString& nameSpace,
                           const Filters& filters) {
  return passesFilter(filters.role, association.satelliteRole) &&
         passesFilter(filters.resultRole, association.portRole) &&
         (!isGiven(filters.resultClass) || isA(nameSpace, kPortClass, filters.resultClass));
}

CmpiStatus referencesOfSatellite(const CmpiContext& context, CmpiBroker* broker, CmpiResult& result,
                                 const CmpiObjectPath& satellite,
                                 const PortAssociation& association, const Filters& filters) {
  const CmpiString nameSpace = satellite.getNameSpace();
  if (!satelliteFiltersApply(association, nameSpace, filters)) return CMPI_RC_OK;

  const auto deviceName = getDeviceName(getKey(satellite, "InstanceID"));
  if (!deviceName) return CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER, kInvalidDeviceId);
  const ScopingKeys scope{association.systemCreationClassName(),
                          OMC::getComputerSystemName(context, broker)};
  const CmpiObjectPath port = portPath(nameSpace, *deviceName, scope);
  result.returnData(associationInstance(association, nameSpace, port, satellite));
  result.returnDone();
  return CMPI_RC_OK;
}

}  // namespace

CmpiInstance associationInstance(const PortAssociation& association, const CmpiString& nameSpace,
                                 const CmpiObjectPath& port, const CmpiObjectPath& satellite) {
  CmpiInstance instance(CmpiObjectPath(nameSpace, association.className));
  instance.setProperty(association.portRole, port);
  instance.setProperty(association.satelliteRole, satellite);
  return instance;
}

CmpiStatus EthernetPortProvider::doReferences(const CmpiContext& context, CmpiResult& result,
                                              const CmpiObjectPath& path, const char* assocClass,
                                              const char* resultClass, const char* role,
                                              const char* resultRole) {
  const Filters filters{assocClass, resultClass, role, resultRole};
  const std::string source = ORV::classNameOf(path);
  if (sameName(source.c_str(), kPortClass)) return referencesOfPort(result, path, filters);
  for (const PortAssociation& association : portAssociations()) {
    if (sameName(source.c_str(), association.satelliteClass)) {
      return referencesOfSatellite(context, broker, result, path, association, filters);
    }
  }
  return CMPI_RC_OK;
}

}  // namespace EthernetProvider
