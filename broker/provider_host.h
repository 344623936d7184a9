#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "broker/broker.h"
#include "broker/provider_library.h"

namespace orv::broker {

/// Kinds of providers, in the order in which factories and cleanups are called.
enum class ProviderKind { kInstance, kAssociation, kMethod, kIndication };
constexpr ProviderKind kProviderKinds[] = {ProviderKind::kInstance, ProviderKind::kAssociation,
                                           ProviderKind::kMethod, ProviderKind::kIndication};

/// A registration section and, once it has been needed, its providers.
struct Section {
  RegistrationSection registration;

  // Written under the provider's factory mutex before `loaded` is set.
  std::shared_ptr<ProviderLibrary> library;
  CMPIInstanceMI* instance = nullptr;
  CMPIAssociationMI* association = nullptr;
  CMPIIndicationMI* indication = nullptr;
  CMPIMethodMI* method = nullptr;
  bool loading = false;       // the thread that holds that mutex is in a factory
  std::size_t loadOrder = 0;  // 1 for the section that was loaded first
  std::atomic<bool> loaded{false};
  std::atomic<bool> enabled{false};  // enableIndications has been called
};

/// Calls `visit` with the pointer to the section's provider of that kind; null when there is none.
template <class Visit>
auto visitProvider(Section& section, ProviderKind kind, Visit visit) {
  switch (kind) {
    case ProviderKind::kInstance:
      return visit(section.instance);
    case ProviderKind::kAssociation:
      return visit(section.association);
    case ProviderKind::kMethod:
      return visit(section.method);
    default:
      return visit(section.indication);
  }
}

struct LoadOutcome {
  CMPIrc rc = CMPI_RC_OK;
  std::string message;
};

/// Sections, libraries, and loading of providers. Thread-safe.
class ProviderHost {
 public:
  explicit ProviderHost(const Broker::Options& options);

  std::deque<Section>& sections() { return sections_; }

  /// Loads the library and calls the factories of the section's types once, in the order instance,
  /// association, method, indication; one factory of a provider name at a time. Whatever fails is
  /// tried again at the next call. Called in a request's thread.
  LoadOutcome load(Section& section);

  /// The loaded sections, the most recently loaded first.
  std::vector<Section*> loadedSections();
  /// From now on load() fails.
  void shutDown() { shutDown_ = true; }

 private:
  std::shared_ptr<ProviderLibrary> libraryOf(const RegistrationSection& registration);
  void createProviders(Section& section, LoadOutcome& outcome);

  const Broker::Options& options_;
  std::deque<Section> sections_;  // never grows after construction
  std::atomic<bool> shutDown_{false};

  std::mutex mutex_;  // guards the members below; not held during calls of providers
  std::map<std::string, std::shared_ptr<ProviderLibrary>> libraries_;
  std::size_t lastLoadOrder_ = 0;
};

/// Calls cleanup of the section's provider of that kind and returns its status; 7 when there is
/// none.
CMPIrc callCleanup(Section& section, ProviderKind kind, const CMPIContext* context,
                   bool terminating);

/// A context for cleanup, in the calling thread's memory. It is empty, without even the principal.
CMPIContext* makeCleanupContext(const std::shared_ptr<BrokerState>& broker, const Section& section);

/// Visits one provider per kind and library, in the order of the sections: the object manager takes
/// the first object of a kind that it finds for all of that library.
void visitOncePerKind(const std::vector<Section*>& sections,
                      const std::function<void(Section&, ProviderKind)>& visit);

/// Calls the terminating cleanup of one provider, and disableIndications before it for an
/// indication provider. Returns the cleanup's status.
CMPIrc endProvider(const std::shared_ptr<BrokerState>& broker, Section& section, ProviderKind kind);

}  // namespace orv::broker
