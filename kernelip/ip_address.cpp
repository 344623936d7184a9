#include "kernelip/ip_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstring>
#include <stdexcept>

#include "framework/scoping_keys.h"
#include "kernelip/endpoint_classes.h"
#include "platform/computer_system.h"

namespace ORV {
namespace {

constexpr char kConversionFailed[] = "Address conversion failed";

/// Deliberate (contract.md#mask-size): the size of a whole socket address, counted from the 16
/// address bytes in it. So the twelve bytes after a mask's address must be zero too, or the prefix
/// length is 0: the mask's scope identifier, and eight bytes after the mask. getifaddrs gives each
/// socket address of an entry as much room as the largest that it lists (36 bytes, for link-layer
/// addresses of any length), so these eight bytes are the zeroed rest of the mask's own room.
constexpr int kMaskLength = sizeof(sockaddr_in6);
static_assert(kMaskLength == 28);

const in_addr* ipv4Of(const sockaddr* address) {
  return address == nullptr ? nullptr : &reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
}

const in6_addr* ipv6Of(const sockaddr* address) {
  return address == nullptr ? nullptr : &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
}

/// Writes the presentation form to `text`. False, with an empty text, when there is no address or
/// it cannot be converted.
template <std::size_t size>
bool convert(int family, const void* address, char (&text)[size]) {
  if (address != nullptr && inet_ntop(family, address, text, size) != nullptr) return true;
  text[0] = '\0';
  return false;
}

unsigned leadingOnes(unsigned char byte) {
  unsigned count = 0;
  while (count < 8 && (byte & (0x80U >> count)) != 0) ++count;
  return count;
}

bool onlyZerosAfter(unsigned char byte, unsigned bits) { return (byte & (0xFFU >> bits)) == 0; }

}  // namespace

IAddress::IAddress(const ifaddrs* entry)
    : family_(entry->ifa_addr == nullptr ? AF_UNSPEC : entry->ifa_addr->sa_family) {}

CmpiInstance IAddress::commonInterfaceObject(const CmpiContext& context, CmpiBroker* broker,
                                             const std::string& interfaceName,
                                             std::uint16_t protocolType) const {
  const std::string className = getCreationClassName();
  CmpiInstance instance(CmpiObjectPath(kNameSpace, className.c_str()));
  instance.setProperty("SystemCreationClassName", getSystemCreationClassName().c_str());
  instance.setProperty("SystemName", OMC::getComputerSystemName(context, broker).c_str());
  instance.setProperty("CreationClassName", className.c_str());
  instance.setProperty("Name", interfaceName.c_str());
  instance.setProperty("ElementName", interfaceName.c_str());
  instance.setProperty("NameFormat", kNameFormat);
  instance.setProperty("ProtocolIFType", protocolType);
  return instance;
}

IPv4Address::IPv4Address(const ifaddrs* entry) : IAddress(entry) {
  if (!convert(AF_INET, ipv4Of(entry->ifa_addr), address_)) {
    throw std::invalid_argument(kConversionFailed);
  }
  convert(AF_INET, ipv4Of(entry->ifa_netmask), subnetMask_);
}

CmpiInstance IPv4Address::buildInterfaceObject(const CmpiContext& context, CmpiBroker* broker,
                                               const std::string& interfaceName) const {
  CmpiInstance instance = commonInterfaceObject(context, broker, interfaceName, kProtocolIpv4);
  instance.setProperty("IPv4Address", address_);
  instance.setProperty("SubnetMask", subnetMask_);
  return instance;
}

bool IPv4Address::isEqual(const IAddress* other) const {
  const auto* ipv4 = dynamic_cast<const IPv4Address*>(other);
  if (ipv4 == nullptr) return false;
  return ipv4 == this || (std::strcmp(address_, ipv4->address_) == 0 &&
                          std::strcmp(subnetMask_, ipv4->subnetMask_) == 0);
}

std::string IPv4Address::getAddress() const { return address_; }

std::string IPv4Address::getCreationClassName() const { return kIpv4EndpointClass; }

IPv6Address::IPv6Address(const ifaddrs* entry) : IAddress(entry) {
  convert(AF_INET6, ipv6Of(entry->ifa_addr), address_);
  if (const in6_addr* mask = ipv6Of(entry->ifa_netmask)) {
    prefixLength_ = getPrefix(mask, kMaskLength);
  }
}

CmpiInstance IPv6Address::buildInterfaceObject(const CmpiContext& context, CmpiBroker* broker,
                                               const std::string& interfaceName) const {
  CmpiInstance instance = commonInterfaceObject(context, broker, interfaceName, kProtocolIpv6);
  // Deliberate (contract.md#ipv6ddress): consumers of the indications read this name.
  instance.setProperty("IPv6ddress", address_);
  instance.setProperty("PrefixLength", static_cast<CMPIUint8>(prefixLength_));
  return instance;
}

bool IPv6Address::isEqual(const IAddress* other) const {
  const auto* ipv6 = dynamic_cast<const IPv6Address*>(other);
  if (ipv6 == nullptr) return false;
  return ipv6 == this || std::strcmp(address_, ipv6->address_) == 0;
}

std::string IPv6Address::getAddress() const { return address_; }

std::string IPv6Address::getCreationClassName() const { return kIpv6EndpointClass; }

unsigned IPv6Address::getPrefix(const void* mask, int length) {
  const auto* bytes = static_cast<const unsigned char*>(mask);
  int position = 0;
  while (position < length && bytes[position] == 0xFF) ++position;
  const unsigned wholeBytes = static_cast<unsigned>(position) * 8;
  if (position >= length) return wholeBytes;

  const unsigned bits = leadingOnes(bytes[position]);
  if (!onlyZerosAfter(bytes[position], bits)) return 0;
  while (++position < length) {
    if (bytes[position] != 0) return 0;
  }
  return wholeBytes + bits;
}

}  // namespace ORV
