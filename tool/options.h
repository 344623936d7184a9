#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/printer.h"

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
  kServe,
};

/// What the command line asks for.
struct Options {
  Command command = Command::kList;
  std::string className;                  ///< names, instances
  std::string objectPath;                 ///< get and the association commands
  std::vector<std::string> classNames;    ///< watch
  std::string listen = "127.0.0.1:5988";  ///< serve
  std::vector<std::string> properties;    ///< empty: all
  std::optional<std::string> assocClass, resultClass, role, resultRole;
  PrintOptions print;
  std::string nameSpace = "root/cimv2";
  /// Empty: the one beside the executable. Of several, each serves the registrations whose location
  /// its name tells: lib<location>.so.
  std::vector<std::string> libraries;
  std::vector<std::string>
      schemas;           ///< directories, in order; empty: the one beside the executable
  bool verbose = false;  ///< let the start lines of provider libraries through
  std::string simulate;  ///< host file; empty: this host
};

/// Reads the command line. When there is nothing more to do (help, version, wrong usage), writes
/// what is to be said and returns no options but sets `exitStatus`.
std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus);

}  // namespace orv::tool
