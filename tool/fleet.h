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
  std::string name;  ///< as it is shown
  /// A client for it, made in the thread that asks.
  std::function<std::unique_ptr<client::CimClient>()> connect;
};

/// Asks hosts at the same time, at most 32 of them, and prints each answer as it comes under the
/// host's name; with JSON an array of {"host": name, "answer": ...}. Of `health` one table, the
/// worst host first. What failed stands at the end on `err`, with the reason. Returns the exit
/// status.
int runFleet(const Options& options, const std::vector<FleetHost>& hosts, std::ostream& out,
             std::ostream& err);

}  // namespace orv::tool
