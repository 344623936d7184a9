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

/// In the order in which factories and cleanups are called.
enum class ProviderKind { kInstance, kAssociation, kMethod, kIndication };
constexpr ProviderKind kProviderKinds[] = {ProviderKind::kInstance, ProviderKind::kAssociation,
                                           ProviderKind::kMethod, ProviderKind::kIndication};

/// A registration section and, once it was asked for, its providers.
struct Section {
  RegistrationSection registration;
  std::size_t index = 0;

  // Written under the provider's factory mutex before `loaded` is set.
  std::shared_ptr<ProviderLibrary> library;
  CMPIInstanceMI* instance = nullptr;
  CMPIAssociationMI* association = nullptr;
  CMPIIndicationMI* indication = nullptr;
  CMPIMethodMI* method = nullptr;
  bool loading = false;       // in a factory, for the thread that holds that mutex
  std::size_t loadOrder = 0;  // 1 for the first section that was loaded
  std::atomic<bool> loaded{false};
  std::atomic<bool> enabled{false};  // enableIndications has been called
};

struct LoadOutcome {
  CMPIrc rc = CMPI_RC_OK;
  std::string message;
};

/// Sections, libraries and the life of providers. Any thread.
class ProviderHost {
 public:
  explicit ProviderHost(const Broker::Options& options);

  std::deque<Section>& sections() { return sections_; }

  /// Loads the library and calls the factory of every type of the section, once, in the order
  /// instance, association, method, indication; one factory of a provider name at a time. What
  /// failed is tried again next time. The calling thread must be a request's.
  LoadOutcome load(Section& section);

  /// Sections whose providers are there, most recently loaded first.
  std::vector<Section*> loadedSections();
  /// Refuses to load anything from now on.
  void shutDown() { shutDown_ = true; }

 private:
  std::shared_ptr<ProviderLibrary> libraryOf(const RegistrationSection& registration);
  void createProviders(Section& section, LoadOutcome& outcome);

  const Broker::Options& options_;
  std::deque<Section> sections_;  // never grows after construction
  std::atomic<bool> shutDown_{false};

  std::mutex mutex_;  // guards the members below; never held while a provider runs
  std::map<std::string, std::shared_ptr<ProviderLibrary>> libraries_;
  std::size_t lastLoadOrder_ = 0;
};

/// "Instance", "Association", "Method", "Indication": as in the names of factories.
const char* kindName(ProviderKind kind);

/// Calls cleanup of the section's provider of that kind; 7 when there is none.
CMPIrc callCleanup(Section& section, ProviderKind kind, const CMPIContext* context,
                   bool terminating);

/// A context for cleanup, in the calling thread's memory. It holds nothing, not even the principal.
CMPIContext* makeCleanupContext(const std::shared_ptr<BrokerState>& broker, const Section& section);

/// Visits one provider of each kind of each library, in the order of the sections: the object
/// manager takes the first object of a kind that it meets for all of that library.
void visitOncePerKind(const std::vector<Section*>& sections,
                      const std::function<void(Section&, ProviderKind)>& visit);

/// disableIndications and the terminating cleanup of one provider. Answers the cleanup's status.
CMPIrc endProvider(const std::shared_ptr<BrokerState>& broker, Section& section, ProviderKind kind);

}  // namespace orv::broker
