#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "serve/authenticator.h"
#include "serve/http_answer.h"
#include "serve/listen_address.h"
#include "serve/tls_credentials.h"

namespace orv::serve {

/// Limits that keep one client from harming another.
struct HttpLimits {
  std::size_t bodyBytes = 1024U * 1024;    ///< of one request; ordinary ones have a few kilobytes
  std::size_t bodyBytesInAll = 64U << 20;  ///< of all requests that are arriving or waiting
  std::size_t headerBytes = 32U * 1024;    ///< request line and headers of one request
  std::size_t answerBytesInAll = 256U << 20;  ///< of all answers that their clients are taking
  std::size_t connections = 512;
  std::size_t connectionsPerAddress = 128;
  std::size_t workers = 8;                        ///< requests that are answered at a time
  std::chrono::milliseconds requestTime{30'000};  ///< from a request's first line to its last byte
  std::chrono::milliseconds idleTime{15'000};     ///< until the first line, TLS handshake included
  /// For a client to take a response, and one second more for each `writeBytesPerSecond` of it.
  std::chrono::milliseconds writeTime{30'000};
  std::size_t writeBytesPerSecond = 16U * 1024;
  /// How often a client that listens to a stream is sent a beat when there is nothing else.
  std::chrono::milliseconds beatTime{15'000};
  std::chrono::milliseconds stopTime{3'000};  ///< for requests under way, when the server stops
};

struct HttpSettings {
  HttpLimits limits;
  /// Names that a Host header may have, besides addresses and "localhost".
  std::vector<std::string> hostNames;
  /// Null: plain HTTP. Must outlive the server.
  TlsCredentials* tls = nullptr;
  /// Null: passwords are not asked for. Must outlive the server.
  Authenticator* authenticator = nullptr;
};

/// HTTP for CIM-XML, which is POST on any path, and for reading: GET and HEAD on the given routes.
/// One thread talks to all clients; a few workers make the answers.
///
/// Refuses requests by itself as serve/request_head.h says; also with 401 a client that does not
/// prove who it is, or 403 when only client certificates count; with 413 and 431 what is too large;
/// with 429 an address whose passwords were wrong, or when too many passwords are being checked;
/// with 503 when there are too many connections or not enough memory. Each of these ends the
/// connection. A GET request that is refused gets the body of `errorAnswer`.
///
/// Answers to GET requests are for pages of this origin alone: a browser neither guesses their type
/// nor lets a page of another origin embed them.
class HttpServer {
 public:
  /// Answers a POST. Runs in a worker; std::bad_alloc and std::system_error become 503, other
  /// exceptions 500.
  using Handler = std::function<HttpAnswer(const Client& client, const std::string& body)>;

  HttpServer(HttpSettings settings, Handler handler, std::vector<GetRoute> routes = {});
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// Starts to serve and returns. Called once.
  ///
  /// Fails: std::runtime_error.
  void start(ListenSocket socket);

  /// Accepts no more connections, gives requests under way `stopTime` to finish, and ends the rest.
  /// Waits for answers that are being made. Idempotent.
  void stop();

  /// See WorkerPool::longestWait.
  std::chrono::milliseconds longestWait() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::serve
