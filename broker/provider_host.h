#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "broker/broker.h"
#include "broker/provider_library.h"

namespace orv::broker {

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

  /// Makes idle checks wait while a request is in providers.
  class Use {
   public:
    explicit Use(ProviderHost& host);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    ProviderHost& host_;
  };

  IdleOutcome idleCheck(const std::shared_ptr<BrokerState>& broker, bool filtersActive);
  std::vector<CleanupCall> terminate(const std::shared_ptr<BrokerState>& broker);
  void unloadLibraries();

  bool isShutDown() const { return shutDown_; }
  void setShutDown() { shutDown_ = true; }

 private:
  std::shared_ptr<ProviderLibrary> libraryOf(const RegistrationSection& registration);
  void createProviders(Section& section, LoadOutcome& outcome);
  std::vector<Section*> loadedSections();  // most recently loaded first
  void forget(Section& section);

  const Broker::Options& options_;
  std::deque<Section> sections_;  // never grows after construction
  std::atomic<bool> shutDown_{false};
  std::atomic<bool> idleCheckEnded_{false};

  std::mutex mutex_;  // guards the members below; never held while a provider runs
  std::map<std::string, std::shared_ptr<ProviderLibrary>> libraries_;
  std::size_t lastLoadOrder_ = 0;
  int users_ = 0;
  bool idleChecking_ = false;
  std::condition_variable idleCheckDone_;
};

/// "Instance", "Association", "Indication", "Method": as in the names of factories.
const char* kindName(ProviderKind kind);

/// Calls cleanup of the section's provider of that kind; 7 when there is none.
CMPIrc callCleanup(Section& section, ProviderKind kind, const CMPIContext* context,
                   bool terminating);

}  // namespace orv::broker
