#include "platform/computer_system.h"

#include <unistd.h>

#include <array>

namespace OMC {

std::string getComputerSystemClassName() { return "OMC_UnitaryComputerSystem"; }

/// The host's own name for itself. No name service is asked, since that could take long.
std::string getComputerSystemName(const CmpiContext&, CmpiBroker*) {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return "localhost";
  return name.data();
}

}  // namespace OMC
