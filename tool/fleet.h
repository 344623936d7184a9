#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "client/cim_client.h"
#include "tool/options.h"

namespace orv::tool {

/// One of many hosts.
struct FleetHost {
  std::string name;  ///< for output
  /// Makes a client for the host; called in the thread that uses the client.
  std::function<std::unique_ptr<client::CimClient>()> connect;
};

/// Runs the command on all hosts, up to 32 at a time, and prints each answer as it comes under the
/// host's name; as JSON, an array of {"host": name, "answer": ...}. `health` prints one table, the
/// worst host first. Failures are listed at the end on `err`, with their reasons. Returns the exit
/// status.
int runFleet(const Options& options, const std::vector<FleetHost>& hosts, std::ostream& out,
             std::ostream& err);

}  // namespace orv::tool
