#include "platform/linux/kernel_interfaces.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/socket.h>

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "platform/linux/route_socket.h"

namespace LinuxHost {
namespace {

std::string ipv6Text(const AddressRecord& record) {
  char text[INET6_ADDRSTRLEN];
  const char* written = inet_ntop(AF_INET6, record.address.data(), text, sizeof text);
  return written != nullptr ? written : std::string();
}

void addAddress(KernelInterface& interface, const AddressRecord& record) {
  if (record.family == AF_INET6) {
    interface.ipv6.push_back({ipv6Text(record), record.prefixLength});
  } else if (!interface.ipv4) {
    KernelInterface::Ipv4 primary;
    std::copy_n(record.address.begin(), primary.address.size(), primary.address.begin());
    primary.netmask = netmaskOf(record.prefixLength);
    interface.ipv4 = primary;
  }
}

}  // namespace

HsiIpv4Address netmaskOf(unsigned prefixLength) {
  HsiIpv4Address mask{};
  for (unsigned bit = 0; bit < std::min(prefixLength, 32U); ++bit) {
    mask[bit / 8] = static_cast<unsigned char>(mask[bit / 8] | (0x80U >> (bit % 8)));
  }
  return mask;
}

std::vector<KernelInterface> kernelInterfaces(std::vector<LinkRecord> links,
                                              const std::vector<AddressRecord>& addresses) {
  const auto isLoopback = [](const LinkRecord& link) { return (link.flags & IFF_LOOPBACK) != 0; };
  links.erase(std::remove_if(links.begin(), links.end(), isLoopback), links.end());
  std::sort(links.begin(), links.end(),
            [](const LinkRecord& a, const LinkRecord& b) { return a.index < b.index; });
  std::vector<KernelInterface> interfaces(links.size());
  std::unordered_map<int, KernelInterface*> byIndex;
  for (std::size_t i = 0; i < links.size(); ++i) {
    interfaces[i].name = std::move(links[i].name);
    byIndex.emplace(links[i].index, &interfaces[i]);
  }
  for (const AddressRecord& address : addresses) {
    const auto interface = byIndex.find(address.linkIndex);
    if (interface != byIndex.end()) addAddress(*interface->second, address);
  }
  return interfaces;
}

std::vector<KernelInterface> readKernelInterfaces() {
  RouteSocket socket;
  const auto addresses = socket.dumpAddresses();
  return kernelInterfaces(socket.dumpLinks(), addresses);
}

}  // namespace LinuxHost
