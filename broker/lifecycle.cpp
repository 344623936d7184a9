#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/heap.h"
#include "broker/provider_host.h"
#include "broker/thread_state.h"

/// The two walks through the loaded sections: the idle check and the end of the process.
namespace orv::broker {
namespace {

constexpr ProviderKind kWalkOrder[] = {ProviderKind::kInstance, ProviderKind::kAssociation,
                                       ProviderKind::kMethod, ProviderKind::kIndication};

bool has(const Section& section, ProviderKind kind) {
  switch (kind) {
    case ProviderKind::kInstance:
      return section.instance != nullptr;
    case ProviderKind::kAssociation:
      return section.association != nullptr;
    case ProviderKind::kIndication:
      return section.indication != nullptr;
    default:
      return section.method != nullptr;
  }
}

/// Contexts of cleanup calls hold nothing, not even the principal.
CMPIContext* makeCleanupContext(const std::shared_ptr<BrokerState>& broker,
                                const Section& section) {
  return makeObject<ContextObject>(ContextObject::Purpose::kCleanup, broker,
                                   section.registration.provider, broker->options.contextTable);
}

using KindsOfLibraries = std::set<std::pair<const ProviderLibrary*, ProviderKind>>;

bool allIn(const KindsOfLibraries& cleaned, const Section& section) {
  return std::all_of(std::begin(kWalkOrder), std::end(kWalkOrder), [&](ProviderKind kind) {
    return !has(section, kind) || cleaned.count({section.library.get(), kind}) != 0;
  });
}

}  // namespace

IdleOutcome ProviderHost::idleCheck(const std::shared_ptr<BrokerState>& broker,
                                    bool filtersActive) {
  IdleOutcome outcome;
  const std::vector<Section*> loaded = loadedSections();
  if (loaded.empty() || filtersActive || idleCheckEnded_) return outcome;
  if (loaded.back()->registration.unloadNever) return outcome;  // the first one that was served
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (users_ > 0 || idleChecking_) return outcome;
    idleChecking_ = true;
  }
  outcome.asked = true;
  const ThreadBinding binding(broker);
  const HeapScope memory;
  KindsOfLibraries asked;
  KindsOfLibraries cleaned;
  bool stays = false;
  for (Section* section : loaded) {
    for (const ProviderKind kind : kWalkOrder) {
      if (!has(*section, kind) || !asked.insert({section->library.get(), kind}).second) continue;
      const CMPIContext* context = makeCleanupContext(broker, *section);
      const CMPIrc answer = callCleanup(*section, kind, context, false);
      outcome.calls.push_back(
          {section->registration.provider, section->registration.className, kind, answer});
      if (answer == CMPI_RC_OK) {
        cleaned.insert({section->library.get(), kind});
        continue;
      }
      stays = true;
      if (answer != CMPI_RC_DO_NOT_UNLOAD) idleCheckEnded_ = true;
    }
  }
  outcome.asksAgain = stays && !idleCheckEnded_;
  outcome.exits = !stays;
  // Deliberate: a section that was not asked counts as cleaned when another of its library was.
  for (Section* section : loaded) {
    if (allIn(cleaned, *section)) forget(*section);
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  idleChecking_ = false;
  idleCheckDone_.notify_all();
  return outcome;
}

std::vector<CleanupCall> ProviderHost::terminate(const std::shared_ptr<BrokerState>& broker) {
  std::vector<CleanupCall> calls;
  const ThreadBinding binding(broker);
  const HeapScope memory;
  KindsOfLibraries asked;
  for (Section* section : loadedSections()) {
    for (const ProviderKind kind : kWalkOrder) {
      if (!has(*section, kind) || !asked.insert({section->library.get(), kind}).second) continue;
      const CMPIContext* context = makeCleanupContext(broker, *section);
      if (kind == ProviderKind::kIndication) disableIndications(*section, context);
      const CMPIrc answer = callCleanup(*section, kind, context, true);
      calls.push_back(
          {section->registration.provider, section->registration.className, kind, answer});
    }
  }
  return calls;
}

}  // namespace orv::broker
