#pragma once

#include <optional>
#include <string>

#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_string.h"
#include "framework/scoping_keys.h"

/// Keys of ports and satellites: how they are built from a device name, and the device name read
/// from them.
///
/// A satellite is identified by its InstanceID, "Orvane:" + class name + ":" + device name. When it
/// is read, the device is the text after the last ":", whatever precedes it.
namespace EthernetProvider {

inline constexpr char kPortClass[] = "Orvane_EthernetPort";

/// Status text for a path that names no device, or not in the way that its class requires.
inline constexpr char kInvalidDeviceId[] = "DeviceID specified is not valid";

using ORV::ScopingKeys;

/// The path of a port, with its four keys.
CmpiObjectPath portPath(const CmpiString& nameSpace, const std::string& deviceName,
                        const ScopingKeys& scope);

/// The InstanceID of a satellite.
std::string satelliteInstanceId(const char* className, const std::string& deviceName);

/// Stores the InstanceID of a satellite in `id`, whose memory is used again.
void assignInstanceId(std::string& id, const char* className, const std::string& deviceName);

/// The path of a satellite, with its only key, the InstanceID.
CmpiObjectPath instanceIdPath(const CmpiString& nameSpace, const char* className,
                              const std::string& instanceId);

/// The path of a device's satellite.
CmpiObjectPath satellitePath(const CmpiString& nameSpace, const char* className,
                             const std::string& deviceName);

/// The text of a key; a null string when the key is absent or null.
///
/// Fails: CmpiStatus 13 for a key that is not a text.
CmpiString getKey(const CmpiObjectPath& path, const char* name);

/// The text after the last ":" of a satellite's InstanceID, whatever precedes it; absent when the
/// id is null or has no ":".
std::optional<std::string> getDeviceName(const CmpiString& instanceId);

/// The device that the path of a port names. Empty when it names none: the key is absent, null or
/// empty.
///
/// Fails: CmpiStatus 13 for a key that is not a text, here and below.
std::string deviceNameOfPort(const CmpiObjectPath& port);

/// The device that the path of a satellite names. Absent when the InstanceID is absent, null or
/// without a ":". An InstanceID that ends in ":" names the device with the empty name, which is not
/// the same as none. Only the first 127 characters of the name are used.
std::optional<std::string> deviceNameOfSatellite(const CmpiObjectPath& satellite);

/// The device of the port to which the path of an association refers under `role`. Empty when there
/// is no such reference, when it is null or of another type, or when the port's path names no
/// device.
std::string deviceNameOfAssociation(const CmpiObjectPath& association, const char* role);

}  // namespace EthernetProvider
