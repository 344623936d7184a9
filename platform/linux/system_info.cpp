#include "platform/system_info.h"

#include <exception>

#include "platform/linux/host_nodes.h"
#include "platform/linux/host_view.h"
#include "platform/thread_slot.h"

namespace {

using LinuxHost::HostView;

/// The view of the host that the calling thread's query uses.
HostView& currentView() {
  static platform::ThreadSlot<HostView> view;
  return view.get();
}

}  // namespace

HSI_Status HSI_CheckSig(int signature) try {
  if (signature != kHsiSignature) return kHsiFailed;
  currentView() = HostView();
  return kHsiOk;
} catch (const std::exception&) {
  return kHsiFailed;
}

HSI_Status HSI_Get(std::uint32_t node, const HSI_ParamList* parameters, void* value,
                   std::size_t size) try {
  return LinuxHost::readNode(currentView(), node, parameters, value, size);
} catch (const std::exception&) {
  return kHsiFailed;
}

HSI_Status HSI_GetInstanceListAlloc(std::uint32_t node, const HSI_ParamList* parameters,
                                    HSI_ParamList** list) try {
  return LinuxHost::listNode(currentView(), node, parameters, list);
} catch (const std::exception&) {
  return kHsiFailed;
}
