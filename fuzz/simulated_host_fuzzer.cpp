// Host files: whatever the text says, it is a host or an error with a place, and a host answers
// every question without leaving its own records.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/simulated/host_parser.h"
#include "platform/simulated/hsi_nodes.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

/// Lists a node, and reads `values` of each of its instances.
void readInstances(const simulated::SimulatedHost& host, std::uint32_t list,
                   std::initializer_list<std::pair<std::uint32_t, std::size_t>> values) {
  HSI_ParamList* instances = nullptr;
  if (simulated::listNode(host, list, nullptr, &instances) != 0) return;
  for (const HSI_Param& instance : instances->parameters) {
    const HSI_ParamList parameters{{instance}, 0};
    std::array<unsigned char, sizeof(HsiPowerManagement)> bytes{};
    for (const auto& [node, size] : values) {
      simulated::readNode(host, node, &parameters, bytes.data(), size);
    }
  }
  HSI_ParamListDestroy(instances);
}

void readEverything(const simulated::SimulatedHost& host) {
  std::array<unsigned char, sizeof(HsiPowerManagement)> bytes{};
  simulated::readNode(host, kHsiTopology, nullptr, bytes.data(), sizeof(HsiTopology));
  simulated::readNode(host, kHsiCpuModel, nullptr, bytes.data(), sizeof(HsiCpuModel));
  simulated::readNode(host, kHsiPowerManagement, nullptr, bytes.data(), sizeof(HsiPowerManagement));
  require(bytes.back() == 0);
  readInstances(host, kHsiNetInterfaces,
                {{kHsiInterfaceIpv4, sizeof(HsiIpv4Address)},
                 {kHsiInterfaceNetmask, sizeof(HsiIpv4Address)}});
  readInstances(host, kHsiCore,
                {{kHsiCore, sizeof(HsiCore)},
                 {kHsiCoreState, sizeof(HsiCoreState)},
                 {kHsiCoreDetail, sizeof(HsiCoreDetail)}});
  readInstances(host, kHsiPackage, {{kHsiPackage, sizeof(HsiCoreCount)}});
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int LLVMFuzzerTestOneInput(
    const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto outcome = simulated::parseHost(text);
  if (const auto* error = std::get_if<simulated::HostError>(&outcome)) {
    require(!error->place.empty() && !error->message.empty());
  } else {
    readEverything(std::get<simulated::SimulatedHost>(outcome));
  }
  return 0;
}
