#include <set>
#include <utility>

#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/heap.h"
#include "broker/indications.h"
#include "broker/provider_host.h"
#include "broker/thread_state.h"

/// Ends providers.
namespace orv::broker {

CMPIContext* makeCleanupContext(const std::shared_ptr<BrokerState>& broker,
                                const Section& section) {
  return makeObject<ContextObject>(ContextObject::Purpose::kCleanup, broker,
                                   section.registration.provider);
}

void visitOncePerKind(const std::vector<Section*>& sections,
                      const std::function<void(Section&, ProviderKind)>& visit) {
  std::set<std::pair<const ProviderLibrary*, ProviderKind>> visited;
  for (Section* section : sections) {
    for (const ProviderKind kind : kProviderKinds) {
      const bool has = visitProvider(*section, kind, [](const auto* mi) { return mi != nullptr; });
      if (has && visited.insert({section->library.get(), kind}).second) visit(*section, kind);
    }
  }
}

CMPIrc endProvider(const std::shared_ptr<BrokerState>& broker, Section& section,
                   ProviderKind kind) {
  const CMPIContext* context = makeCleanupContext(broker, section);
  if (kind == ProviderKind::kIndication) disableIndications(section, context);
  return callCleanup(section, kind, context, true);
}

}  // namespace orv::broker
