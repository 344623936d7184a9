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

/// No password could be obtained. The text is for the user.
class CredentialError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The logins of a .netrc file: "machine NAME login USER password WORD", and "default" for every
/// other machine. Words may be enclosed in double quotes. Skipped are macros and comments: from a #
/// to the end of its line, where a keyword may stand. A password may start with #.
class Netrc {
 public:
  Netrc() = default;
  /// Fails: CredentialError with the line.
  explicit Netrc(std::string_view text);

  /// The first entry for the machine that has a password and, unless `user` is empty, names that
  /// user or none. Absent when there is none.
  std::optional<Login> find(const std::string& machine, const std::string& user) const;

 private:
  struct Entry {
    std::string machine;  // empty: default
    std::string user;
    std::string password;
  };
  std::vector<Entry> entries_;
};

/// The first line of a file. Fails: CredentialError, also when that line is empty.
std::string passwordFromFile(const std::string& path);

/// Asks at the terminal of this process without showing what is typed.
///
/// Fails: CredentialError when there is no terminal or no answer.
std::string passwordFromTerminal(const std::string& prompt);

/// Finds the passwords for the servers of one run.
class Credentials {
 public:
  using Prompt = std::function<std::string(const std::string& prompt)>;

  struct Settings {
    std::string passwordFile;  ///< empty: none
    std::string netrcFile;     ///< empty: none; one that cannot be opened counts as empty
    Prompt prompt = passwordFromTerminal;
  };

  /// Reads both files. Fails: CredentialError.
  explicit Credentials(Settings settings);

  /// The login for a server. For a user in the URL: the password of the password file, else that of
  /// the .netrc file, else the one typed at the prompt, which is asked for once per user. Without a
  /// user in the URL: what the .netrc file has for the host. Absent: requests go without a login.
  ///
  /// Fails: CredentialError, also for a password file when the URL has no user.
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
