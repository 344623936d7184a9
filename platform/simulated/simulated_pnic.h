#pragma once

#include <memory>

#include "platform/pnic.h"
#include "platform/simulated/simulated_host.h"

namespace simulated {

/// Throws the exception that the fault stands for.
[[noreturn]] void throwFault(Fault fault);

/// A port of a simulated host, which it keeps alive.
std::unique_ptr<Nodemgr::Network::Pnic> makePnic(std::shared_ptr<const SimulatedPort> port);

}  // namespace simulated
