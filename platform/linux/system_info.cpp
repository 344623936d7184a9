#include "platform/system_info.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>

#include "platform/linux/host_nodes.h"
#include "platform/linux/host_view.h"
#include "platform/param_list.h"
#include "platform/thread_slot.h"

namespace {

using LinuxHost::Bytes;
using LinuxHost::HostNode;
using LinuxHost::HostView;
using LinuxHost::Parameters;

constexpr HSI_Status kOk = 0;
constexpr HSI_Status kFailed = 1;
constexpr int kSignature = 21;

/// The view of the query that the calling thread is at.
HostView& currentView() {
  static platform::ThreadSlot<HostView> view;
  return view.get();
}

const Parameters& parametersOf(const HSI_ParamList* list) {
  static const Parameters none;
  return list == nullptr ? none : list->parameters;
}

}  // namespace

HSI_Status HSI_CheckSig(int signature) try {
  if (signature != kSignature) return kFailed;
  currentView() = HostView();
  return kOk;
} catch (const std::exception&) {
  return kFailed;
}

HSI_Status HSI_Get(std::uint32_t node, const HSI_ParamList* parameters, void* value,
                   std::size_t size) try {
  const HostNode* found = LinuxHost::findHostNode(node);
  if (found == nullptr || found->read == nullptr || value == nullptr || size != found->valueSize) {
    return kFailed;
  }
  const auto bytes = found->read(currentView(), parametersOf(parameters));
  if (!bytes) return kFailed;
  std::copy(bytes->begin(), bytes->end(), static_cast<unsigned char*>(value));
  return kOk;
} catch (const std::exception&) {
  return kFailed;
}

HSI_Status HSI_GetInstanceListAlloc(std::uint32_t node, const HSI_ParamList* parameters,
                                    HSI_ParamList** list) try {
  const HostNode* found = LinuxHost::findHostNode(node);
  if (found == nullptr || found->list == nullptr || list == nullptr) return kFailed;
  auto instances = found->list(currentView(), parametersOf(parameters));
  if (!instances) return kFailed;
  auto answer = std::make_unique<HSI_ParamList>();
  answer->parameters = std::move(*instances);
  *list = answer.release();  // freed by HSI_ParamListDestroy
  return kOk;
} catch (const std::exception&) {
  return kFailed;
}
