#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/netlink_messages.h"

/// Which links are the host's physical ports: those of Ethernet type that are backed by a device.
/// `sysRoot` is "/sys" or a test's tree.
namespace LinuxHost {

/// The sysfs entry of a link.
std::string linkDirectory(const std::string& sysRoot, const std::string& name);

/// Whether the kernel could have a link of that name; a name that it could not is never made part
/// of a path.
bool isLinkName(const std::string& name);

/// The ports among `links`, in the kernel's index order.
std::vector<LinkRecord> physicalPorts(std::vector<LinkRecord> links, const std::string& sysRoot);

/// The port whose own name is `name`; a link that the kernel has found by an alternative name is
/// not it.
std::optional<LinkRecord> physicalPortNamed(const std::vector<LinkRecord>& links,
                                            const std::string& name, const std::string& sysRoot);

}  // namespace LinuxHost
