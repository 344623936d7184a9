#include "platform/computer_system.h"

#include "platform/simulated/host_file.h"

namespace {

/// The host, or one with the default names when it cannot be read: these calls have no way to fail.
std::shared_ptr<const simulated::SimulatedHost> hostOrDefaults() {
  auto host = simulated::loadHost();
  return host != nullptr ? host : std::make_shared<const simulated::SimulatedHost>();
}

}  // namespace

namespace OMC {

std::string getComputerSystemClassName() { return hostOrDefaults()->systemClassName; }

std::string getComputerSystemName(const CmpiContext& /*context*/, CmpiBroker* /*broker*/) {
  return hostOrDefaults()->systemName;
}

}  // namespace OMC
