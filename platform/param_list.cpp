#include "platform/param_list.h"

#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace {

HSI_Status append(HSI_ParamList* list, HSI_Param parameter) {
  if (list == nullptr) return kHsiFailed;
  if (list->limit != 0 && list->parameters.size() >= list->limit) return kHsiFailed;
  list->parameters.push_back(std::move(parameter));
  return kHsiOk;
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
  return kHsiFailed;
}

HSI_Status HSI_ParamListAddString(HSI_ParamList* list, const char* value) try {
  if (value == nullptr) return kHsiFailed;
  return append(list, HSI_Param{true, 0, value});
} catch (const std::bad_alloc&) {
  return kHsiFailed;
}

HSI_Status HSI_ParamListRemoveLastParam(HSI_ParamList* list) {
  if (list == nullptr || list->parameters.empty()) return kHsiFailed;
  list->parameters.pop_back();
  return kHsiOk;
}

unsigned HSI_ParamListUsedCount(const HSI_ParamList* list) {
  return list == nullptr ? 0U : static_cast<unsigned>(list->parameters.size());
}

const HSI_Param* HSI_ParamListGetParam(const HSI_ParamList* list, unsigned index) {
  return index < HSI_ParamListUsedCount(list) ? &list->parameters[index] : nullptr;
}

HSI_Status HSI_ParamListGetInt32(const HSI_ParamList* list, unsigned index, std::int32_t* value) {
  const HSI_Param* parameter = HSI_ParamListGetParam(list, index);
  if (parameter == nullptr || parameter->isText) return kHsiFailed;
  *value = parameter->number;
  return kHsiOk;
}

HSI_Status HSI_ParamGetString(const HSI_Param* parameter, const char** value) {
  if (parameter == nullptr || !parameter->isText) return kHsiFailed;
  *value = parameter->text.c_str();
  return kHsiOk;
}
