#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/param_list.h"

/// The nodes of the kernel information interface as a table, the same for every platform: which
/// nodes have a value, which have instances, and what identifies an instance. A platform supplies a
/// type `Answers` with
///
///     using Host = ...;   // what it answers from
///     static std::optional<HsiTopology> topology(Host&, const Parameters&);
///
/// and so on, one function for each row. The answer is absent when the parameters identify nothing.
namespace platform {

using Parameters = std::vector<HSI_Param>;

/// The value of a node. `parameters` is the number of parameters that identify an instance. `read`
/// writes the whole `value`, or returns false and writes nothing when there is no such instance.
template <typename Host>
struct NodeValue {
  unsigned parameters = 0;
  std::size_t size = 0;
  bool (*read)(Host& host, const Parameters& parameters, void* value) = nullptr;
};

/// The instances of a node; absent when what the parameters identify does not exist.
template <typename Host>
struct NodeInstances {
  unsigned parameters = 0;
  std::optional<Parameters> (*list)(Host& host, const Parameters& parameters) = nullptr;
};

/// A node has a value, instances, or both.
template <typename Host>
struct KernelNode {
  HSI_Node number;
  NodeValue<Host> value;
  NodeInstances<Host> instances;
};

/// A node whose value is what `read` answers, a function of host and parameters that returns a
/// std::optional of the node's type.
template <typename Host, auto read>
constexpr NodeValue<Host> valueFrom(unsigned parameters) {
  using Answer = std::invoke_result_t<decltype(read), Host&, const Parameters&>;
  using Value = typename Answer::value_type;
  static_assert(std::is_trivially_copyable_v<Value>);
  return {parameters, sizeof(Value), [](Host& host, const Parameters& instance, void* value) {
            const Answer answer = read(host, instance);
            if (answer) std::memcpy(value, &*answer, sizeof(Value));
            return answer.has_value();
          }};
}

/// The nodes of a platform.
template <typename Answers, typename Host = typename Answers::Host>
constexpr KernelNode<Host> kKernelNodes[] = {
    {kHsiNetInterfaces, {}, {0, Answers::listInterfaces}},
    {kHsiInterfaceIpv4, valueFrom<Host, Answers::ipv4>(1), {}},
    {kHsiInterfaceNetmask, valueFrom<Host, Answers::netmask>(1), {}},
    {kHsiInterfaceIpv6List, {}, {1, Answers::listIpv6}},
    {kHsiInterfaceIpv6, valueFrom<Host, Answers::ipv6>(2), {}},
    {kHsiTopology, valueFrom<Host, Answers::topology>(0), {}},
    {kHsiCpuModel, valueFrom<Host, Answers::cpuModel>(0), {}},
    {kHsiCore, valueFrom<Host, Answers::core>(1), {0, Answers::listCores}},
    {kHsiPackage, valueFrom<Host, Answers::coreCount>(1), {0, Answers::listPackages}},
    {kHsiCoreState, valueFrom<Host, Answers::coreState>(1), {}},
    {kHsiCoreDetail, valueFrom<Host, Answers::coreDetail>(1), {}},
    {kHsiPowerManagement, valueFrom<Host, Answers::powerManagement>(0), {}},
};

/// The text of a parameter; null when there is no such parameter or it is not a text.
inline const std::string* textAt(const Parameters& parameters, std::size_t index) {
  return index < parameters.size() && parameters[index].isText ? &parameters[index].text : nullptr;
}

/// The element whose number is the first parameter; null when there is none.
template <typename Element>
const Element* numberedElement(const std::vector<Element>& elements, const Parameters& parameters) {
  if (parameters.empty() || parameters[0].isText || parameters[0].number < 0) return nullptr;
  const auto index = static_cast<std::size_t>(parameters[0].number);
  return index < elements.size() ? &elements[index] : nullptr;
}

/// The numbers from 0 to `count` - 1.
inline Parameters numbersUpTo(std::size_t count) {
  Parameters numbers(count);
  for (std::size_t i = 0; i < count; ++i) numbers[i].number = static_cast<std::int32_t>(i);
  return numbers;
}

/// The `key` of each element, in their order.
template <typename Elements, typename Element>
Parameters textsOf(const Elements& elements, std::string Element::*key) {
  Parameters texts;
  texts.reserve(elements.size());
  for (const Element& element : elements) texts.push_back({true, 0, element.*key});
  return texts;
}

/// The parameters of a list; none for null.
inline const Parameters& parametersOf(const HSI_ParamList* list) {
  static const Parameters none;
  return list == nullptr ? none : list->parameters;
}

/// The node of that number; null when there is none.
template <typename Answers, typename Host = typename Answers::Host>
const KernelNode<Host>* findNode(std::uint32_t number) {
  for (const KernelNode<Host>& node : kKernelNodes<Answers>) {
    if (node.number == number) return &node;
  }
  return nullptr;
}

/// HSI_Get, asked of a host.
template <typename Answers, typename Host = typename Answers::Host>
HSI_Status readNode(Host& host, std::uint32_t number, const HSI_ParamList* list, void* value,
                    std::size_t size) {
  const KernelNode<Host>* node = findNode<Answers>(number);
  if (node == nullptr || node->value.read == nullptr || value == nullptr) return kHsiFailed;
  const Parameters& parameters = parametersOf(list);
  if (size != node->value.size || parameters.size() != node->value.parameters) return kHsiFailed;
  return node->value.read(host, parameters, value) ? kHsiOk : kHsiFailed;
}

/// HSI_GetInstanceListAlloc, asked of a host.
template <typename Answers, typename Host = typename Answers::Host>
HSI_Status listNode(Host& host, std::uint32_t number, const HSI_ParamList* list,
                    HSI_ParamList** instances) {
  const KernelNode<Host>* node = findNode<Answers>(number);
  if (node == nullptr || node->instances.list == nullptr || instances == nullptr) {
    return kHsiFailed;
  }
  const Parameters& parameters = parametersOf(list);
  if (parameters.size() != node->instances.parameters) return kHsiFailed;
  auto found = node->instances.list(host, parameters);
  if (!found) return kHsiFailed;
  auto answer = std::make_unique<HSI_ParamList>();
  answer->parameters = std::move(*found);
  *instances = answer.release();  // freed by HSI_ParamListDestroy
  return kHsiOk;
}

}  // namespace platform
