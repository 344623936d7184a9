#pragma once

#include <CLI/CLI.hpp>
#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "tool/session.h"

namespace orv::daemon {

/// What the command line and the configuration file ask for.
struct Options {
  std::string listen = "127.0.0.1:5988";
  std::string certificate;
  std::string key;
  std::string clientAuthority;
  bool pam = false;
  std::vector<std::string> hostNames;
  std::vector<std::string> destinations = {"own", "loopback"};
  std::string listenerAuthorities;
  std::string state;  ///< directory; empty: subscriptions live as long as the process
  std::size_t connections = 512;
  std::size_t connectionsPerAddress = 128;
  std::string nameSpace = "root/cimv2";
  tool::SessionOptions session;
};

/// Reads command line and configuration file. When there is nothing more to do (help, version,
/// wrong usage), writes what is to be said and returns no options but sets `exitStatus`.
std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus);

/// Reads a configuration file's text: keys and values as CLI11 knows them, one per line.
///
/// Fails: CLI::ConfigError that names line and key, for a key that is not in `known`, for one that
/// is given twice, and for a section.
std::vector<CLI::ConfigItem> readConfiguration(std::istream& in, const std::string& file,
                                               const std::vector<std::string>& known);

}  // namespace orv::daemon
