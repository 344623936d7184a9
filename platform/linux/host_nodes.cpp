#include "platform/linux/host_nodes.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "platform/linux/cpuid.h"

namespace LinuxHost {
namespace {

constexpr std::size_t kTopologySize = 36;
constexpr std::size_t kCoreStateSize = 160;
constexpr std::size_t kCoreStateRunning = 64;
constexpr std::size_t kCoreDetailSize = 76;
constexpr std::size_t kPowerManagementSize = 588;
constexpr std::size_t kPowerPolicyOffset = 8;

HSI_Param number(std::size_t value) {
  HSI_Param parameter;
  parameter.number = static_cast<std::int32_t>(value);
  return parameter;
}

HSI_Param text(const std::string& value) {
  HSI_Param parameter;
  parameter.isText = true;
  parameter.text = value;
  return parameter;
}

template <typename Value>
Bytes bytesOf(const Value& value) {
  Bytes bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

/// The interface that the first of exactly `count` parameters names.
const KernelInterface* interfaceNamedIn(HostView& view, const Parameters& parameters,
                                        std::size_t count) {
  if (parameters.size() != count || !parameters[0].isText) return nullptr;
  return view.interface(parameters[0].text);
}

/// The element of `elements` that the only parameter numbers.
template <typename Element>
const Element* numberedElement(const std::vector<Element>& elements, const Parameters& parameters) {
  if (parameters.size() != 1 || parameters[0].isText || parameters[0].number < 0) return nullptr;
  const auto index = static_cast<std::size_t>(parameters[0].number);
  return index < elements.size() ? &elements[index] : nullptr;
}

template <typename Element>
std::optional<Parameters> numbersOf(const std::vector<Element>& elements,
                                    const Parameters& parameters) {
  if (!parameters.empty()) return {};
  Parameters numbers;
  for (std::size_t i = 0; i < elements.size(); ++i) numbers.push_back(number(i));
  return numbers;
}

std::optional<Parameters> listInterfaces(HostView& view, const Parameters& parameters) {
  if (!parameters.empty()) return {};
  Parameters names;
  for (const KernelInterface& interface : view.interfaces()) names.push_back(text(interface.name));
  return names;
}

std::optional<Bytes> readIpv4(HostView& view, const Parameters& parameters) {
  const KernelInterface* interface = interfaceNamedIn(view, parameters, 1);
  if (interface == nullptr || !interface->ipv4) return {};
  return bytesOf(interface->ipv4->address);
}

std::optional<Bytes> readNetmask(HostView& view, const Parameters& parameters) {
  const KernelInterface* interface = interfaceNamedIn(view, parameters, 1);
  if (interface == nullptr || !interface->ipv4) return {};
  return bytesOf(interface->ipv4->netmask);
}

std::optional<Parameters> listIpv6(HostView& view, const Parameters& parameters) {
  const KernelInterface* interface = interfaceNamedIn(view, parameters, 1);
  if (interface == nullptr) return {};
  Parameters identifiers;
  for (const auto& address : interface->ipv6) identifiers.push_back(text(address.text));
  return identifiers;
}

std::optional<Bytes> readIpv6(HostView& view, const Parameters& parameters) {
  const KernelInterface* interface = interfaceNamedIn(view, parameters, 2);
  if (interface == nullptr || !parameters[1].isText) return {};
  for (const auto& address : interface->ipv6) {
    if (address.text != parameters[1].text) continue;
    Bytes value(kHsiIpv6ValueSize);
    address.text.copy(reinterpret_cast<char*>(value.data()), kHsiIpv6PrefixOffset - 1);
    std::memcpy(value.data() + kHsiIpv6PrefixOffset, &address.prefixLength,
                sizeof address.prefixLength);
    return value;
  }
  return {};
}

std::optional<Bytes> readTopology(HostView& view, const Parameters&) {
  Bytes value(kTopologySize);
  const std::uint32_t hyperThreading = view.smtActive() ? 1 : 0;
  std::memcpy(value.data(), &hyperThreading, sizeof hyperThreading);
  return value;
}

std::optional<Bytes> readModel(HostView&, const Parameters&) {
  return bytesOf(brandOf(readCpuid()));
}

std::optional<Parameters> listCores(HostView& view, const Parameters& parameters) {
  return numbersOf(view.cores(), parameters);
}

std::optional<Bytes> readCore(HostView& view, const Parameters& parameters) {
  const CpuCore* core = numberedElement(view.cores(), parameters);
  if (core == nullptr) return {};
  return bytesOf(identificationOf(readCpuidOn(core->informant)));
}

std::optional<Parameters> listPackages(HostView& view, const Parameters& parameters) {
  return numbersOf(view.packages(), parameters);
}

std::optional<Bytes> readPackage(HostView& view, const Parameters& parameters) {
  const CpuPackage* package = numberedElement(view.packages(), parameters);
  if (package == nullptr) return {};
  return bytesOf(static_cast<std::uint32_t>(package->cores.size()));
}

std::optional<Bytes> readCoreState(HostView& view, const Parameters& parameters) {
  const CpuCore* core = numberedElement(view.cores(), parameters);
  if (core == nullptr) return {};
  Bytes value(kCoreStateSize);
  value[kCoreStateRunning] = core->onlineThreads > 0 ? 1 : 0;
  return value;
}

/// Nothing is known about a core that would have a place here; that it exists is the answer.
std::optional<Bytes> readCoreDetail(HostView& view, const Parameters& parameters) {
  if (numberedElement(view.cores(), parameters) == nullptr) return {};
  return Bytes(kCoreDetailSize);
}

std::optional<Bytes> readPowerManagement(HostView& view, const Parameters&) {
  Bytes value(kPowerManagementSize);
  view.powerPolicy().copy(reinterpret_cast<char*>(value.data()) + kPowerPolicyOffset,
                          value.size() - kPowerPolicyOffset - 1);
  return value;
}

constexpr HostNode kNodes[] = {
    {kHsiNetInterfaces, 0, nullptr, listInterfaces},
    {kHsiInterfaceIpv4, sizeof(Ipv4Bytes), readIpv4, nullptr},
    {kHsiInterfaceNetmask, sizeof(Ipv4Bytes), readNetmask, nullptr},
    {kHsiInterfaceIpv6List, 0, nullptr, listIpv6},
    {kHsiInterfaceIpv6, kHsiIpv6ValueSize, readIpv6, nullptr},
    {kHsiTopology, kTopologySize, readTopology, nullptr},
    {kHsiCpuModel, kBrandSize, readModel, nullptr},
    {kHsiCore, kIdentificationSize, readCore, listCores},
    {kHsiPackage, sizeof(std::uint32_t), readPackage, listPackages},
    {kHsiCoreState, kCoreStateSize, readCoreState, nullptr},
    {kHsiCoreDetail, kCoreDetailSize, readCoreDetail, nullptr},
    {kHsiPowerManagement, kPowerManagementSize, readPowerManagement, nullptr},
};

}  // namespace

const HostNode* findHostNode(std::uint32_t nodeNumber) {
  const auto* found = std::find_if(std::begin(kNodes), std::end(kNodes),
                                   [&](const HostNode& node) { return node.number == nodeNumber; });
  return found == std::end(kNodes) ? nullptr : found;
}

}  // namespace LinuxHost
