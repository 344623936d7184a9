#include "platform/simulated/hsi_nodes.h"

#include <algorithm>
#include <optional>

#include "platform/kernel_nodes.h"

namespace simulated {
namespace {

using platform::numberedElement;
using platform::Parameters;
using platform::textAt;
using Host = const SimulatedHost;

/// The element whose `key` is the parameter at `index`; null when there is none.
template <typename Element>
const Element* namedElement(const std::vector<Element>& elements, std::string Element::*key,
                            const Parameters& parameters, std::size_t index) {
  const std::string* text = textAt(parameters, index);
  if (text == nullptr) return nullptr;
  for (const Element& element : elements) {
    if (element.*key == *text) return &element;
  }
  return nullptr;
}

const SimulatedInterface* interfaceOf(Host& host, const Parameters& parameters) {
  return namedElement(host.interfaces, &SimulatedInterface::name, parameters, 0);
}

/// The cores of all packages, in the order of their numbers.
std::vector<const SimulatedCore*> coresOf(Host& host) {
  std::vector<const SimulatedCore*> cores;
  for (const SimulatedPackage& package : host.processors.packages) {
    for (const SimulatedCore& core : package.cores) cores.push_back(&core);
  }
  return cores;
}

/// The core that the parameters identify; null when there is none.
const SimulatedCore* coreOf(Host& host, const Parameters& parameters) {
  const auto cores = coresOf(host);
  const auto* core = numberedElement(cores, parameters);
  return core == nullptr ? nullptr : *core;
}

/// The value of a register that holds these four letters.
std::uint32_t registerOf(std::string_view letters) {
  std::uint32_t word = 0;
  letters.copy(reinterpret_cast<char*>(&word), sizeof word);
  return word;
}

struct SimulatedAnswers {
  using Host = const SimulatedHost;

  static std::optional<HsiIpv4Address> ipv4(Host& host, const Parameters& parameters) {
    const SimulatedInterface* interface = interfaceOf(host, parameters);
    if (interface == nullptr || !interface->ipv4) return {};
    return interface->ipv4->address;
  }

  static std::optional<HsiIpv4Address> netmask(Host& host, const Parameters& parameters) {
    const SimulatedInterface* interface = interfaceOf(host, parameters);
    if (interface == nullptr || !interface->ipv4) return {};
    return interface->ipv4->netmask;
  }

  static std::optional<HsiIpv6Address> ipv6(Host& host, const Parameters& parameters) {
    const SimulatedInterface* interface = interfaceOf(host, parameters);
    if (interface == nullptr) return {};
    const auto* found = namedElement(interface->ipv6, &SimulatedIpv6::id, parameters, 1);
    if (found == nullptr) return {};
    HsiIpv6Address value{};
    found->address.copy(value.text, sizeof value.text);
    value.prefixLength = found->prefixLength;
    return value;
  }

  static std::optional<HsiTopology> topology(Host& host, const Parameters&) {
    HsiTopology value{};
    value.hyperThreading = host.processors.hyperThreading;
    return value;
  }

  static std::optional<HsiCpuModel> cpuModel(Host& host, const Parameters&) {
    HsiCpuModel model{};
    host.processors.modelName.copy(model.data(), model.size());
    return model;
  }

  static std::optional<HsiCore> core(Host& host, const Parameters& parameters) {
    const SimulatedCore* found = coreOf(host, parameters);
    if (found == nullptr) return {};
    const std::string_view vendor = found->vendor;
    HsiCore value{};
    value.stepping = found->stepping;
    value.vendor.ebx = registerOf(vendor.substr(0, 4));
    value.vendor.edx = registerOf(vendor.substr(4, 4));
    value.vendor.ecx = registerOf(vendor.substr(8, 4));  // the end of the text: EBX, EDX, ECX
    value.features.ebx = found->featureEbx;
    value.features.ecx = found->featureEcx;
    value.extended.ecx = found->extendedEcx;
    value.extended.edx = found->extendedEdx;
    return value;
  }

  static std::optional<HsiCoreCount> coreCount(Host& host, const Parameters& parameters) {
    const SimulatedPackage* package = numberedElement(host.processors.packages, parameters);
    if (package == nullptr) return {};
    return package->coreCount;
  }

  static std::optional<HsiCoreState> coreState(Host& host, const Parameters& parameters) {
    const SimulatedCore* core = coreOf(host, parameters);
    if (core == nullptr) return {};
    HsiCoreState state{};
    state.running = core->running ? 1 : 0;
    return state;
  }

  static std::optional<HsiCoreDetail> coreDetail(Host& host, const Parameters& parameters) {
    if (coreOf(host, parameters) == nullptr) return {};
    return HsiCoreDetail{};
  }

  static std::optional<HsiPowerManagement> powerManagement(Host& host, const Parameters&) {
    HsiPowerManagement power{};
    host.processors.powerPolicy.copy(power.policy, sizeof power.policy - 1);
    return power;
  }

  static std::optional<Parameters> listInterfaces(Host& host, const Parameters&) {
    return platform::textsOf(host.interfaces, &SimulatedInterface::name);
  }

  static std::optional<Parameters> listIpv6(Host& host, const Parameters& parameters) {
    const SimulatedInterface* interface = interfaceOf(host, parameters);
    if (interface == nullptr) return {};
    return platform::textsOf(interface->ipv6, &SimulatedIpv6::id);
  }

  static std::optional<Parameters> listCores(Host& host, const Parameters&) {
    return platform::numbersUpTo(coresOf(host).size());
  }

  static std::optional<Parameters> listPackages(Host& host, const Parameters&) {
    return platform::numbersUpTo(host.processors.packages.size());
  }
};

template <typename T>
bool contains(const std::vector<T>& values, const T& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

/// Whether the instance, which is the last parameter, is one of those that fail. A list that has no
/// parameters never fails for this reason.
bool instanceFails(const SimulatedHsi& hsi, std::uint32_t node, const Parameters& parameters) {
  const auto failing = hsi.failInstances.find(node);
  if (parameters.empty() || failing == hsi.failInstances.end()) return false;
  const HSI_Param& instance = parameters.back();
  return instance.isText ? contains(failing->second.names, instance.text)
                         : contains(failing->second.numbers, instance.number);
}

bool fails(const SimulatedHsi& hsi, std::uint32_t node, const HSI_ParamList* parameters) {
  return contains(hsi.failNodes, node) ||
         instanceFails(hsi, node, platform::parametersOf(parameters));
}

}  // namespace

HSI_Status readNode(Host& host, std::uint32_t node, const HSI_ParamList* parameters, void* value,
                    std::size_t size) {
  if (fails(host.hsi, node, parameters)) return kHsiFailed;
  return platform::readNode<SimulatedAnswers>(host, node, parameters, value, size);
}

HSI_Status listNode(Host& host, std::uint32_t node, const HSI_ParamList* parameters,
                    HSI_ParamList** list) {
  if (fails(host.hsi, node, parameters)) return kHsiFailed;
  return platform::listNode<SimulatedAnswers>(host, node, parameters, list);
}

}  // namespace simulated
