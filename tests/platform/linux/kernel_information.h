#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/system_info.h"

namespace LinuxHost {

struct ListDestroy {
  void operator()(HSI_ParamList* list) const { HSI_ParamListDestroy(list); }
};
using ListPtr = std::unique_ptr<HSI_ParamList, ListDestroy>;

inline ListPtr parameterList(const std::vector<std::string>& texts) {
  ListPtr list(HSI_ParamListCreate(1, 2));
  for (const std::string& text : texts) HSI_ParamListAddString(list.get(), text.c_str());
  return list;
}

inline ListPtr parameterList(std::int32_t number) {
  ListPtr list(HSI_ParamListCreate(1, 2));
  HSI_ParamListAddInt(list.get(), number);
  return list;
}

/// A node's value, or nothing when the call fails.
template <std::size_t size>
std::optional<std::array<unsigned char, size>> nodeValue(std::uint32_t node,
                                                         const ListPtr& parameters = {}) {
  std::array<unsigned char, size> value{};
  if (HSI_Get(node, parameters.get(), value.data(), size) != 0) return {};
  return value;
}

/// A node's instances by name, or nothing when the call fails.
inline std::optional<std::vector<std::string>> nodeNames(std::uint32_t node,
                                                         const ListPtr& parameters = {}) {
  HSI_ParamList* raw = nullptr;
  if (HSI_GetInstanceListAlloc(node, parameters.get(), &raw) != 0) return {};
  const ListPtr list(raw);
  std::vector<std::string> names;
  for (unsigned i = 0; i < HSI_ParamListUsedCount(list.get()); ++i) {
    const char* text = nullptr;
    if (HSI_ParamGetString(HSI_ParamListGetParam(list.get(), i), &text) != 0) return {};
    names.emplace_back(text);
  }
  return names;
}

/// A node's instances by number, or nothing when the call fails.
inline std::optional<std::vector<std::int32_t>> nodeNumbers(std::uint32_t node) {
  HSI_ParamList* raw = nullptr;
  if (HSI_GetInstanceListAlloc(node, nullptr, &raw) != 0) return {};
  const ListPtr list(raw);
  std::vector<std::int32_t> numbers;
  for (unsigned i = 0; i < HSI_ParamListUsedCount(list.get()); ++i) {
    std::int32_t number = -1;
    if (HSI_ParamListGetInt32(list.get(), i, &number) != 0) return {};
    numbers.push_back(number);
  }
  return numbers;
}

}  // namespace LinuxHost
