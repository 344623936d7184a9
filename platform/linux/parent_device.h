#pragma once

#include <string>

#include "platform/linux/netlink_messages.h"

namespace LinuxHost {

/// Whether the link belongs to a device. A newer kernel says so in the link's message. For the
/// message of an older one, the parent is looked up below `sysRoot` ("/sys" or the tree of a test)
/// and stored in `link.parent`.
bool hasParentDevice(LinkRecord& link, const std::string& sysRoot);

}  // namespace LinuxHost
