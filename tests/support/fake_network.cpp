#include "tests/support/fake_network.h"

#include <stdexcept>

#include "platform/computer_system.h"

namespace orv::test {

namespace {

FakeNetwork* currentNetwork = nullptr;

class FakePnic : public Nodemgr::Network::Pnic {
 public:
  explicit FakePnic(const PortFacts& facts) : facts_(facts) {
    if (facts_.pci) pci_ = std::make_unique<Nodemgr::Network::LocatedPciDevice>(*facts_.pci);
    ++FakeNetwork::current().alivePorts;
  }
  ~FakePnic() override { --FakeNetwork::current().alivePorts; }

  std::string GetName() override { return answer("GetName", facts_.name); }
  Nodemgr::Network::PciDevice* GetPciDevice() override {
    return answer("GetPciDevice", pci_.get());
  }
  Nodemgr::Network::Duplex GetDuplex() override { return answer("GetDuplex", facts_.duplex); }
  bool IsLinkUp() override { return answer("IsLinkUp", facts_.linkUp); }
  bool IsEnabled() override { return answer("IsEnabled", facts_.enabled); }
  std::uint32_t GetLinkSpeed() override { return answer("GetLinkSpeed", facts_.linkSpeed); }
  Nodemgr::Network::MacAddress GetMacAddress() override {
    return answer("GetMacAddress", Nodemgr::Network::MacAddress(facts_.mac));
  }
  bool IsCapabilityEnabled() override {
    return answer("IsCapabilityEnabled", facts_.capabilityEnabled);
  }
  bool IsCapabilitySupported() override {
    return answer("IsCapabilitySupported", facts_.capabilitySupported);
  }
  std::uint32_t GetMtu() override { return answer("GetMtu", facts_.mtu); }
  void fill(Nodemgr::Network::AnyRecord record) override {
    std::visit([this](auto* wanted) { give(*wanted); }, record);
  }

 private:
  template <typename T>
  T answer(const char* accessor, T value) {
    FakeNetwork::current().calls.emplace_back(accessor);
    const auto fault = facts_.faults.find(accessor);
    if (fault != facts_.faults.end()) throwFault(fault->second);
    return value;
  }

  template <typename Record>
  void give(Record& record) {
    record = answer(Nodemgr::Network::kRecordCallOf<Record>.name, described(record));
  }
  const auto& described(const Nodemgr::Network::PnicLinkSettings&) const { return facts_.settings; }
  const auto& described(const Nodemgr::Network::PnicStatistics&) const { return facts_.statistics; }
  const auto& described(const Nodemgr::Network::PnicCoalesceParams&) const {
    return facts_.coalesce;
  }
  const auto& described(const Nodemgr::Network::PnicDriverInfo&) const { return facts_.driver; }
  /// What no test describes stays empty.
  template <typename Record>
  const Record& described(const Record& record) const {
    return record;
  }

  PortFacts facts_;
  std::unique_ptr<Nodemgr::Network::PciDevice> pci_;
};

void throwIf(const std::optional<HostFault>& fault) {
  if (fault) throwFault(*fault);
}

}  // namespace

void throwFault(HostFault fault) {
  if (fault == HostFault::kNodemgr) throw Nodemgr::Lib::NodemgrException("the host fails");
  throw std::runtime_error("a defect of the host library");
}

PortFacts portNamed(const std::string& name) {
  PortFacts facts;
  facts.name = name;
  return facts;
}

FakeNetwork::FakeNetwork() { currentNetwork = this; }
FakeNetwork::~FakeNetwork() { currentNetwork = nullptr; }

FakeNetwork& FakeNetwork::current() {
  if (currentNetwork == nullptr) throw std::logic_error("the test has no network");
  return *currentNetwork;
}

std::unique_ptr<Nodemgr::Network::Pnic> makePort(const PortFacts& facts) {
  return std::make_unique<FakePnic>(facts);
}

}  // namespace orv::test

namespace HykCtl::Network {

using orv::test::FakeNetwork;

struct NetworkInfoImpl::State {};

NetworkInfoImpl::NetworkInfoImpl() {
  FakeNetwork& network = FakeNetwork::current();
  ++network.networkInfos;
  orv::test::throwIf(network.constructorFault);
  ++network.aliveNetworkInfos;
}

NetworkInfoImpl::~NetworkInfoImpl() { --FakeNetwork::current().aliveNetworkInfos; }

HykCtl::Util::AutoVector<Nodemgr::Network::Pnic> NetworkInfoImpl::GetPnics() {
  FakeNetwork& network = FakeNetwork::current();
  ++network.lists;
  orv::test::throwIf(network.listFault);
  HykCtl::Util::AutoVector<Nodemgr::Network::Pnic> ports;
  for (const auto& facts : network.ports) ports.push_back(orv::test::makePort(facts));
  return ports;
}

std::unique_ptr<Nodemgr::Network::Pnic> NetworkInfoImpl::GetPnicByName(const std::string& name) {
  FakeNetwork& network = FakeNetwork::current();
  network.namesAsked.push_back(name);
  orv::test::throwIf(network.byNameFault);
  for (const auto& facts : network.ports) {
    if (facts.name == name) return orv::test::makePort(facts);
  }
  return nullptr;
}

}  // namespace HykCtl::Network

namespace OMC {

std::string getComputerSystemClassName() {
  return orv::test::FakeNetwork::current().systemClassName;
}

std::string getComputerSystemName(const CmpiContext&, CmpiBroker*) {
  ++orv::test::FakeNetwork::current().systemNames;
  return orv::test::FakeNetwork::current().systemName;
}

}  // namespace OMC
