#pragma once

#include <string>

namespace orv::tool {

/// Checks that a file describes a simulated host, so that a wrong one is reported once, before any
/// request.
///
/// Fails: BadInput that names the file and the place of the error.
void checkHostFile(const std::string& path);

}  // namespace orv::tool
