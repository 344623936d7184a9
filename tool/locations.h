#pragma once

#include <string>

namespace orv::tool {

// Where files are when the command line does not say: relative to the executable, in the build tree
// or in an installation. The first three fail with BadInput that names every place looked at.

/// The provider library.
std::string defaultLibrary(bool simulated);
/// The schema directory.
std::string defaultSchema();
/// The daemon, orvcimd.
std::string defaultDaemon();

/// The second provider library, of the computer system and its hardware; empty where it is not
/// installed.
std::string defaultHostLibrary(bool simulated);

/// Directory of the page that the service shows to browsers; empty where it is not installed.
std::string defaultPage();

}  // namespace orv::tool
