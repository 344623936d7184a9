#pragma once

#include <string>

namespace orv::client {

/// Where a CIM server is, and the user for its requests.
struct ServerUrl {
  bool tls = true;
  std::string user;  ///< empty: none
  std::string host;  ///< name or address; an IPv6 address in brackets
  std::string port;
  std::string path = "/cimom";

  /// For messages: "https://host:5989", without the user, and without a path that is the usual one.
  std::string name() const;
  /// The URL that requests are posted to, without the user.
  std::string address() const;
  /// The host without brackets.
  std::string hostName() const;
};

/// Reads "https://user@host:5989", or the same with http. The port is 5989 for https and 5988 for
/// http unless given.
///
/// Fails: std::invalid_argument with a text for the user, also for a URL with a password, which
/// could be seen in the process list and in the shell's history. The text does not repeat it.
ServerUrl parseServerUrl(const std::string& text);

}  // namespace orv::client
