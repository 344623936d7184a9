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

/// The interface that the first parameter names.
const KernelInterface* interfaceOf(HostView& view, const Parameters& parameters) {
  const std::string* name = textAt(parameters, 0);
  return name == nullptr ? nullptr : view.interface(*name);
}

std::optional<Parameters> listInterfaces(HostView& view, const Parameters&) {
  return platform::textsOf(view.interfaces(), &KernelInterface::name);
}

std::optional<HsiIpv4Address> readIpv4(HostView& view, const Parameters& parameters) {
  const KernelInterface* interface = interfaceOf(view, parameters);
  if (interface == nullptr || !interface->ipv4) return {};
  return interface->ipv4->address;
}

std::optional<HsiIpv4Address> readNetmask(HostView& view, const Parameters& parameters) {
  const KernelInterface* interface = interfaceOf(view, parameters);
  if (interface == nullptr || !interface->ipv4) return {};
  return interface->ipv4->netmask;
}

std::optional<Parameters> listIpv6(HostView& view, const Parameters& parameters) {
  const KernelInterface* interface = interfaceOf(view, parameters);
  if (interface == nullptr) return {};
  return platform::textsOf(interface->ipv6, &KernelInterface::Ipv6::text);
}

std::optional<HsiIpv6Address> readIpv6(HostView& view, const Parameters& parameters) {
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

std::optional<HsiTopology> readTopology(HostView& view, const Parameters&) {
  HsiTopology topology{};
  topology.hyperThreading = view.smtActive() ? 1 : 0;
  return topology;
}

std::optional<HsiCpuModel> readModel(HostView&, const Parameters&) { return brandOf(readCpuid()); }

std::optional<Parameters> listCores(HostView& view, const Parameters&) {
  return platform::numbersUpTo(view.cores().size());
}

std::optional<HsiCore> readCore(HostView& view, const Parameters& parameters) {
  const CpuCore* core = numberedElement(view.cores(), parameters);
  if (core == nullptr) return {};
  return identificationOf(readCpuidOn(core->informant));
}

std::optional<Parameters> listPackages(HostView& view, const Parameters&) {
  return platform::numbersUpTo(view.packages().size());
}

std::optional<HsiCoreCount> readPackage(HostView& view, const Parameters& parameters) {
  const CpuPackage* package = numberedElement(view.packages(), parameters);
  if (package == nullptr) return {};
  return static_cast<HsiCoreCount>(package->cores.size());
}

std::optional<HsiCoreState> readCoreState(HostView& view, const Parameters& parameters) {
  const CpuCore* core = numberedElement(view.cores(), parameters);
  if (core == nullptr) return {};
  HsiCoreState state{};
  state.running = core->onlineThreads > 0 ? 1 : 0;
  return state;
}

/// Nothing is known about a core that would have a place here; that it exists is the answer.
std::optional<HsiCoreDetail> readCoreDetail(HostView& view, const Parameters& parameters) {
  if (numberedElement(view.cores(), parameters) == nullptr) return {};
  return HsiCoreDetail{};
}

std::optional<HsiPowerManagement> readPowerManagement(HostView& view, const Parameters&) {
  HsiPowerManagement power{};
  view.powerPolicy().copy(power.policy, sizeof power.policy - 1);
  return power;
}

template <auto read>
constexpr auto value(unsigned parameters) {
  return platform::valueFrom<HostView, read>(parameters);
}

constexpr platform::KernelNode<HostView> kNodes[] = {
    {kHsiNetInterfaces, {}, {0, listInterfaces}},
    {kHsiInterfaceIpv4, value<readIpv4>(1), {}},
    {kHsiInterfaceNetmask, value<readNetmask>(1), {}},
    {kHsiInterfaceIpv6List, {}, {1, listIpv6}},
    {kHsiInterfaceIpv6, value<readIpv6>(2), {}},
    {kHsiTopology, value<readTopology>(0), {}},
    {kHsiCpuModel, value<readModel>(0), {}},
    {kHsiCore, value<readCore>(1), {0, listCores}},
    {kHsiPackage, value<readPackage>(1), {0, listPackages}},
    {kHsiCoreState, value<readCoreState>(1), {}},
    {kHsiCoreDetail, value<readCoreDetail>(1), {}},
    {kHsiPowerManagement, value<readPowerManagement>(0), {}},
};

}  // namespace

HSI_Status readNode(HostView& view, std::uint32_t node, const HSI_ParamList* parameters,
                    void* value, std::size_t size) {
  return platform::readNode(kNodes, view, node, parameters, value, size);
}

HSI_Status listNode(HostView& view, std::uint32_t node, const HSI_ParamList* parameters,
                    HSI_ParamList** list) {
  return platform::listNode(kNodes, view, node, parameters, list);
}

}  // namespace LinuxHost
