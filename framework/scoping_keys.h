#pragma once

#include <string>

namespace ORV {

/// Value of the SystemCreationClassName key of everything that this library publishes: the class
/// name of the host's computer system, as OMC::getComputerSystemClassName gives it.
std::string getSystemCreationClassName();

}  // namespace ORV
