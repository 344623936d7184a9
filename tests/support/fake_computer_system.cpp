#include "platform/computer_system.h"

/// The computer system of a test that links no platform.
namespace OMC {

std::string getComputerSystemClassName() { return "OMC_UnitaryComputerSystem"; }

std::string getComputerSystemName(const CmpiContext&, CmpiBroker*) { return "host-7"; }

}  // namespace OMC
