#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/network_info.h"

/// The host network library and the computer system, played by the test: link fake_network.cpp
/// instead of a platform.
namespace orv::test {

/// What a host call throws instead of answering.
enum class HostFault { kNodemgr, kOther };

void throwFault(HostFault fault);

/// One port as the host knows it.
struct PortFacts {
  std::string name;
  Nodemgr::Network::Duplex duplex{};
  bool linkUp = false;
  bool enabled = false;
  std::uint32_t linkSpeed = 0;
  Nodemgr::Network::MacAddress::Bytes mac{};
  bool capabilitySupported = false;
  bool capabilityEnabled = false;
  std::uint32_t mtu = 0;
  std::optional<Nodemgr::Network::PciLocation> pci;
  Nodemgr::Network::PnicLinkSettings settings;
  Nodemgr::Network::PnicStatistics statistics;
  Nodemgr::Network::PnicCoalesceParams coalesce;
  Nodemgr::Network::PnicDriverInfo driver;
  std::map<std::string, HostFault> faults;  ///< accessor name to what it throws
};

PortFacts portNamed(const std::string& name);

/// The host of a test; the one constructed last is asked. It counts what is asked of it.
struct FakeNetwork {
  FakeNetwork();
  ~FakeNetwork();
  FakeNetwork(const FakeNetwork&) = delete;
  FakeNetwork& operator=(const FakeNetwork&) = delete;

  static FakeNetwork& current();

  std::vector<PortFacts> ports;
  std::optional<HostFault> constructorFault;
  std::optional<HostFault> listFault;
  std::optional<HostFault> byNameFault;
  std::string systemName = "host-7";
  std::string systemClassName = "OMC_UnitaryComputerSystem";

  int networkInfos = 0;  ///< constructed so far
  int lists = 0;         ///< calls of GetPnics
  int systemNames = 0;   ///< calls of getComputerSystemName
  int aliveNetworkInfos = 0;
  int alivePorts = 0;
  std::vector<std::string> namesAsked;  ///< arguments of GetPnicByName
  std::vector<std::string> calls;       ///< accessors of all ports, in order
};

/// A port outside any list.
std::unique_ptr<Nodemgr::Network::Pnic> makePort(const PortFacts& facts);

}  // namespace orv::test
