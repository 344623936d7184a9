#pragma once

#include <string>

namespace orv::serve {

/// Where the endpoint listens: a loopback address and a port (0: any free one).
struct ListenAddress {
  std::string host;
  int port = 0;
};

/// Reads "127.0.0.1:5988", "localhost:5988" or "[::1]:5988".
///
/// Fails: std::invalid_argument with a message for the person who typed it, also for an address
/// that other hosts can reach.
ListenAddress readListenAddress(const std::string& text);

}  // namespace orv::serve
