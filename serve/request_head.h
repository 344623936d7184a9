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

  /// The first header of that name, in any case. Null when there is none.
  const std::string* header(const char* name) const;
  /// GET or HEAD.
  bool reads() const { return method == "GET" || method == "HEAD"; }
};

struct HeadRules {
  std::size_t bodyBytes = 1024U * 1024;  ///< of the longest body
  /// Names that a Host header may have, besides addresses and "localhost".
  std::vector<std::string> hostNames;
};

/// 0 when the request is accepted, or the HTTP status with which it is refused:
///
///   400  a Content-Length that is not a number; a GET with a body; two headers of one name where
///        their value matters
///   403  an Origin that is not this server; a request that a browser makes on behalf of a page of
///        another site
///   405  a method other than GET, HEAD and POST
///   411  no Content-Length, or a Transfer-Encoding
///   413  a body larger than the rules allow
///   415  a body that is not XML, or is encoded
///   421  a Host that is not this one
///   501  M-POST
///
/// A link on a page of another site may lead here: that page cannot read what the user then sees.
int refusalOf(const RequestHead& head, const HeadRules& rules);

/// The body's length in bytes. 0 when it is not given or not a number.
std::size_t contentLength(const RequestHead& head);

/// Name and password of HTTP's Basic authentication.
struct BasicCredentials {
  std::string user;
  std::string password;
};

/// Reads the Authorization header. False when there is none that can be read, or its user is empty.
bool readCredentials(const RequestHead& head, BasicCredentials& credentials);

}  // namespace orv::serve
