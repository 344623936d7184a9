#include "serve/listen_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <charconv>
#include <stdexcept>

namespace orv::serve {
namespace {

constexpr int kMaximumPort = 65535;

bool isLoopback(const std::string& host) {
  in_addr v4{};
  in6_addr v6{};
  if (inet_pton(AF_INET, host.c_str(), &v4) == 1) return (ntohl(v4.s_addr) >> 24) == 127;
  if (inet_pton(AF_INET6, host.c_str(), &v6) == 1) return IN6_IS_ADDR_LOOPBACK(&v6) != 0;
  return host == "localhost";
}

int readPort(const std::string& text) {
  int port = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size() || port < 0 || port > kMaximumPort) {
    throw std::invalid_argument("\"" + text + "\" is not a port number (0 to 65535)");
  }
  return port;
}

}  // namespace

ListenAddress readListenAddress(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) {
    throw std::invalid_argument("\"" + text + "\" is not an address; write 127.0.0.1:5988");
  }
  ListenAddress address;
  address.host = text.substr(0, colon);
  if (address.host.size() > 2 && address.host.front() == '[' && address.host.back() == ']') {
    address.host = address.host.substr(1, address.host.size() - 2);
  }
  address.port = readPort(text.substr(colon + 1));
  if (!isLoopback(address.host)) {
    throw std::invalid_argument(address.host +
                                " is not a loopback address: this endpoint serves this machine "
                                "only; for remote access load the library into sfcb");
  }
  return address;
}

}  // namespace orv::serve
