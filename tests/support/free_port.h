#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orv::test {

/// A port of 127.0.0.1 that nobody uses at the moment, for a program that is to be told which one
/// to take.
inline int freePort() {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  bind(descriptor, reinterpret_cast<const sockaddr*>(&address), size);
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
  close(descriptor);
  return ntohs(address.sin_port);
}

}  // namespace orv::test
