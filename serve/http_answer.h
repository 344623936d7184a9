#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "serve/body_stream.h"

/// What the HTTP server asks the rest of the service, and what it is answered.
namespace orv::serve {

/// Who asks.
struct Client {
  std::string address;
  std::string user;  ///< empty without authentication
};

/// What a request is answered with.
struct HttpAnswer {
  int status = 200;
  std::string body;
  std::string mediaType = "application/xml; charset=\"utf-8\"";
  std::vector<std::pair<std::string, std::string>> headers;  ///< besides Content-Type
  /// Instead of `body`; null: there is none. It has ended, or nobody else holds it any more, when
  /// the client has gone.
  std::shared_ptr<BodyStream> stream = nullptr;
};

/// A request that only reads: GET, or HEAD, of which the server sends the head alone.
struct GetRequest {
  Client client;
  std::string path;                                             ///< decoded; begins with '/'
  std::vector<std::pair<std::string, std::string>> parameters;  ///< of the query, decoded, in order

  /// The first parameter of that name. Null when there is none.
  const std::string* parameter(std::string_view name) const;
};

/// Who answers GET requests of a path.
struct GetRoute {
  /// "/metrics" is that path alone; "/api/names/", with '/' at its end, is everything below it.
  /// "/" is the root alone.
  std::string path;
  /// Runs in a worker, for any number of clients at once; std::bad_alloc and std::system_error
  /// become 503, other exceptions 500.
  std::function<HttpAnswer(const GetRequest&)> handler;
};

/// The route of a path: the same path, or else the longest one that the path is below. Null when
/// there is none.
const GetRoute* routeOf(const std::vector<GetRoute>& routes, std::string_view path);

/// An error of a GET request: {"status": 404, "text": "..."}. Without a text, what the status
/// means.
HttpAnswer errorAnswer(int status, const std::string& text = "");

}  // namespace orv::serve
