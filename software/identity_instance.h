#pragma once

#include <cstdint>
#include <string>

#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"
#include "platform/host_version.h"

namespace OrvSoftware {

/// The class of hypervisor images, and its only key.
constexpr const char* kHypervisorIdentityClass = "Orvane_HypervisorSoftwareIdentity";
constexpr const char* kInstanceIdKey = "InstanceID";

/// The InstanceID key of a path; empty when it is absent, null or not a text.
std::string instanceIdOf(const CmpiObjectPath& path);

/// Sets the properties of an Orvane_HypervisorSoftwareIdentity from the version record.
///
/// `lastStartMicroseconds`, counted from the epoch, is published for the running image only. Fails:
/// the broker's CmpiStatus.
void fillIdentity(CmpiInstance& instance, const HykuserVersion_SystemVersion& image,
                  std::uint64_t lastStartMicroseconds);

}  // namespace OrvSoftware
