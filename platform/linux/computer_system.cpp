#include "platform/computer_system.h"

#include <unistd.h>

#include <array>

namespace OMC {

std::string getComputerSystemClassName() { return "OMC_UnitaryComputerSystem"; }

/// The host's own name for itself; no name service is asked, which could take its time.
std::string getComputerSystemName(const CmpiContext&, CmpiBroker*) {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return "localhost";
  return name.data();
}

}  // namespace OMC
