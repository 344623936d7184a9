#include "platform/simulated/simulated_pnic.h"

#include <stdexcept>
#include <utility>

#include "platform/nodemgr_exception.h"

namespace simulated {
namespace {

using namespace Nodemgr::Network;

void throwIfFaulty(const SimulatedPort& port, Accessor accessor) {
  const std::optional<Fault>& fault = port.faults[static_cast<std::size_t>(accessor)];
  if (fault) throwFault(*fault);
}

/// The record, or what stands in its place.
template <typename Record>
const Record& recordOf(const OrFault<Record>& valueOrFault) {
  if (const Fault* fault = std::get_if<Fault>(&valueOrFault)) throwFault(*fault);
  return std::get<Record>(valueOrFault);
}

class FilePciDevice : public PciDevice {
 public:
  explicit FilePciDevice(const SimulatedPort& port) : port_(port) {}

  std::uint16_t GetSegment() override { return pci(Accessor::kGetSegment).segment; }
  std::uint8_t GetBus() override { return pci(Accessor::kGetBus).bus; }
  std::uint8_t GetSlot() override { return pci(Accessor::kGetSlot).slot; }
  std::uint8_t GetFunction() override { return pci(Accessor::kGetFunction).function; }
  std::uint16_t GetVendorId() override { return pci(Accessor::kGetVendorId).vendorId; }
  std::uint16_t GetDeviceId() override { return pci(Accessor::kGetDeviceId).deviceId; }

 private:
  const SimulatedPci& pci(Accessor accessor) const {
    throwIfFaulty(port_, accessor);
    return port_.pci.value();
  }

  const SimulatedPort& port_;
};

class FilePnic : public Pnic {
 public:
  explicit FilePnic(std::shared_ptr<const SimulatedPort> port)
      : port_(std::move(port)), pciDevice_(*port_) {}

  std::string GetName() override { return port(Accessor::kGetName).name; }
  PciDevice* GetPciDevice() override {
    return port(Accessor::kGetPciDevice).pci ? &pciDevice_ : nullptr;
  }
  Duplex GetDuplex() override { return port(Accessor::kGetDuplex).duplex; }
  bool IsLinkUp() override { return port(Accessor::kIsLinkUp).linkUp; }
  bool IsEnabled() override { return port(Accessor::kIsEnabled).enabled; }
  std::uint32_t GetLinkSpeed() override { return port(Accessor::kGetLinkSpeed).linkSpeed; }
  MacAddress GetMacAddress() override { return port(Accessor::kGetMacAddress).mac; }
  bool IsCapabilityEnabled() override {
    return port(Accessor::kIsCapabilityEnabled).capabilityEnabled;
  }
  bool IsCapabilitySupported() override {
    return port(Accessor::kIsCapabilitySupported).capabilitySupported;
  }
  std::uint32_t GetMtu() override { return port(Accessor::kGetMtu).mtu; }
  void GetLinkSettings(PnicLinkSettings& settings) override {
    settings = recordOf(port(Accessor::kGetLinkSettings).linkSettings);
  }
  void GetStatistics(PnicStatistics& statistics) override {
    statistics = recordOf(port(Accessor::kGetStatistics).statistics);
  }
  void GetCoalesceParams(PnicCoalesceParams& params) override {
    params = recordOf(port(Accessor::kGetCoalesceParams).coalesce);
  }
  void GetDriverInfo(PnicDriverInfo& info) override {
    info = recordOf(port(Accessor::kGetDriverInfo).driverInfo);
  }

 private:
  const SimulatedPort& port(Accessor accessor) const {
    throwIfFaulty(*port_, accessor);
    return *port_;
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
