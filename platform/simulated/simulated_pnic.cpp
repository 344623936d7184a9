#include "platform/simulated/simulated_pnic.h"

#include <stdexcept>
#include <utility>

#include "platform/nodemgr_exception.h"

namespace simulated {
namespace {

using namespace Nodemgr::Network;

/// Throws what `faults` demands of the accessor of that name, if anything.
void throwIfFaulty(const SimulatedPort& port, const char* accessor) {
  const auto fault = port.faults.find(accessor);
  if (fault != port.faults.end()) throwFault(fault->second);
}

class FilePciDevice : public PciDevice {
 public:
  explicit FilePciDevice(const SimulatedPort& port) : port_(port) {}

  std::uint16_t GetSegment() override { return pci(__func__).segment; }
  std::uint8_t GetBus() override { return pci(__func__).bus; }
  std::uint8_t GetSlot() override { return pci(__func__).slot; }
  std::uint8_t GetFunction() override { return pci(__func__).function; }
  std::uint16_t GetVendorId() override { return pci(__func__).vendorId; }
  std::uint16_t GetDeviceId() override { return pci(__func__).deviceId; }

 private:
  const PciLocation& pci(const char* accessor) const {
    throwIfFaulty(port_, accessor);
    return port_.pci.value();
  }

  const SimulatedPort& port_;
};

class FilePnic : public Pnic {
 public:
  explicit FilePnic(std::shared_ptr<const SimulatedPort> port)
      : port_(std::move(port)), pciDevice_(*port_) {}

  std::string GetName() override { return port(__func__).name; }
  PciDevice* GetPciDevice() override { return port(__func__).pci ? &pciDevice_ : nullptr; }
  Duplex GetDuplex() override { return port(__func__).duplex; }
  bool IsLinkUp() override { return port(__func__).linkUp; }
  bool IsEnabled() override { return port(__func__).enabled; }
  std::uint32_t GetLinkSpeed() override { return port(__func__).linkSpeed; }
  MacAddress GetMacAddress() override { return port(__func__).mac; }
  bool IsCapabilityEnabled() override { return port(__func__).capabilityEnabled; }
  bool IsCapabilitySupported() override { return port(__func__).capabilitySupported; }
  std::uint32_t GetMtu() override { return port(__func__).mtu; }
  void fill(AnyRecord record) override {
    std::visit([this](auto* wanted) { give(*wanted); }, record);
  }

 private:
  const SimulatedPort& port(const char* accessor) const {
    throwIfFaulty(*port_, accessor);
    return *port_;
  }
  template <typename Record>
  void give(Record& record) const {
    const auto& valueOrFault = port(kRecordCallOf<Record>.name).template record<Record>();
    if (const Fault* fault = std::get_if<Fault>(&valueOrFault)) throwFault(*fault);
    record = std::get<Record>(valueOrFault);
  }

  std::shared_ptr<const SimulatedPort> port_;
  FilePciDevice pciDevice_;
};

}  // namespace

void throwFault(Fault fault) {
  if (fault == Fault::kNodemgr) throw Nodemgr::Lib::NodemgrException("simulated fault");
  throw std::runtime_error("simulated fault");
}

std::unique_ptr<Pnic> makePnic(std::shared_ptr<const SimulatedPort> port) {
  return std::make_unique<FilePnic>(std::move(port));
}

}  // namespace simulated
