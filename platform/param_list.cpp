#include "platform/param_list.h"

#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace {

constexpr HSI_Status kOk = 0;
constexpr HSI_Status kFailed = 1;

HSI_Status append(HSI_ParamList* list, HSI_Param parameter) {
  if (list == nullptr) return kFailed;
  if (list->limit != 0 && list->parameters.size() >= list->limit) return kFailed;
  list->parameters.push_back(std::move(parameter));
  return kOk;
}

}  // namespace

HSI_ParamList* HSI_ParamListCreate(unsigned growBy, unsigned limit) try {
  auto list = std::make_unique<HSI_ParamList>();
  list->limit = limit;
  list->parameters.reserve(growBy);
  return list.release();  // freed by HSI_ParamListDestroy
} catch (const std::exception&) {
  return nullptr;
}

void HSI_ParamListDestroy(HSI_ParamList* list) { delete list; }

HSI_Status HSI_ParamListAddInt(HSI_ParamList* list, std::int32_t value) try {
  return append(list, HSI_Param{false, value, {}});
} catch (const std::bad_alloc&) {
  return kFailed;
}

HSI_Status HSI_ParamListAddString(HSI_ParamList* list, const char* value) try {
  if (value == nullptr) return kFailed;
  return append(list, HSI_Param{true, 0, value});
} catch (const std::bad_alloc&) {
  return kFailed;
}

HSI_Status HSI_ParamListRemoveLastParam(HSI_ParamList* list) {
  if (list == nullptr || list->parameters.empty()) return kFailed;
  list->parameters.pop_back();
  return kOk;
}

unsigned HSI_ParamListUsedCount(const HSI_ParamList* list) {
  return list == nullptr ? 0U : static_cast<unsigned>(list->parameters.size());
}

const HSI_Param* HSI_ParamListGetParam(const HSI_ParamList* list, unsigned index) {
  return index < HSI_ParamListUsedCount(list) ? &list->parameters[index] : nullptr;
}

HSI_Status HSI_ParamListGetInt32(const HSI_ParamList* list, unsigned index, std::int32_t* value) {
  const HSI_Param* parameter = HSI_ParamListGetParam(list, index);
  if (parameter == nullptr || parameter->isText) return kFailed;
  *value = parameter->number;
  return kOk;
}

HSI_Status HSI_ParamGetString(const HSI_Param* parameter, const char** value) {
  if (parameter == nullptr || !parameter->isText) return kFailed;
  *value = parameter->text.c_str();
  return kOk;
}
