#pragma once

#include <string>

namespace orv::tool {

/// Looks whether a file that describes a simulated host can be read and is JSON, so that a wrong
/// one is told once and before any request.
///
/// Fails: BadInput with the file, and line and column of what is wrong.
void checkHostFile(const std::string& path);

}  // namespace orv::tool
