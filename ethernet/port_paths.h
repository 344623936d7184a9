#pragma once

#include <optional>
#include <string>

#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_string.h"
#include "framework/scoping_keys.h"

/// Keys of ports and satellites: built from a device name, and taken apart into one.
///
/// A satellite is identified by its InstanceID, "Orvane:" + class name + ":" + device name. Read
/// back, the device is the text after the last ":", whatever stands before it.
namespace EthernetProvider {

inline constexpr char kPortClass[] = "Orvane_EthernetPort";

/// What a request is told whose path names no device, or none as its class does.
inline constexpr char kInvalidDeviceId[] = "DeviceID specified is not valid";

using ORV::ScopingKeys;

/// Path of a port with its four keys.
CmpiObjectPath portPath(const CmpiString& nameSpace, const std::string& deviceName,
                        const ScopingKeys& scope);

/// InstanceID of the satellite of that class and device.
std::string satelliteInstanceId(const char* className, const std::string& deviceName);

/// Writes it over `id`, whose memory is used again.
void assignInstanceId(std::string& id, const char* className, const std::string& deviceName);

/// Path of a satellite with its one key, the InstanceID.
CmpiObjectPath instanceIdPath(const CmpiString& nameSpace, const char* className,
                              const std::string& instanceId);

/// The same, of a device.
CmpiObjectPath satellitePath(const CmpiString& nameSpace, const char* className,
                             const std::string& deviceName);

/// The key as a text; a null string when it is absent or null.
///
/// Fails: CmpiStatus 13 for a key that is not a text.
CmpiString getKey(const CmpiObjectPath& path, const char* name);

/// The text after the last ":" of a satellite's InstanceID, whatever stands before it; absent when
/// the id is null or has no ":".
std::optional<std::string> getDeviceName(const CmpiString& instanceId);

/// What a request's path says about the device. Empty means that it names none: the key is absent,
/// null or empty.
std::string deviceNameOfPort(const CmpiObjectPath& port);

/// As above, for a path with an InstanceID; one without ":" counts as missing. An InstanceID that
/// ends in ":" names the device with the empty name, which is not the same as none. At most the
/// first 127 characters of the name count.
std::optional<std::string> deviceNameOfSatellite(const CmpiObjectPath& satellite);

/// As above, for the port that an association's path refers to under `role`. A reference that is
/// absent, null or not a reference names none.
std::string deviceNameOfAssociation(const CmpiObjectPath& association, const char* role);

}  // namespace EthernetProvider
