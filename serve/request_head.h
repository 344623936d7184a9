#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// What is decided by a request's head alone, before a byte of its body is read.
namespace orv::serve {

struct RequestHead {
  std::string method;
  std::vector<std::pair<std::string, std::string>> headers;  ///< as sent, in order

  /// The first header of that name, without regard to case. Null when there is none.
  const std::string* header(const char* name) const;
  /// GET or HEAD.
  bool reads() const { return method == "GET" || method == "HEAD"; }
};

struct HeadRules {
  std::size_t bodyBytes = 1024U * 1024;
  /// What a Host header may name besides addresses and "localhost": names of this host.
  std::vector<std::string> hostNames;
};

/// 0 when the request may go on; or the HTTP status with which it is refused:
///
/// 400 a Content-Length that is not a number, a GET with a body, or a header that counts given
/// twice; 403 an Origin that is not this server, or a request that a browser makes for a page of
/// another site; 405 another method than GET, HEAD and POST; 411 no length; 413 a larger body; 415
/// not XML, or encoded; 421 a Host that is not this one; 501 M-POST.
///
/// A link on another site's page may lead to ours: what the user then sees, that page cannot read.
int refusalOf(const RequestHead& head, const HeadRules& rules);

/// The body's length. 0 when it is not given or not a number.
std::size_t contentLength(const RequestHead& head);

/// Name and password of HTTP's Basic authentication.
struct BasicCredentials {
  std::string user;
  std::string password;
};

/// False when the head has none that can be read.
bool readCredentials(const RequestHead& head, BasicCredentials& credentials);

}  // namespace orv::serve
