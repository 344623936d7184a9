#include "ethernet/port_paths.h"

#include <algorithm>
#include <cstddef>

#include "framework/text.h"

namespace EthernetProvider {

namespace {

/// A device name that a client gives is kept in 128 characters, the terminating zero included.
constexpr std::size_t kLongestDeviceName = 127;

}  // namespace

CmpiObjectPath portPath(const CmpiString& nameSpace, const std::string& deviceName,
                        const ScopingKeys& scope) {
  CmpiObjectPath path(nameSpace, kPortClass);
  path.setKey("DeviceID", deviceName.c_str());
  path.setKey("SystemCreationClassName", scope.systemCreationClassName.c_str());
  path.setKey("SystemName", scope.systemName.c_str());
  path.setKey("CreationClassName", kPortClass);
  return path;
}

void assignInstanceId(std::string& id, const char* className, const std::string& deviceName) {
  id.assign("Orvane:").append(className).append(1, ':').append(deviceName);
}

std::string satelliteInstanceId(const char* className, const std::string& deviceName) {
  std::string id;
  assignInstanceId(id, className, deviceName);
  return id;
}

CmpiObjectPath instanceIdPath(const CmpiString& nameSpace, const char* className,
                              const std::string& instanceId) {
  CmpiObjectPath path(nameSpace, className);
  path.setKey("InstanceID", instanceId.c_str());
  return path;
}

CmpiObjectPath satellitePath(const CmpiString& nameSpace, const char* className,
                             const std::string& deviceName) {
  return instanceIdPath(nameSpace, className, satelliteInstanceId(className, deviceName));
}

CmpiString getKey(const CmpiObjectPath& path, const char* name) {
  const CmpiData key = path.getKey(name);
  if (key.isNotFound() || key.isNullValue()) return {};
  return CmpiString(key);
}

std::optional<std::string> getDeviceName(const CmpiString& instanceId) {
  const std::string text = ORV::textOf(instanceId);
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos) return std::nullopt;
  return text.substr(colon + 1);
}

std::string deviceNameOfPort(const CmpiObjectPath& port) {
  return ORV::textOf(getKey(port, "DeviceID"));
}

std::optional<std::string> deviceNameOfSatellite(const CmpiObjectPath& satellite) {
  std::optional<std::string> name = getDeviceName(getKey(satellite, "InstanceID"));
  if (name) name->resize(std::min(name->size(), kLongestDeviceName));
  return name;
}

std::string deviceNameOfAssociation(const CmpiObjectPath& association, const char* role) {
  const CmpiObjectPath port = ORV::referenceKey(association, role);
  return port.isNull() ? std::string() : deviceNameOfPort(port);
}

}  // namespace EthernetProvider
