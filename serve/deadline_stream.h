#pragma once

#include <httplib.h>

#include <chrono>
#include <cstddef>
#include <string>

#include "serve/http_server.h"

namespace orv::serve {

/// A connection's bytes under the limits on time and header size, which the HTTP library has for
/// single reads only: a client that sends a byte now and then would hold a thread for ever.
class DeadlineStream : public httplib::Stream {
 public:
  DeadlineStream(int socket, const HttpLimits& limits) : socket_(socket), limits_(limits) {}

  /// Waits for the first byte of the next request; false when the client leaves or stays idle.
  bool waitForRequest();

  /// Starts the clock and the byte count of one request.
  void beginRequest();

  /// The first bytes that wait to be read, without taking them.
  std::string peek(std::size_t count) const;

  bool timedOut() const { return timedOut_; }
  bool headersTooLarge() const { return headersTooLarge_; }

  bool is_readable() const override;
  bool is_writable() const override;
  ssize_t read(char* data, std::size_t size) override;
  ssize_t write(const char* data, std::size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  socket_t socket() const override { return socket_; }

 private:
  using Clock = std::chrono::steady_clock;
  bool poll(short events, Clock::time_point deadline) const;
  void countHeaderByte(char byte);

  const int socket_;
  const HttpLimits& limits_;
  Clock::time_point requestDeadline_;
  std::string buffer_;  // bytes received and not yet read
  std::size_t bufferAt_ = 0;
  std::size_t headerBytes_ = 0;
  int newlines_ = 0;  // in a row; two end the headers
  bool inHeaders_ = true;
  bool timedOut_ = false;
  bool headersTooLarge_ = false;
};

}  // namespace orv::serve
