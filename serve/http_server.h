#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "serve/listen_address.h"

namespace orv::serve {

/// Limits that keep one client from harming another.
struct HttpLimits {
  std::size_t bodyBytes = 1024U * 1024;  ///< a request of a client has a few kilobytes
  std::size_t headerBytes = 32U * 1024;  ///< request line and headers of one request
  std::size_t connections = 128;
  std::chrono::milliseconds requestTime{30'000};  ///< from the first byte of a request to its last
  std::chrono::milliseconds idleTime{15'000};     ///< of a kept-alive connection between requests
  std::chrono::milliseconds writeTime{30'000};    ///< for a client to take a response
};

/// What a request message is answered with.
struct HttpAnswer {
  int status = 200;
  std::string body;
  std::string cimError;  ///< value of a CIMError header; empty: none
};

/// HTTP for CIM-XML on a loopback address: POST on any path, one thread a connection.
///
/// Answers by itself: 400 for what is no HTTP, 405 for other methods, 408 for a request that does
/// not arrive in time, 411 without a length, 413 and 431 for what is too large, 415 for a body that
/// is no XML, 501 for M-POST, 503 above the number of connections.
class HttpServer {
 public:
  /// Runs on the connection's thread; an exception becomes 500.
  using Handler = std::function<HttpAnswer(const std::string& body)>;

  HttpServer(HttpLimits limits, Handler handler);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// Binds and starts to listen; the port in use.
  ///
  /// Fails: std::runtime_error with a message, when the address is taken.
  int start(const ListenAddress& address);

  /// Takes no more connections, ends those that wait, lets requests under way finish. Idempotent.
  void stop();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::serve
