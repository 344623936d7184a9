#pragma once

#include <string>

#include "platform/linux/netlink_messages.h"

namespace LinuxHost {

/// The sysfs entry of a link.
std::string linkDirectory(const std::string& sysRoot, const std::string& name);

/// Whether the link belongs to a device. Its message says so, without a look at sysfs; where the
/// message is an older kernel's, the parent is looked up below `sysRoot` ("/sys" or a test's tree)
/// and put into `link.parent`.
bool hasParentDevice(LinkRecord& link, const std::string& sysRoot);

}  // namespace LinuxHost
