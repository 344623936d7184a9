#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "client/credentials.h"
#include "client/server_url.h"

namespace orv::client {

/// A server gave no CIM answer. The text names the server and says why, for the user.
class ConnectionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct TransportSettings {
  ServerUrl url;
  std::optional<Login> login;
  std::string authorities;  ///< PEM file of who may vouch for servers; empty: the system's
  bool insecure = false;    ///< take any certificate
  std::chrono::milliseconds timeout{60'000};  ///< of one request, from connection to last byte
  std::size_t answerBytes = 64U << 20;
  /// Asked while a request waits, by its thread: true ends it. Empty: never.
  std::function<bool()> cancelled;
};

/// Posts CIM-XML messages over one connection, which is kept between requests. Uses no proxy and
/// follows no redirection. Any thread may post; one request is under way at a time.
class HttpTransport {
 public:
  /// Fails: ConnectionError when the library cannot be had.
  explicit HttpTransport(TransportSettings settings);
  ~HttpTransport();
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  /// The body of the answer. `method` and `nameSpace` are told in headers.
  ///
  /// Fails: ConnectionError for everything but HTTP 200 with XML.
  std::string post(const std::string& method, const std::string& nameSpace,
                   const std::string& message);

  /// The address of this host from which the server was reached last; empty before.
  std::string localAddress() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::client
