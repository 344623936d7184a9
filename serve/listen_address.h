#pragma once

#include <string>

namespace orv::serve {

/// Where the endpoint listens: an address of this host and a port (0: any free one).
struct ListenAddress {
  std::string host;
  int port = 0;
};

/// Reads "127.0.0.1:5988", "localhost:5988" or "[::1]:5988".
///
/// Fails: std::invalid_argument with a message for the person who typed it.
ListenAddress readListenAddress(const std::string& text);

/// A listening socket, closed with the object.
class ListenSocket {
 public:
  /// Binds and listens. "localhost" is what the host resolves it to.
  ///
  /// Fails: std::runtime_error when the address is in use or is not one of this host.
  explicit ListenSocket(const ListenAddress& address);

  /// Takes over a socket that is already listening, as systemd hands one over.
  ///
  /// Fails: std::runtime_error when it is not a listening socket; the descriptor is then not
  /// closed.
  explicit ListenSocket(int descriptor);

  ~ListenSocket();
  ListenSocket(ListenSocket&& other) noexcept;
  ListenSocket& operator=(ListenSocket&&) = delete;

  int descriptor() const { return descriptor_; }
  int port() const { return port_; }
  /// True when only this host can reach it.
  bool isLoopback() const { return loopback_; }
  /// The address as it stands in a URL: "127.0.0.1:5988" or "[::1]:5988".
  const std::string& authority() const { return authority_; }

 private:
  void readAddress();

  int descriptor_ = -1;
  int port_ = 0;
  bool loopback_ = false;
  std::string authority_;
};

}  // namespace orv::serve
