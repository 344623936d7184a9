#pragma once

#include <string>

namespace orv::client {

/// Where a CIM server is, and as whom it is asked.
struct ServerUrl {
  bool tls = true;
  std::string user;  ///< empty: none is given
  std::string host;  ///< name or address; an IPv6 address in brackets
  std::string port;
  std::string path = "/cimom";

  /// "https://host:5989": without the user, and without the path that servers have by custom.
  std::string name() const;
  /// What is posted to.
  std::string address() const;
  /// The host without brackets.
  std::string hostName() const;
};

/// Reads "https://user@host:5989"; http too. Without a port it is 5989 for https and 5988 for http.
///
/// Fails: std::invalid_argument with a text for the user, also for a password in the URL: it would
/// be seen in the process list and in the shell's history. The text does not repeat it.
ServerUrl parseServerUrl(const std::string& text);

}  // namespace orv::client
