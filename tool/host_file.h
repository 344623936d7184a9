#pragma once

#include <string>

namespace orv::tool {

/// Looks whether a file describes a simulated host, so that a wrong one is reported once and before
/// any request.
///
/// Fails: BadInput with the file and the place of what is wrong.
void checkHostFile(const std::string& path);

}  // namespace orv::tool
