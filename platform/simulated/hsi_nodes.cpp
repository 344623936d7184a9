#include "platform/simulated/hsi_nodes.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

namespace simulated {
namespace {

constexpr HSI_Status kOk = 0;
constexpr HSI_Status kFailed = 1;

/// The bytes of one node, zero until set; offsets are the caller's and lie within the node.
class NodeBytes {
 public:
  void setByte(std::size_t offset, std::uint8_t byte) { bytes_[offset] = byte; }
  void setWord(std::size_t offset, std::uint32_t word) {
    std::memcpy(&bytes_[offset], &word, sizeof word);
  }
  /// As much of the text as the room takes; a NUL follows only where room is left.
  void setText(std::size_t offset, std::string_view text, std::size_t room) {
    std::copy_n(text.data(), std::min(text.size(), room), &bytes_[offset]);
  }
  void copyTo(void* value, std::size_t size) const { std::memcpy(value, bytes_.data(), size); }

 private:
  std::array<unsigned char, 588> bytes_{};  // the largest node
};

/// The parameters of a call: how many, and each as the type that the node wants.
class Parameters {
 public:
  explicit Parameters(const HSI_ParamList* list) : list_(list) {}

  unsigned count() const { return HSI_ParamListUsedCount(list_); }
  /// Null when there is no text at that place.
  const char* text(unsigned index) const {
    const char* text = nullptr;
    return HSI_ParamGetString(HSI_ParamListGetParam(list_, index), &text) == kOk ? text : nullptr;
  }
  /// -1, which no instance has, when there is no number at that place.
  std::int32_t number(unsigned index) const {
    std::int32_t number = -1;
    return HSI_ParamListGetInt32(list_, index, &number) == kOk ? number : -1;
  }

 private:
  const HSI_ParamList* list_;
};

/// The element whose `key` is the text; null for none and for a null text.
template <typename Element>
const Element* findText(const std::vector<Element>& elements, std::string Element::*key,
                        const char* text) {
  if (text == nullptr) return nullptr;
  for (const Element& element : elements) {
    if (element.*key == text) return &element;
  }
  return nullptr;
}

const SimulatedInterface* interfaceOf(const SimulatedHost& host, const Parameters& parameters) {
  return findText(host.interfaces, &SimulatedInterface::name, parameters.text(0));
}

const SimulatedPackage* packageOf(const SimulatedHost& host, const Parameters& parameters) {
  const auto& packages = host.processors.packages;
  const std::int32_t number = parameters.number(0);
  if (number < 0 || static_cast<std::size_t>(number) >= packages.size()) return nullptr;
  return &packages[static_cast<std::size_t>(number)];
}

/// Cores are numbered from 0 through all packages.
const SimulatedCore* coreOf(const SimulatedHost& host, const Parameters& parameters) {
  const std::int32_t number = parameters.number(0);
  if (number < 0) return nullptr;
  auto left = static_cast<std::size_t>(number);
  for (const SimulatedPackage& package : host.processors.packages) {
    if (left < package.cores.size()) return &package.cores[left];
    left -= package.cores.size();
  }
  return nullptr;
}

bool encodeIpv4(const SimulatedHost& host, const Parameters& parameters, NodeBytes& bytes) {
  const SimulatedInterface* interface = interfaceOf(host, parameters);
  if (interface == nullptr || !interface->ipv4) return false;
  for (std::size_t i = 0; i < 4; ++i) bytes.setByte(i, interface->ipv4->address[i]);
  return true;
}

bool encodeNetmask(const SimulatedHost& host, const Parameters& parameters, NodeBytes& bytes) {
  const SimulatedInterface* interface = interfaceOf(host, parameters);
  if (interface == nullptr || !interface->ipv4 || !interface->ipv4->netmask) return false;
  for (std::size_t i = 0; i < 4; ++i) bytes.setByte(i, (*interface->ipv4->netmask)[i]);
  return true;
}

bool encodeIpv6(const SimulatedHost& host, const Parameters& parameters, NodeBytes& bytes) {
  const SimulatedInterface* interface = interfaceOf(host, parameters);
  if (interface == nullptr) return false;
  const auto* ipv6 = findText(interface->ipv6, &SimulatedIpv6::id, parameters.text(1));
  if (ipv6 == nullptr) return false;
  bytes.setText(0, ipv6->address, kHsiIpv6PrefixOffset);
  bytes.setWord(kHsiIpv6PrefixOffset, ipv6->prefixLength);
  return true;
}

bool encodeTopology(const SimulatedHost& host, const Parameters&, NodeBytes& bytes) {
  bytes.setWord(0, host.processors.hyperThreading);
  return true;
}

bool encodeModel(const SimulatedHost& host, const Parameters&, NodeBytes& bytes) {
  bytes.setText(0, host.processors.modelName, 48);
  return true;
}

bool encodeCore(const SimulatedHost& host, const Parameters& parameters, NodeBytes& bytes) {
  const SimulatedCore* core = coreOf(host, parameters);
  if (core == nullptr) return false;
  const std::string_view vendor = core->vendor;
  bytes.setByte(3, core->stepping);
  bytes.setText(48, vendor.substr(0, 4), 4);  // EBX of the vendor leaf
  bytes.setText(52, vendor.substr(8, 4), 4);  // ECX: the last four characters, not the middle ones
  bytes.setText(56, vendor.substr(4, 4), 4);  // EDX
  bytes.setWord(64, core->featureEbx);
  bytes.setWord(68, core->featureEcx);
  bytes.setWord(100, core->extendedEcx);
  bytes.setWord(104, core->extendedEdx);
  return true;
}

bool encodePackage(const SimulatedHost& host, const Parameters& parameters, NodeBytes& bytes) {
  const SimulatedPackage* package = packageOf(host, parameters);
  if (package == nullptr) return false;
  bytes.setWord(0, package->coreCount);
  return true;
}

bool encodeCoreState(const SimulatedHost& host, const Parameters& parameters, NodeBytes& bytes) {
  const SimulatedCore* core = coreOf(host, parameters);
  if (core == nullptr) return false;
  bytes.setByte(64, core->running ? 1 : 0);
  return true;
}

/// Nothing of the value is used but that it can be read.
bool encodeCoreDetail(const SimulatedHost& host, const Parameters& parameters, NodeBytes&) {
  return coreOf(host, parameters) != nullptr;
}

bool encodePower(const SimulatedHost& host, const Parameters&, NodeBytes& bytes) {
  bytes.setText(8, host.processors.powerPolicy, 588 - 8 - 1);
  return true;
}

struct ReadableNode {
  std::uint32_t node;
  std::size_t size;
  unsigned parameters;  ///< how many name the instance
  bool (*encode)(const SimulatedHost& host, const Parameters& parameters, NodeBytes& bytes);
};

constexpr ReadableNode kReadableNodes[] = {
    {kHsiInterfaceIpv4, 4, 1, encodeIpv4},
    {kHsiInterfaceNetmask, 4, 1, encodeNetmask},
    {kHsiInterfaceIpv6, kHsiIpv6ValueSize, 2, encodeIpv6},
    {kHsiTopology, 36, 0, encodeTopology},
    {kHsiCpuModel, 48, 0, encodeModel},
    {kHsiCore, 200, 1, encodeCore},
    {kHsiPackage, 4, 1, encodePackage},
    {kHsiCoreState, 160, 1, encodeCoreState},
    {kHsiCoreDetail, 76, 1, encodeCoreDetail},
    {kHsiPowerManagement, 588, 0, encodePower},
};

using List = std::unique_ptr<HSI_ParamList, decltype(&HSI_ParamListDestroy)>;

/// Null when memory is out.
List emptyList(std::size_t room) {
  return {HSI_ParamListCreate(static_cast<unsigned>(room), 0), HSI_ParamListDestroy};
}

/// The elements' `key` in their order.
template <typename Element>
List listTexts(const std::vector<Element>& elements, std::string Element::*key) {
  List list = emptyList(elements.size());
  for (const Element& element : elements) {
    if (HSI_ParamListAddString(list.get(), (element.*key).c_str()) != kOk) list.reset();
  }
  return list;
}

/// 0, 1, 2 and so on.
List listNumbers(std::size_t count) {
  List list = emptyList(count);
  for (std::size_t i = 0; i < count; ++i) {
    if (HSI_ParamListAddInt(list.get(), static_cast<std::int32_t>(i)) != kOk) list.reset();
  }
  return list;
}

List listInterfaces(const SimulatedHost& host, const Parameters&) {
  return listTexts(host.interfaces, &SimulatedInterface::name);
}

List listIpv6(const SimulatedHost& host, const Parameters& parameters) {
  const SimulatedInterface* interface = interfaceOf(host, parameters);
  if (interface == nullptr) return {nullptr, HSI_ParamListDestroy};
  return listTexts(interface->ipv6, &SimulatedIpv6::id);
}

List listCores(const SimulatedHost& host, const Parameters&) {
  std::size_t count = 0;
  for (const SimulatedPackage& package : host.processors.packages) count += package.cores.size();
  return listNumbers(count);
}

List listPackages(const SimulatedHost& host, const Parameters&) {
  return listNumbers(host.processors.packages.size());
}

struct ListableNode {
  std::uint32_t node;
  unsigned parameters;
  List (*list)(const SimulatedHost& host, const Parameters& parameters);  ///< null: failed
};

constexpr ListableNode kListableNodes[] = {
    {kHsiNetInterfaces, 0, listInterfaces},
    {kHsiInterfaceIpv6List, 1, listIpv6},
    {kHsiCore, 0, listCores},
    {kHsiPackage, 0, listPackages},
};

template <typename Row, std::size_t size>
const Row* findNode(const Row (&rows)[size], std::uint32_t node) {
  for (const Row& row : rows) {
    if (row.node == node) return &row;
  }
  return nullptr;
}

template <typename T>
bool contains(const std::vector<T>& values, const T& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

/// The instance, the last parameter, is one of those that fail. A list without instance never is.
bool instanceFails(const SimulatedHsi& hsi, std::uint32_t node, const Parameters& parameters) {
  if (parameters.count() == 0) return false;
  const auto failing = hsi.failInstances.find(node);
  if (failing == hsi.failInstances.end()) return false;
  const unsigned last = parameters.count() - 1;
  const char* name = parameters.text(last);
  return name != nullptr ? contains(failing->second.names, std::string(name))
                         : contains(failing->second.numbers, parameters.number(last));
}

bool fails(const SimulatedHsi& hsi, std::uint32_t node, const Parameters& parameters) {
  return contains(hsi.failNodes, node) || instanceFails(hsi, node, parameters);
}

}  // namespace

HSI_Status readNode(const SimulatedHost& host, std::uint32_t node, const HSI_ParamList* parameters,
                    void* value, std::size_t size) {
  const ReadableNode* row = findNode(kReadableNodes, node);
  const Parameters instance(parameters);
  if (row == nullptr || value == nullptr || size != row->size) return kFailed;
  if (instance.count() != row->parameters || fails(host.hsi, node, instance)) return kFailed;
  NodeBytes bytes;
  if (!row->encode(host, instance, bytes)) return kFailed;
  bytes.copyTo(value, size);
  return kOk;
}

HSI_Status listNode(const SimulatedHost& host, std::uint32_t node, const HSI_ParamList* parameters,
                    HSI_ParamList** list) {
  const ListableNode* row = findNode(kListableNodes, node);
  const Parameters instance(parameters);
  if (row == nullptr || list == nullptr || instance.count() != row->parameters) return kFailed;
  if (fails(host.hsi, node, instance)) return kFailed;
  List made = row->list(host, instance);
  if (made == nullptr) return kFailed;
  *list = made.release();
  return kOk;
}

}  // namespace simulated
