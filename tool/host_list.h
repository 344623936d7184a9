#pragma once

#include <istream>
#include <string>
#include <vector>

#include "client/server_url.h"

namespace orv::tool {

/// Servers of a file: one URL per line; empty lines are passed over, and what follows a # at the
/// start of a line or after a space. `name` stands for the file in messages.
///
/// Fails: BadInput with the line.
std::vector<client::ServerUrl> readHostList(std::istream& in, const std::string& name);

}  // namespace orv::tool
