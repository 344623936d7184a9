#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/netlink_messages.h"

/// Which links are the host's physical ports: those of Ethernet type that belong to a device.
/// `sysRoot` is "/sys" or the tree of a test, for kernels that do not name the device.
namespace LinuxHost {

/// Whether a link can have that name. A name that fails this test is never made part of a path.
bool isLinkName(const std::string& name);

/// The ports among `links`, in the kernel's index order. The records are large to move, so they
/// stay where they are; each port keeps all of them alive.
std::vector<std::shared_ptr<const LinkRecord>> physicalPorts(std::vector<LinkRecord>&& links,
                                                             const std::string& sysRoot);

/// The link, if it is a port whose own name is `name`. Absent for a link that the kernel has found
/// by an alternative name.
std::optional<LinkRecord> physicalPortNamed(std::optional<LinkRecord> link, const std::string& name,
                                            const std::string& sysRoot);

}  // namespace LinuxHost
