#pragma once

#include <sys/socket.h>

#include <string>

namespace orv::serve {

/// "192.0.2.7" or "2001:db8::7"; an IPv4 address that came over IPv6 in its own form. Empty for
/// other families.
std::string addressText(const sockaddr_storage& address);
std::string addressText(const sockaddr* address);

bool isLoopback(const sockaddr_storage& address);
/// The same of a text; false when it is not an address.
bool isLoopback(const std::string& address);

/// True when `address` is inside `network`: an address, or an address with a prefix length as in
/// "10.0.0.0/8". Addresses of another family are outside.
bool isInside(const std::string& address, const std::string& network);

/// Whether the text is an address, or an address with a prefix length that fits.
bool isNetwork(const std::string& text);

/// What failures are counted by: the address, for IPv6 its network of 64 bits, since one host has
/// all of it.
std::string addressForCounting(const std::string& address);

}  // namespace orv::serve
