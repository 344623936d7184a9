#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tool/printer.h"
#include "tool/session.h"

namespace orv::tool {

enum class Command {
  kList,
  kNames,
  kInstances,
  kGet,
  kAssociators,
  kAssociatorNames,
  kReferences,
  kReferenceNames,
  kWatch,
  kHealth,
  kMetrics,
  kCheck,
  kServe,
};

/// The servers that are asked instead of this host, and how.
struct RemoteOptions {
  std::vector<std::string> urls;
  std::string hostsFile;     ///< empty: none
  std::string passwordFile;  ///< empty: none
  std::string authorities;   ///< PEM file; empty: the system's
  bool insecure = false;
  int timeoutSeconds = 60;
  std::string interopNamespace = "root/interop";
};

/// What the command line asks for.
struct Options {
  Command command = Command::kList;
  std::string className;                          ///< names, instances
  std::string objectPath;                         ///< get and the association commands
  std::vector<std::string> classNames;            ///< watch
  std::string listen;                             ///< serve; empty: the daemon's default
  std::vector<std::string> daemonOptions;         ///< serve: other options for the daemon
  std::map<std::string, std::string> thresholds;  ///< check: the given ranges by option
  std::vector<std::string> ports;                 ///< check; empty: all
  std::string stateFile;                          ///< check; empty: none
  std::vector<std::string> properties;            ///< empty: all
  std::optional<std::string> assocClass, resultClass, role, resultRole;
  PrintOptions print;
  std::string nameSpace = "root/cimv2";
  bool verbose = false;  ///< let the start lines of provider libraries through
  SessionOptions session;
  RemoteOptions remote;
};

/// Reads the command line. If there is nothing more to do (help, version, wrong usage), prints the
/// text, sets `exitStatus` and returns no options.
std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus);

}  // namespace orv::tool
