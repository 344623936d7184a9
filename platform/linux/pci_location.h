#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/netlink_messages.h"
#include "platform/pnic.h"

namespace LinuxHost {

using Nodemgr::Network::PciLocation;

/// Reads a PCI address such as "0000:03:00.1". Absent when the text is not one, or when its segment
/// does not fit PCI's 16 bits (the kernel makes up such segments for bridges in software).
std::optional<PciLocation> parsePciAddress(std::string_view text);

/// The PCI function of a port's parent device: the device itself, or the one that carries a virtio
/// device. Absent when neither is on PCI; the host controller of a USB adapter, for example, is not
/// the adapter. Vendor and device number come from sysfs below `sysRoot`; a number that it does not
/// give is zero.
std::optional<PciLocation> readPciLocation(const ParentDevice& parent, const std::string& sysRoot);

}  // namespace LinuxHost
