#pragma once

#include <sys/socket.h>

#include <string>

namespace orv::serve {

/// "192.0.2.7" or "2001:db8::7". An IPv4 address mapped into IPv6 is written as IPv4. Empty for
/// other families.
std::string addressText(const sockaddr_storage& address);
std::string addressText(const sockaddr* address);

/// Whether only this host can use the address: 127.0.0.0/8 or ::1.
bool isLoopback(const sockaddr_storage& address);
/// The same for an address as text; false when it is not an address.
bool isLoopback(const std::string& address);

/// True when `address` is inside `network`: an address, or an address with a prefix length as in
/// "10.0.0.0/8". Addresses of another family are outside.
bool isInside(const std::string& address, const std::string& network);

/// Whether the text is an address, or an address with a prefix length that fits.
bool isNetwork(const std::string& text);

/// What failures are counted by: an IPv4 address, or the /64 network of an IPv6 address, because a
/// single host may use every address of it.
std::string addressForCounting(const std::string& address);

}  // namespace orv::serve
