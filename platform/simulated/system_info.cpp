#include "platform/system_info.h"

#include <exception>

#include "platform/simulated/host_file.h"
#include "platform/simulated/hsi_nodes.h"
#include "platform/thread_slot.h"

namespace {

/// The host that the thread's query sees; null before its first HSI_CheckSig and after one that
/// failed.
std::shared_ptr<const simulated::SimulatedHost>& queriedHost() {
  static platform::ThreadSlot<std::shared_ptr<const simulated::SimulatedHost>> view;
  return view.get();
}

}  // namespace

HSI_Status HSI_CheckSig(int signature) try {
  queriedHost().reset();
  if (signature != kHsiSignature) return kHsiFailed;
  auto host = simulated::loadHost();
  if (host == nullptr || !host->hsi.signatureOk) return kHsiFailed;
  queriedHost() = std::move(host);
  return kHsiOk;
} catch (const std::exception&) {
  return kHsiFailed;
}

HSI_Status HSI_Get(std::uint32_t node, const HSI_ParamList* parameters, void* value,
                   std::size_t size) try {
  const auto& view = queriedHost();
  return view == nullptr ? kHsiFailed : simulated::readNode(*view, node, parameters, value, size);
} catch (const std::exception&) {
  return kHsiFailed;
}

HSI_Status HSI_GetInstanceListAlloc(std::uint32_t node, const HSI_ParamList* parameters,
                                    HSI_ParamList** list) try {
  const auto& view = queriedHost();
  return view == nullptr ? kHsiFailed : simulated::listNode(*view, node, parameters, list);
} catch (const std::exception&) {
  return kHsiFailed;
}
