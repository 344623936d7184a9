#pragma once

#include <string>

/// Replaces getifaddrs and freeifaddrs: the machine has one interface "eth0" with one IPv4 address.
namespace orv::test {

void setInterfaceAddress(const std::string& dotted);

}  // namespace orv::test
