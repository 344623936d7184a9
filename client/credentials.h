#pragma once

#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "client/server_url.h"

namespace orv::client {

struct Login {
  std::string user;
  std::string password;
};

/// No password can be had. The text is for the user.
class CredentialError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The logins of a .netrc file: "machine NAME login USER password WORD", and "default" for every
/// other machine; words may stand in double quotes, lines that begin with # and macros are passed
/// over.
class Netrc {
 public:
  Netrc() = default;
  /// Fails: CredentialError with the line.
  explicit Netrc(std::string_view text);

  /// The first entry for the machine that has a password and, where a user is wanted, that user.
  /// Absent when there is none.
  std::optional<Login> find(const std::string& machine, const std::string& user) const;

 private:
  struct Entry {
    std::string machine;  // empty: default
    std::string user;
    std::string password;
  };
  std::vector<Entry> entries_;
};

/// The first line of a file. Fails: CredentialError.
std::string passwordFromFile(const std::string& path);

/// Asks at the terminal of this process, without showing what is typed.
///
/// Fails: CredentialError without a terminal or without an answer.
std::string passwordFromTerminal(const std::string& prompt);

/// Where the passwords of one run come from.
class Credentials {
 public:
  using Prompt = std::function<std::string(const std::string& prompt)>;

  struct Settings {
    std::string passwordFile;  ///< empty: none
    std::string netrcFile;     ///< one that is not there is as an empty one
    Prompt prompt = passwordFromTerminal;
  };

  /// Fails: CredentialError.
  explicit Credentials(Settings settings);

  /// The login for a server: for the URL's user the password of the password file, or else of the
  /// .netrc file, or else what is typed, once for a user; without a user in the URL what the .netrc
  /// file has for the host. Absent: the server is asked without one.
  ///
  /// Fails: CredentialError.
  std::optional<Login> of(const ServerUrl& url);

 private:
  Settings settings_;
  std::optional<std::string> filePassword_;
  Netrc netrc_;
  std::map<std::string, std::string> typed_;  // by user
};

/// "~/.netrc" of this user; empty without a home directory.
std::string defaultNetrcFile();

}  // namespace orv::client
