#include "platform/linux/host_nodes.h"

#include <optional>
#include <string>

#include "platform/kernel_nodes.h"
#include "platform/linux/cpuid.h"

namespace LinuxHost {
namespace {

using platform::numberedElement;
using platform::Parameters;
using platform::textAt;

/// The interface that the first parameter names; null when there is none.
const KernelInterface* interfaceOf(HostView& view, const Parameters& parameters) {
  const std::string* name = textAt(parameters, 0);
  return name == nullptr ? nullptr : view.interface(*name);
}

struct LinuxAnswers {
  using Host = HostView;

  static std::optional<Parameters> listInterfaces(HostView& view, const Parameters&) {
    return platform::textsOf(view.interfaces(), &KernelInterface::name);
  }

  static std::optional<HsiIpv4Address> ipv4(HostView& view, const Parameters& parameters) {
    const KernelInterface* interface = interfaceOf(view, parameters);
    if (interface == nullptr || !interface->ipv4) return {};
    return interface->ipv4->address;
  }

  static std::optional<HsiIpv4Address> netmask(HostView& view, const Parameters& parameters) {
    const KernelInterface* interface = interfaceOf(view, parameters);
    if (interface == nullptr || !interface->ipv4) return {};
    return interface->ipv4->netmask;
  }

  static std::optional<Parameters> listIpv6(HostView& view, const Parameters& parameters) {
    const KernelInterface* interface = interfaceOf(view, parameters);
    if (interface == nullptr) return {};
    return platform::textsOf(interface->ipv6, &KernelInterface::Ipv6::text);
  }

  static std::optional<HsiIpv6Address> ipv6(HostView& view, const Parameters& parameters) {
    const KernelInterface* interface = interfaceOf(view, parameters);
    const std::string* text = textAt(parameters, 1);
    if (interface == nullptr || text == nullptr) return {};
    for (const auto& address : interface->ipv6) {
      if (address.text != *text) continue;
      HsiIpv6Address value{};
      text->copy(value.text, sizeof value.text - 1);
      value.prefixLength = address.prefixLength;
      return value;
    }
    return {};
  }

  static std::optional<HsiTopology> topology(HostView& view, const Parameters&) {
    HsiTopology value{};
    value.hyperThreading = view.smtActive() ? 1 : 0;
    return value;
  }

  static std::optional<HsiCpuModel> cpuModel(HostView&, const Parameters&) {
    return brandOf(readCpuid());
  }

  static std::optional<Parameters> listCores(HostView& view, const Parameters&) {
    return platform::numbersUpTo(view.cores().size());
  }

  static std::optional<HsiCore> core(HostView& view, const Parameters& parameters) {
    const CpuCore* found = numberedElement(view.cores(), parameters);
    if (found == nullptr) return {};
    return identificationOf(readCpuidOn(found->informant));
  }

  static std::optional<Parameters> listPackages(HostView& view, const Parameters&) {
    return platform::numbersUpTo(view.packages().size());
  }

  static std::optional<HsiCoreCount> coreCount(HostView& view, const Parameters& parameters) {
    const CpuPackage* package = numberedElement(view.packages(), parameters);
    if (package == nullptr) return {};
    return static_cast<HsiCoreCount>(package->cores.size());
  }

  static std::optional<HsiCoreState> coreState(HostView& view, const Parameters& parameters) {
    const CpuCore* core = numberedElement(view.cores(), parameters);
    if (core == nullptr) return {};
    HsiCoreState state{};
    state.running = core->onlineThreads > 0 ? 1 : 0;
    return state;
  }

  /// No detail of a core is known; the answer only says that the core exists.
  static std::optional<HsiCoreDetail> coreDetail(HostView& view, const Parameters& parameters) {
    if (numberedElement(view.cores(), parameters) == nullptr) return {};
    return HsiCoreDetail{};
  }

  static std::optional<HsiPowerManagement> powerManagement(HostView& view, const Parameters&) {
    HsiPowerManagement power{};
    view.powerPolicy().copy(power.policy, sizeof power.policy - 1);
    return power;
  }
};

}  // namespace

HSI_Status readNode(HostView& view, std::uint32_t node, const HSI_ParamList* parameters,
                    void* value, std::size_t size) {
  return platform::readNode<LinuxAnswers>(view, node, parameters, value, size);
}

HSI_Status listNode(HostView& view, std::uint32_t node, const HSI_ParamList* parameters,
                    HSI_ParamList** list) {
  return platform::listNode<LinuxAnswers>(view, node, parameters, list);
}

}  // namespace LinuxHost
