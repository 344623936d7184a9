#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/netlink_messages.h"
#include "platform/system_info.h"

namespace LinuxHost {

/// A kernel interface and its addresses.
struct KernelInterface {
  struct Ipv4 {
    HsiIpv4Address address{};
    HsiIpv4Address netmask{};
  };
  struct Ipv6 {
    std::string text;  ///< also identifies the address: an interface has no address twice
    std::uint32_t prefixLength = 0;
  };

  std::string name;
  std::optional<Ipv4> ipv4;  ///< the primary address, the first that the kernel lists
  std::vector<Ipv6> ipv6;    ///< in the kernel's order
};

/// The netmask of a prefix length; longer ones count as 32.
HsiIpv4Address netmaskOf(unsigned prefixLength);

/// All interfaces but loopback, in the kernel's index order, those without an address included.
/// Addresses of links that are not in `links` are left out.
std::vector<KernelInterface> kernelInterfaces(std::vector<LinkRecord> links,
                                              const std::vector<AddressRecord>& addresses);

/// The host's interfaces now. Fails: RouteError.
std::vector<KernelInterface> readKernelInterfaces();

}  // namespace LinuxHost
