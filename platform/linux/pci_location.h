#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/netlink_messages.h"

namespace LinuxHost {

/// Where a device sits on PCI, and who made it.
struct PciLocation {
  std::uint16_t segment = 0;
  std::uint8_t bus = 0;
  std::uint8_t slot = 0;
  std::uint8_t function = 0;
  std::uint16_t vendorId = 0;
  std::uint16_t deviceId = 0;
};

/// Takes a PCI address such as "0000:03:00.1" apart; nothing when the text is not one, or when its
/// segment is larger than PCI's 16 bits (segments that the kernel makes up for bridges in
/// software).
std::optional<PciLocation> parsePciAddress(std::string_view text);

/// The PCI function of a port's parent device: the device itself, or the one that carries a virtio
/// device. Nothing when neither is on PCI; a USB adapter's host controller, for example, is not the
/// adapter. Vendor and device number come from sysfs below `sysRoot`; those that it does not give
/// are zero.
std::optional<PciLocation> readPciLocation(const ParentDevice& parent, const std::string& sysRoot);

}  // namespace LinuxHost
