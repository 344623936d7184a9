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
  std::size_t bodyBytes = 1024U * 1024;       ///< a request of a client has a few kilobytes
  std::size_t bodyBytesInAll = 64U << 20;     ///< of all requests that are arriving or waiting
  std::size_t headerBytes = 32U * 1024;       ///< request line and headers of one request
  std::size_t answerBytesInAll = 256U << 20;  ///< of all answers that their clients are taking
  std::size_t connections = 512;
  std::size_t connectionsPerAddress = 128;
  std::size_t workers = 8;                        ///< requests that are worked on at a time
  std::chrono::milliseconds requestTime{30'000};  ///< from a request's first line to its last byte
  std::chrono::milliseconds idleTime{15'000};     ///< until the first line, TLS included
  std::chrono::milliseconds writeTime{30'000};    ///< for a client to take a response, and beyond
  std::size_t writeBytesPerSecond = 16U * 1024;   ///< that, at this rate
  /// How often a client that listens to a stream hears that the server is there.
  std::chrono::milliseconds beatTime{15'000};
  std::chrono::milliseconds stopTime{3'000};  ///< for requests under way, when the server stops
};

struct HttpSettings {
  HttpLimits limits;
  /// Names under which clients may ask, besides addresses and "localhost".
  std::vector<std::string> hostNames;
  /// Absent: plain HTTP. Must outlive the server.
  TlsCredentials* tls = nullptr;
  /// Absent: everybody may ask. Must outlive the server.
  Authenticator* authenticator = nullptr;
};

/// HTTP for CIM-XML, which is POST on any path, and for reading: GET and HEAD of the given routes.
/// One thread speaks with all clients; a few workers make the answers.
///
/// Answers by itself what serve/request_head.h says, and 401 to a client that is not known, 413 and
/// 431 for what is too large, 429 to an address that failed before, 503 when there are too many
/// connections or not enough memory. Each of these ends the connection. To a GET request the body
/// of such an answer is that of `errorAnswer`.
///
/// What GET requests are answered with is for this origin's own pages alone: a browser neither
/// guesses its type nor lets a page of another origin embed it.
class HttpServer {
 public:
  /// Answers a POST. Runs in a worker; std::bad_alloc and std::system_error become 503, other
  /// exceptions 500.
  using Handler = std::function<HttpAnswer(const Client& client, const std::string& body)>;

  HttpServer(HttpSettings settings, Handler handler, std::vector<GetRoute> routes = {});
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// Starts to serve.
  ///
  /// Fails: std::runtime_error with a message.
  void start(ListenSocket socket);

  /// Takes no more connections, lets requests under way finish for `stopTime`, ends all others.
  /// Idempotent.
  void stop();

  /// See WorkerPool::longestWait.
  std::chrono::milliseconds longestWait() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::serve
