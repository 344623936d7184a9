#include "serve/addresses.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

namespace orv::serve {
namespace {

/// An address in 16 bytes; IPv4 is mapped into IPv6, so that one comparison serves both.
struct Bytes {
  unsigned char value[16] = {};
  bool isV4 = false;
};

constexpr unsigned char kMapped[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

std::optional<Bytes> bytesOf(const std::string& text) {
  Bytes bytes;
  if (inet_pton(AF_INET, text.c_str(), bytes.value + sizeof kMapped) == 1) {
    std::memcpy(bytes.value, kMapped, sizeof kMapped);
    bytes.isV4 = true;
    return bytes;
  }
  if (inet_pton(AF_INET6, text.c_str(), bytes.value) != 1) return std::nullopt;
  bytes.isV4 = std::memcmp(bytes.value, kMapped, sizeof kMapped) == 0;
  return bytes;
}

struct Network {
  Bytes address;
  unsigned bits = 128;
};

std::optional<Network> networkOf(const std::string& text) {
  const std::size_t slash = text.find('/');
  const std::optional<Bytes> address = bytesOf(text.substr(0, slash));
  if (!address) return std::nullopt;
  Network network{*address, 128};
  if (slash == std::string::npos) return network;
  unsigned bits = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + slash + 1, end, bits);
  if (error != std::errc() || rest != end || bits > (address->isV4 ? 32U : 128U)) {
    return std::nullopt;
  }
  network.bits = address->isV4 ? bits + 96 : bits;
  return network;
}

}  // namespace

std::string addressText(const sockaddr* address) {
  char text[INET6_ADDRSTRLEN] = "";
  if (address->sa_family == AF_INET) {
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text, sizeof text);
  } else if (address->sa_family == AF_INET6) {
    const in6_addr& v6 = reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    if (IN6_IS_ADDR_V4MAPPED(&v6)) {
      inet_ntop(AF_INET, v6.s6_addr + sizeof kMapped, text, sizeof text);
    } else {
      inet_ntop(AF_INET6, &v6, text, sizeof text);
    }
  }
  return text;
}

std::string addressText(const sockaddr_storage& address) {
  return addressText(reinterpret_cast<const sockaddr*>(&address));
}

bool isLoopback(const std::string& address) {
  return isInside(address, "127.0.0.0/8") || isInside(address, "::1");
}

bool isLoopback(const sockaddr_storage& address) { return isLoopback(addressText(address)); }

bool isInside(const std::string& address, const std::string& network) {
  const std::optional<Bytes> bytes = bytesOf(address);
  const std::optional<Network> wanted = networkOf(network);
  if (!bytes || !wanted || bytes->isV4 != wanted->address.isV4) return false;
  const std::size_t whole = wanted->bits / 8;
  if (std::memcmp(bytes->value, wanted->address.value, whole) != 0) return false;
  const unsigned rest = wanted->bits % 8;
  if (rest == 0) return true;
  const unsigned mask = 0xFFU << (8 - rest) & 0xFFU;
  return ((bytes->value[whole] ^ wanted->address.value[whole]) & mask) == 0;
}

bool isNetwork(const std::string& text) { return networkOf(text).has_value(); }

std::string addressForCounting(const std::string& address) {
  std::optional<Bytes> bytes = bytesOf(address);
  if (!bytes || bytes->isV4) return address;
  std::memset(bytes->value + 8, 0, 8);
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(AF_INET6, bytes->value, text, sizeof text);
  return std::string(text) + "/64";
}

}  // namespace orv::serve
