#pragma once

#include <memory>

#include "platform/system_info.h"

/// What the users of the kernel information interface share. All of it is in this header, so that a
/// program which does not ask the kernel need not link that interface.
namespace ORV {

struct DestroyParamList {
  void operator()(HSI_ParamList* list) const { HSI_ParamListDestroy(list); }
};

/// An owned list: the parameters of a query, or the instances of a node.
using ParamList = std::unique_ptr<HSI_ParamList, DestroyParamList>;

/// Lists the instances of a node; `parameters` may be null. `list` is changed only when the answer
/// is kHsiOk.
inline HSI_Status listInstances(HSI_Node node, const HSI_ParamList* parameters, ParamList& list) {
  HSI_ParamList* instances = nullptr;
  const HSI_Status status = HSI_GetInstanceListAlloc(node, parameters, &instances);
  if (status == kHsiOk) list.reset(instances);
  return status;
}

}  // namespace ORV
