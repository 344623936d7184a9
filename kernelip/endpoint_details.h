#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <vector>

/// One address of one kernel interface. Fields of the other family are zero.
struct endpointDetails {
  char name[152];              ///< interface, at most 150 characters
  in_addr ipv4Address;         ///< network order
  in_addr subnetMask;          ///< network order
  char ipv6Address[52];        ///< text, at most 48 characters
  std::uint32_t prefixLength;  ///< bits, of the IPv6 address
  std::uint32_t protocolType;  ///< ORV::kProtocolIpv4 or ORV::kProtocolIpv6
};

namespace ORV {

/// How many characters of an interface name a record keeps and a comparison of names looks at.
constexpr std::size_t kEndpointNameLength = 150;

/// Appends one record for each address, interface by interface in the host's order: first the IPv4
/// address of the interface, if it has one, then its IPv6 addresses.
///
/// Source: the kernel information interface, asked anew. Returns 0, or 1 when the host cannot be
/// read; `out` may then hold records of the interfaces read so far. An interface without an IPv4
/// address, or whose IPv6 addresses cannot be listed, is not a failure.
int collectEndpointDetails(std::vector<endpointDetails>& out);

/// Whether the record belongs to the interface `name`, as far as a record can tell.
bool hasName(const endpointDetails& record, const char* name);

}  // namespace ORV
