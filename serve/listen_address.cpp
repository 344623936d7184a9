#include "serve/listen_address.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

#include "serve/addresses.h"

namespace orv::serve {
namespace {

constexpr int kMaximumPort = 65535;

int readPort(const std::string& text) {
  int port = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size() || port < 0 || port > kMaximumPort) {
    throw std::invalid_argument("\"" + text + "\" is not a port number (0 to 65535)");
  }
  return port;
}

[[noreturn]] void cannotListen(const ListenAddress& address, const char* why) {
  throw std::runtime_error("cannot listen on " + address.host + " port " +
                           std::to_string(address.port) + ": " + why);
}

struct Resolved {
  sockaddr_storage storage{};
  socklen_t size = 0;
};

Resolved resolve(const ListenAddress& address) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | (address.host == "localhost" ? 0 : AI_NUMERICHOST);
  addrinfo* found = nullptr;
  const int error =
      getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints, &found);
  if (error != 0) cannotListen(address, gai_strerror(error));
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, freeaddrinfo);
  Resolved resolved;
  std::memcpy(&resolved.storage, found->ai_addr, found->ai_addrlen);
  resolved.size = found->ai_addrlen;
  if (address.host == "localhost" && !isLoopback(resolved.storage)) {
    cannotListen(address, "localhost is not a loopback address on this host");
  }
  return resolved;
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
  in6_addr binary{};
  if (address.host != "localhost" && inet_pton(AF_INET, address.host.c_str(), &binary) != 1 &&
      inet_pton(AF_INET6, address.host.c_str(), &binary) != 1) {
    throw std::invalid_argument("\"" + address.host +
                                "\" is not an address of this host; write 127.0.0.1:5988, "
                                "[::]:5989 or localhost:5988");
  }
  return address;
}

ListenSocket::ListenSocket(const ListenAddress& address) {
  const Resolved resolved = resolve(address);
  descriptor_ = ::socket(resolved.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor_ < 0) cannotListen(address, std::strerror(errno));
  const int yes = 1;
  const int no = 0;
  ::setsockopt(descriptor_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  // "[::]" serves both families, whatever the host's default is.
  if (resolved.storage.ss_family == AF_INET6) {
    ::setsockopt(descriptor_, IPPROTO_IPV6, IPV6_V6ONLY, &no, sizeof no);
  }
  if (::bind(descriptor_, reinterpret_cast<const sockaddr*>(&resolved.storage), resolved.size) !=
          0 ||
      ::listen(descriptor_, SOMAXCONN) != 0) {
    const int error = errno;
    ::close(descriptor_);
    cannotListen(address, std::strerror(error));
  }
  readAddress();
}

ListenSocket::ListenSocket(int descriptor) : descriptor_(descriptor) {
  int listening = 0;
  socklen_t size = sizeof listening;
  if (::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) != 0 ||
      listening == 0) {
    throw std::runtime_error("the descriptor that systemd passed is not a listening socket");
  }
  readAddress();
}

ListenSocket::~ListenSocket() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

ListenSocket::ListenSocket(ListenSocket&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      port_(other.port_),
      loopback_(other.loopback_),
      authority_(std::move(other.authority_)) {}

void ListenSocket::readAddress() {
  sockaddr_storage bound{};
  socklen_t size = sizeof bound;
  ::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&bound), &size);
  loopback_ = serve::isLoopback(bound);
  const std::string host = addressText(bound);
  port_ = bound.ss_family == AF_INET6
              ? ntohs(reinterpret_cast<const sockaddr_in6&>(bound).sin6_port)
              : ntohs(reinterpret_cast<const sockaddr_in&>(bound).sin_port);
  authority_ =
      (host.find(':') == std::string::npos ? host : "[" + host + "]") + ":" + std::to_string(port_);
}

}  // namespace orv::serve
