#include "tests/support/fake_system_info.h"

struct HSI_Param {
  std::int32_t number;
};

struct HSI_ParamList {
  std::vector<HSI_Param> parameters;
  unsigned limit;
};

using orv::test::FakeSystemInfo;

namespace {

constexpr HSI_Status kOk = 0;
constexpr HSI_Status kFailed = 1;
constexpr HSI_Status kInstanceFailed = 9;

FakeSystemInfo& fake() { return FakeSystemInfo::instance(); }

HSI_Status statusOf(const std::map<std::uint32_t, HSI_Status>& failing, std::uint32_t node) {
  const auto found = failing.find(node);
  return found == failing.end() ? kOk : found->second;
}

std::string nodeText(const char* call, std::uint32_t node, const HSI_ParamList* parameters) {
  std::string text = std::string(call) + " " + std::to_string(node);
  if (parameters == nullptr) return text;
  text += "[";
  for (const HSI_Param& parameter : parameters->parameters) {
    text += std::to_string(parameter.number);
  }
  return text + "]";
}

/// Null when the node, or its instance, has no value.
const FakeSystemInfo::Bytes* valueOf(std::uint32_t node, const HSI_ParamList* parameters) {
  if (parameters == nullptr) {
    const auto found = fake().hostValues.find(node);
    return found == fake().hostValues.end() ? nullptr : &found->second;
  }
  if (parameters->parameters.size() != 1) return nullptr;
  const auto found = fake().instanceValues.find({node, parameters->parameters[0].number});
  return found == fake().instanceValues.end() ? nullptr : &found->second;
}

HSI_ParamList* newList(unsigned limit) {
  ++fake().liveLists;
  return new HSI_ParamList{{}, limit};  // freed by HSI_ParamListDestroy
}

}  // namespace

namespace orv::test {

FakeSystemInfo& FakeSystemInfo::instance() {
  static FakeSystemInfo info;
  return info;
}

FakeSystemInfo& FakeSystemInfo::reset() {
  const int live = instance().liveLists;
  instance() = FakeSystemInfo{};
  instance().liveLists = live;
  return instance();
}

}  // namespace orv::test

HSI_Status HSI_CheckSig(int signature) {
  fake().signatures.push_back(signature);
  return fake().signatureOk ? kOk : kFailed;
}

HSI_Status HSI_Get(std::uint32_t node, const HSI_ParamList* parameters, void* value,
                   std::size_t size) {
  fake().queries.push_back(nodeText("get", node, parameters));
  if (const HSI_Status status = statusOf(fake().failingReads, node)) return status;
  if (parameters != nullptr && parameters->parameters.size() == 1 &&
      fake().failingInstances.count({node, parameters->parameters[0].number}) != 0) {
    return kInstanceFailed;
  }
  const FakeSystemInfo::Bytes* bytes = valueOf(node, parameters);
  if (bytes == nullptr || bytes->size() != size) return kFailed;
  std::memcpy(value, bytes->data(), size);
  return kOk;
}

HSI_Status HSI_GetInstanceListAlloc(std::uint32_t node, const HSI_ParamList* parameters,
                                    HSI_ParamList** list) {
  fake().queries.push_back(nodeText("list", node, parameters));
  if (const HSI_Status status = statusOf(fake().failingLists, node)) return status;
  *list = newList(0);
  for (const std::int32_t number : fake().instances[node]) (*list)->parameters.push_back({number});
  return kOk;
}

HSI_ParamList* HSI_ParamListCreate(unsigned /*growBy*/, unsigned limit) {
  if (fake().creationsBeforeFailure == 0) return nullptr;
  if (fake().creationsBeforeFailure > 0) --fake().creationsBeforeFailure;
  return newList(limit);
}

void HSI_ParamListDestroy(HSI_ParamList* list) {
  if (list == nullptr) return;
  --fake().liveLists;
  delete list;
}

HSI_Status HSI_ParamListAddInt(HSI_ParamList* list, std::int32_t value) {
  if (list->limit != 0 && list->parameters.size() >= list->limit) return kFailed;
  list->parameters.push_back({value});
  return kOk;
}

HSI_Status HSI_ParamListRemoveLastParam(HSI_ParamList* list) {
  if (list->parameters.empty()) return kFailed;
  list->parameters.pop_back();
  return kOk;
}

unsigned HSI_ParamListUsedCount(const HSI_ParamList* list) {
  return list == nullptr ? 0U : static_cast<unsigned>(list->parameters.size());
}

HSI_Status HSI_ParamListGetInt32(const HSI_ParamList* list, unsigned index, std::int32_t* value) {
  if (index >= HSI_ParamListUsedCount(list)) return kFailed;
  *value = list->parameters[index].number;
  return kOk;
}
