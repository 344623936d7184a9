#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

namespace orv::serve {

/// A connection over which a test sends what it likes.
class RawClient {
 public:
  /// `from` is an address of this machine.
  explicit RawClient(int port, const char* from = "127.0.0.1")
      : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    ::inet_pton(AF_INET, from, &address.sin_addr);
    ::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ =
        ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  ~RawClient() { ::close(socket_); }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  bool connected() const { return connected_; }

  bool send(const std::string& text) const {
    return ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(text.size());
  }

  /// Receives until the text has come. False when it does not, or nothing comes for a minute; what
  /// came is left in `received`.
  bool receiveUntil(const std::string& text, std::string* received = nullptr) const {
    std::string own;
    std::string& all = received == nullptr ? own : *received;
    char bytes[4096];
    while (all.find(text) == std::string::npos) {
      pollfd wanted{socket_, POLLIN, 0};
      if (::poll(&wanted, 1, 60'000) <= 0) return false;
      const ssize_t got = ::recv(socket_, bytes, sizeof bytes, 0);
      if (got <= 0) return false;
      all.append(bytes, static_cast<std::size_t>(got));
    }
    return true;
  }

  /// Everything until the server closes, or until nothing comes for ten seconds.
  std::string receiveAll() const {
    std::string all;
    char bytes[4096];
    for (;;) {
      pollfd wanted{socket_, POLLIN, 0};
      if (::poll(&wanted, 1, 10'000) <= 0) return all + "<no end>";
      const ssize_t got = ::recv(socket_, bytes, sizeof bytes, 0);
      if (got <= 0) return all;
      all.append(bytes, static_cast<std::size_t>(got));
    }
  }

 private:
  int socket_;
  bool connected_ = false;
};

}  // namespace orv::serve
