#pragma once

#include <istream>
#include <string>
#include <vector>

#include "client/server_url.h"

namespace orv::tool {

/// Reads servers from a file: one URL per line. Empty lines are skipped, and comments from a # at
/// the start of a line or after a space. `name` is the file's name in messages.
///
/// Fails: BadInput that names the line.
std::vector<client::ServerUrl> readHostList(std::istream& in, const std::string& name);

}  // namespace orv::tool
