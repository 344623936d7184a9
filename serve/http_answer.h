#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "serve/body_stream.h"

/// What the HTTP server passes on to the rest of the service, and what it gets back.
namespace orv::serve {

/// The client that sent a request.
struct Client {
  std::string address;  ///< as addressText writes it
  std::string user;     ///< empty without authentication
};

/// The answer to a request.
struct HttpAnswer {
  int status = 200;
  std::string body;
  std::string mediaType = "application/xml; charset=\"utf-8\"";
  std::vector<std::pair<std::string, std::string>> headers;  ///< besides Content-Type
  /// Sent instead of `body` unless null. When the client has gone, the server ends it and releases
  /// it.
  std::shared_ptr<BodyStream> stream = nullptr;
};

/// A request that only reads: GET, or HEAD, to which the server sends the head of the answer alone.
struct GetRequest {
  Client client;
  std::string path;                                             ///< decoded; begins with '/'
  std::vector<std::pair<std::string, std::string>> parameters;  ///< of the URL, decoded, in order

  /// The first parameter of that name. Null when there is none.
  const std::string* parameter(std::string_view name) const;
};

/// What answers GET requests for a path.
struct GetRoute {
  /// "/metrics" is that path alone; "/api/names/", ending in '/', is every path below it. "/" is
  /// the root alone.
  std::string path;
  /// Runs in a worker, for several clients at once; std::bad_alloc and std::system_error become
  /// 503, other exceptions 500.
  std::function<HttpAnswer(const GetRequest&)> handler;
};

/// The route for a path: the one with the same path, or else the longest one that ends in '/' and
/// that the path is below. Null when there is none.
const GetRoute* routeOf(const std::vector<GetRoute>& routes, std::string_view path);

/// The answer to a GET request that fails: {"status": 404, "text": "..."}. Without a text, it says
/// what the status means.
HttpAnswer errorAnswer(int status, const std::string& text = "");

}  // namespace orv::serve
