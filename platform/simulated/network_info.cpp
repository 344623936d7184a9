#include "platform/network_info.h"

#include "platform/simulated/host_file.h"
#include "platform/simulated/simulated_pnic.h"

namespace HykCtl::Network {

using Nodemgr::Network::Pnic;
using simulated::SimulatedHost;
using simulated::SimulatedPort;

/// The host as it was when the object was made; null when it could not be read.
struct NetworkInfoImpl::State {
  /// The ports. Throws the fault that the file demands, and NodemgrException when there is no host.
  const std::vector<SimulatedPort>& ports() const {
    if (host == nullptr) throw Nodemgr::Lib::NodemgrException("the simulated host is unreadable");
    if (const auto* fault = std::get_if<simulated::Fault>(&host->ports)) {
      simulated::throwFault(*fault);
    }
    return std::get<std::vector<SimulatedPort>>(host->ports);
  }

  /// The port shares ownership of the host, so that nothing is copied.
  std::unique_ptr<Pnic> pnic(const SimulatedPort& port) const {
    return simulated::makePnic(std::shared_ptr<const SimulatedPort>(host, &port));
  }

  std::shared_ptr<const SimulatedHost> host = simulated::loadHost();
};

// The file is read here, but the calls for ports report that it cannot be read, as the real host
// does: its constructor asks nothing.
NetworkInfoImpl::NetworkInfoImpl() : state_(std::make_unique<State>()) {}
NetworkInfoImpl::~NetworkInfoImpl() = default;

HykCtl::Util::AutoVector<Pnic> NetworkInfoImpl::GetPnics() {
  const auto& ports = state_->ports();
  HykCtl::Util::AutoVector<Pnic> pnics;
  pnics.reserve(ports.size());
  for (const SimulatedPort& port : ports) pnics.push_back(state_->pnic(port));
  return pnics;
}

std::unique_ptr<Pnic> NetworkInfoImpl::GetPnicByName(const std::string& name) {
  for (const SimulatedPort& port : state_->ports()) {
    if (port.name == name) return state_->pnic(port);
  }
  return nullptr;
}

}  // namespace HykCtl::Network
