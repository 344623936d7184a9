#pragma once

#include <string>

namespace orv::tool {

/// Where things are when the command line does not say: relative to the executable, in the build
/// tree or in an installation.
///
/// Fails: BadInput that names every place looked at.
std::string defaultLibrary(bool simulated);
std::string defaultSchema();
/// The daemon, orvcimd.
std::string defaultDaemon();

/// The second library, of the computer system and hardware, beside the first; empty where it is not
/// installed.
std::string defaultHostLibrary(bool simulated);

/// Directory of the page that the service shows to browsers; empty where it is not installed.
std::string defaultPage();

}  // namespace orv::tool
