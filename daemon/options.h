#pragma once

#include <CLI/CLI.hpp>
#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "tool/session.h"

namespace orv::daemon {

/// What the command line and the configuration file say; daemon/options.cpp describes each option.
struct Options {
  std::string listen = "127.0.0.1:5988";
  std::string certificate;
  std::string key;
  std::string clientAuthority;
  bool pam = false;
  std::vector<std::string> hostNames;
  std::vector<std::string> destinations = {"own", "loopback"};
  std::string listenerAuthorities;
  std::string state;  ///< directory; empty: subscriptions are lost when the process ends
  std::size_t connections = 512;
  std::size_t connectionsPerAddress = 128;
  std::string nameSpace = "root/cimv2";
  bool verbose = false;  ///< let the start lines of provider libraries through
  tool::SessionOptions session;
};

/// Reads command line and configuration file. If there is nothing more to do (help, version, wrong
/// usage), prints the text, sets `exitStatus` and returns no options.
///
/// Fails: tool::BadInput for options that contradict one another.
std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus);

/// Reads the text of a configuration file: keys and values in CLI11's format, one per line. `file`
/// is its name in messages.
///
/// Fails: CLI::ConfigError that names line and key, for a key that is not in `known`, is given
/// twice or has no value, and for a section.
std::vector<CLI::ConfigItem> readConfiguration(std::istream& in, const std::string& file,
                                               const std::vector<std::string>& known);

}  // namespace orv::daemon
