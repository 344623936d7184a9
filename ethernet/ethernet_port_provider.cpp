#include "ethernet/ethernet_port_provider.h"

#include <exception>
#include <memory>
#include <utility>

#include "cmpi/cmpi_array.h"
#include "cmpi/cmpi_reference.h"
#include "ethernet/port_associations.h"
#include "ethernet/port_paths.h"
#include "framework/factories.h"
#include "framework/scoping_keys.h"
#include "framework/text.h"
#include "platform/network_info.h"

namespace EthernetProvider {

namespace {

using Nodemgr::Network::Pnic;

constexpr char kFetchFailed[] = "Failed to get pnics information";
constexpr char kDeviceIdNotFound[] = "Specified DeviceID is not found";
constexpr CMPIUint16 kCurrentSoftware = 2;

/// A class that requests may name. A satellite has its fill operation, an association its row of
/// the table of associations; the port has neither.
struct ServedClass {
  const char* name;
  void (*fillSatellite)(CmpiInstance&, Pnic*);
  const PortAssociation* association;

  bool isPort() const { return fillSatellite == nullptr && association == nullptr; }
};

/// The class that the path names: the port, or a satellite or an association from a row of the
/// table. Absent when it is not served.
std::optional<ServedClass> findServedClass(const CmpiObjectPath& path) {
  const std::string name = ORV::classNameOf(path);
  const auto is = [&](const char* served) { return ORV::sameName(served, name.c_str()); };
  if (is(kPortClass)) return ServedClass{kPortClass, nullptr, nullptr};
  for (const PortAssociation& row : portAssociations()) {
    if (is(row.satelliteClass)) return ServedClass{row.satelliteClass, row.fillSatellite, nullptr};
    if (is(row.className)) return ServedClass{row.className, nullptr, &row};
  }
  return std::nullopt;
}

/// The ports that a request is about. Owns them.
///
/// Fails: whatever the host library throws.
class FetchedPorts {
 public:
  explicit FetchedPorts(const std::optional<std::string>& deviceName) {
    if (!deviceName) {
      ports_ = network_.GetPnics();
    } else if (std::unique_ptr<Pnic> port = network_.GetPnicByName(*deviceName)) {
      ports_.push_back(std::move(port));
    }
  }

  bool empty() const { return ports_.empty(); }

  /// Calls `visit` with each port and then destroys the port, so that the next one's objects can
  /// use its memory.
  template <typename Visit>
  void forEach(Visit visit) {
    for (std::unique_ptr<Pnic>& port : ports_) visit(*std::exchange(port, nullptr));
  }

 private:
  HykCtl::Network::NetworkInfoImpl network_;  // outlives the ports that it returned
  HykCtl::Util::AutoVector<Pnic> ports_;
};

/// Null when the host library cannot answer.
std::unique_ptr<FetchedPorts> fetchPorts(const std::optional<std::string>& deviceName) {
  try {
    return std::make_unique<FetchedPorts>(deviceName);
  } catch (const Nodemgr::Lib::NodemgrException&) {
    return nullptr;
  }
}

/// Whether the host is known to have no ports. False when it cannot be asked.
bool hasNoPorts() {
  try {
    return FetchedPorts(std::nullopt).empty();
  } catch (const std::exception&) {
    return false;
  }
}

/// What the objects of one request have in common.
class Scope {
 public:
  Scope(const CmpiContext& context, CmpiBroker* broker, const CmpiObjectPath& path,
        const char** properties)
      : context_(context),
        broker_(broker),
        nameSpace_(path.getNameSpace()),
        properties_(properties) {}

  const CmpiString& nameSpace() const { return nameSpace_; }
  const char** properties() const { return properties_; }

  /// Asks the host when they are first needed, once per request.
  const ScopingKeys& keys() {
    if (!keys_) keys_ = ORV::scopingKeys(context_, broker_);
    return *keys_;
  }

  /// The InstanceID of a satellite; valid until the next call.
  const std::string& instanceId(const char* className, const std::string& deviceName) {
    assignInstanceId(instanceId_, className, deviceName);
    return instanceId_;
  }
  /// Path of a satellite.
  CmpiObjectPath satellite(const char* className, const std::string& deviceName) {
    return instanceIdPath(nameSpace_, className, instanceId(className, deviceName));
  }

 private:
  const CmpiContext context_;
  CmpiBroker* const broker_;
  const CmpiString nameSpace_;
  const char** const properties_;
  std::optional<ScopingKeys> keys_;
  std::string instanceId_;
};

CmpiObjectPath instancePath(const ServedClass& served, Scope& scope,
                            const std::string& deviceName) {
  if (served.fillSatellite != nullptr) {
    return scope.satellite(served.name, deviceName);
  }
  CmpiObjectPath port = portPath(scope.nameSpace(), deviceName, scope.keys());
  if (served.isPort()) return port;

  const PortAssociation& association = *served.association;
  CmpiObjectPath path(scope.nameSpace(), association.className);
  path.setKey(association.portRole, port);
  path.setKey(association.satelliteRole, scope.satellite(association.satelliteClass, deviceName));
  return path;
}

CmpiInstance portInstance(Scope& scope, Pnic& port) {
  const std::string deviceName = port.GetName();
  CmpiObjectPath path(scope.nameSpace(), kPortClass);
  path.setKey("DeviceID", deviceName.c_str());
  CmpiInstance instance(path);
  instance.setPropertyFilter(scope.properties());
  instance.setProperty("SystemCreationClassName", scope.keys().systemCreationClassName.c_str());
  instance.setProperty("SystemName", scope.keys().systemName.c_str());
  instance.setProperty("CreationClassName", kPortClass);
  instance.setProperty("DeviceID", deviceName.c_str());
  EthernetPortProvider::fillEPInstance(instance, &port);
  return instance;
}

// Deliberate (contract.md#whole-satellites): the property list does not apply to what follows.

CmpiInstance satelliteInstance(const ServedClass& served, Scope& scope, Pnic& port) {
  const std::string& instanceId = scope.instanceId(served.name, port.GetName());
  CmpiInstance instance(instanceIdPath(scope.nameSpace(), served.name, instanceId));
  instance.setProperty("InstanceID", instanceId.c_str());
  served.fillSatellite(instance, &port);
  return instance;
}

CmpiInstance enumeratedAssociation(const PortAssociation& association, Scope& scope, Pnic& port) {
  const std::string deviceName = port.GetName();
  CmpiInstance instance = associationInstance(
      association, scope.nameSpace(), portPath(scope.nameSpace(), deviceName, scope.keys()),
      scope.satellite(association.satelliteClass, deviceName));
  if (association.tellsSoftwareStatus) {
    const CmpiArray status(1, CMPI_uint16);
    status[0] = kCurrentSoftware;
    instance.setProperty("ElementSoftwareStatus", status);
  }
  return instance;
}

CmpiInstance fullInstance(const ServedClass& served, Scope& scope, Pnic& port) {
  if (served.isPort()) return portInstance(scope, port);
  if (served.fillSatellite != nullptr) return satelliteInstance(served, scope, port);
  return enumeratedAssociation(*served.association, scope, port);
}

/// Fetches the ports and returns what `make` builds from the requested class and each port.
///
/// Deliberate (contract.md#no-ports-any-class): a list without ports is answered before the class
/// is looked at.
template <typename Make>
CmpiStatus returnForEachPort(CmpiResult& result, const CmpiObjectPath& path,
                             const std::optional<std::string>& deviceName, Make make) {
  const std::unique_ptr<FetchedPorts> ports = fetchPorts(deviceName);
  if (ports == nullptr) return CmpiStatus(CMPI_RC_ERR_FAILED, kFetchFailed);
  if (!ports->empty()) {
    const auto served = findServedClass(path);
    if (!served) return CMPI_RC_ERR_INVALID_CLASS;
    ports->forEach([&](Pnic& port) {
      leavingOutUncarriable([&] { result.returnData(make(*served, port)); });
    });
  }
  result.returnDone();
  return CMPI_RC_OK;
}

/// The device that a request for one instance means.
///
/// Fails: the CmpiStatus that answers a path which names no device.
std::string requestedDevice(const ServedClass& served, const CmpiObjectPath& path) {
  if (served.isPort()) {
    std::string deviceName = deviceNameOfPort(path);
    if (deviceName.empty()) throw CmpiStatus(CMPI_RC_ERR_NOT_FOUND, kDeviceIdNotFound);
    return deviceName;
  }
  if (served.fillSatellite != nullptr) {
    std::optional<std::string> deviceName = deviceNameOfSatellite(path);
    if (!deviceName) throw CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER, kInvalidDeviceId);
    return *deviceName;
  }
  std::string deviceName = deviceNameOfAssociation(path, served.association->portRole);
  if (deviceName.empty()) throw CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER, kInvalidDeviceId);
  return deviceName;
}

}  // namespace

EthernetPortProvider::EthernetPortProvider(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context),
      CmpiInstanceMI(mbp, context),
      OMC::SimpleAssociationMI(mbp, context) {}

EthernetPortProvider::~EthernetPortProvider() = default;

CmpiStatus EthernetPortProvider::enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                                                   const CmpiObjectPath& path) {
  Scope scope(context, broker, path, nullptr);
  return returnForEachPort(result, path, std::nullopt, [&](const ServedClass& served, Pnic& port) {
    return instancePath(served, scope, port.GetName());
  });
}

CmpiStatus EthernetPortProvider::enumInstances(const CmpiContext& context, CmpiResult& result,
                                               const CmpiObjectPath& path,
                                               const char** properties) {
  return enumInstancesInt(context, result, path, properties, std::nullopt);
}

CmpiStatus EthernetPortProvider::getInstance(const CmpiContext& context, CmpiResult& result,
                                             const CmpiObjectPath& path, const char** properties) {
  const auto served = findServedClass(path);
  if (!served) {
    // Deliberate (contract.md#no-ports-any-class).
    if (hasNoPorts()) {
      result.returnDone();
      return CMPI_RC_OK;
    }
    // Deliberate (contract.md#unserved-class-text).
    return CmpiStatus(CMPI_RC_ERR_NOT_FOUND, kInvalidDeviceId);
  }
  std::string deviceName;
  try {
    deviceName = requestedDevice(*served, path);
  } catch (const CmpiStatus& status) {
    return status;
  }
  return enumInstancesInt(context, result, path, properties, deviceName);
}

CmpiInstanceMI* EthernetPortProvider::instancesOf(const CmpiObjectPath& path) {
  return findServedClass(path) ? this : nullptr;
}

CmpiStatus EthernetPortProvider::enumInstancesInt(const CmpiContext& context, CmpiResult& result,
                                                  const CmpiObjectPath& path,
                                                  const char** properties,
                                                  const std::optional<std::string>& deviceName) {
  Scope scope(context, broker, path, properties);
  return returnForEachPort(result, path, deviceName, [&](const ServedClass& served, Pnic& port) {
    return fullInstance(served, scope, port);
  });
}

}  // namespace EthernetProvider

ORV_PROVIDER_BASE(EthernetPortProvider);
ORV_INSTANCE_FACTORY(EthernetPortProvider, EthernetProvider::EthernetPortProvider)
ORV_ASSOCIATION_FACTORY(EthernetPortProvider, EthernetProvider::EthernetPortProvider)
