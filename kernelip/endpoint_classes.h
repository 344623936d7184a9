#pragma once

#include <cstdint>

/// Names and values that the endpoint provider and the address model share.
namespace ORV {

constexpr char kIpv4EndpointClass[] = "Orvane_KernelIPv4ProtocolEndpoint";
constexpr char kIpv6EndpointClass[] = "Orvane_KernelIPv6ProtocolEndpoint";

/// Value of NameFormat.
constexpr char kNameFormat[] = "Hykernel Interface Name";

/// Values of ProtocolIFType. kProtocolBoth only describes what a request returns: no endpoint has
/// it.
constexpr std::uint16_t kProtocolIpv4 = 4096;
constexpr std::uint16_t kProtocolIpv6 = 4097;
constexpr std::uint16_t kProtocolBoth = 4098;

}  // namespace ORV
