#include "framework/scoping_keys.h"

#include "platform/computer_system.h"

namespace ORV {

std::string getSystemCreationClassName() { return OMC::getComputerSystemClassName(); }

}  // namespace ORV
