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

/// A server gave no CIM answer. The text is for the user: which server, and why.
class ConnectionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct TransportSettings {
  ServerUrl url;
  std::optional<Login> login;
  std::string authorities;  ///< PEM file, the authorities of servers; empty: the system's
  bool insecure = false;    ///< accept any certificate
  std::chrono::milliseconds timeout{60'000};  ///< for one request, from connecting to the last byte
  std::size_t answerBytes = 64U << 20;        ///< of an answer's body, at most
  /// Called from time to time in the thread of a request that waits: true cancels the request.
  /// Empty: it cannot be cancelled.
  std::function<bool()> cancelled;
};

/// Posts CIM-XML messages over one connection, which stays open between requests. Uses no proxy and
/// follows no redirection. Any thread may post; one request is under way at a time.
class HttpTransport {
 public:
  /// Fails: ConnectionError when there is not enough memory.
  explicit HttpTransport(TransportSettings settings);
  ~HttpTransport();
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  /// Returns the body of the answer. `method` and `nameSpace` are sent as headers.
  ///
  /// Fails: ConnectionError for every answer other than HTTP 200 with XML, and for none.
  std::string post(const std::string& method, const std::string& nameSpace,
                   const std::string& message);

  /// The address of this host on the last connection to the server; empty before the first.
  std::string localAddress() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::client
