#include "broker/provider_host.h"

#include <algorithm>
#include <type_traits>

#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/heap.h"
#include "broker/strings.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

struct KindRow {
  const char* factory;                // end of the factory's symbol, after the provider's name
  bool RegistrationSection::*wanted;  // the type of a registration
};

// In the order of ProviderKind.
constexpr KindRow kKindRows[] = {{"_Create_InstanceMI", &RegistrationSection::instance},
                                 {"_Create_AssociationMI", &RegistrationSection::association},
                                 {"_Create_MethodMI", &RegistrationSection::method},
                                 {"_Create_IndicationMI", &RegistrationSection::indication}};

const KindRow& rowOf(ProviderKind kind) { return kKindRows[static_cast<std::size_t>(kind)]; }

/// A context like a request's, with the additional entries that factories get.
CMPIContext* makeFactoryContext(const RegistrationSection& registration) {
  const auto broker = currentBroker();
  auto* context =
      makeObject<ContextObject>(ContextObject::Purpose::kFactory, broker, registration.provider);
  setContextEntry(*context, CMPIInvocationFlags, Value::ofUnsigned(CMPI_uint32, 0));
  setContextEntry(*context, CMPIPrincipal, Value::ofString("$$"));
  setContextEntry(*context, "CMPISessionId", Value::ofUnsigned(CMPI_uint32, ++broker->lastSession));
  if (!registration.parameters.empty()) {
    setContextEntry(*context, "sfcbProviderParameters", Value::ofString(registration.parameters));
  }
  return context;
}

/// Calls one factory: the generic one with the provider's name, or the provider's own.
template <class Mi>
Mi* callFactory(void* generic, void* own, const std::string& provider, const CMPIContext* context,
                CMPIStatus* rc) {
  using Generic = Mi* (*)(const CMPIBroker*, const CMPIContext*, const char*, CMPIStatus*);
  using Own = Mi* (*)(const CMPIBroker*, const CMPIContext*, CMPIStatus*);
  if (generic != nullptr) {
    return reinterpret_cast<Generic>(generic)(Broker::cmpi(), context, provider.c_str(), rc);
  }
  return reinterpret_cast<Own>(own)(Broker::cmpi(), context, rc);
}

/// Creates one provider of a section. Null on failure, with a report where it is the provider's
/// fault.
template <class Mi>
Mi* createProvider(Section& section, ProviderKind kind, const CMPIContext* context) {
  const std::string& provider = section.registration.provider;
  const char* factory = rowOf(kind).factory;
  void* own = section.library->symbol(provider + factory);
  void* generic = section.library->symbol(std::string("_Generic") + factory);
  if (own == nullptr && generic == nullptr) {
    report("", "", section.library->file() + " has no factory " + provider + factory);
    return nullptr;
  }
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  Mi* made = nullptr;
  try {
    made = callFactory<Mi>(generic, own, provider, context, &rc);
  } catch (...) {
    reportException("the factory");
  }
  if (rc.rc != CMPI_RC_OK) return nullptr;
  if (made != nullptr && made->ft == nullptr) {
    report("", "", "the factory answers a record without a function table: a crash");
    return nullptr;
  }
  return made;
}

/// Marks a section whose factories are being called, also when an exception ends that.
class Loading {
 public:
  explicit Loading(Section& section) : section_(section) { section_.loading = true; }
  ~Loading() { section_.loading = false; }
  Loading(const Loading&) = delete;
  Loading& operator=(const Loading&) = delete;

 private:
  Section& section_;
};

}  // namespace

CMPIrc callCleanup(Section& section, ProviderKind kind, const CMPIContext* context,
                   bool terminating) {
  const ProviderFrame frame(section.registration.provider, section.registration.className);
  try {
    return visitProvider(section, kind, [&](auto* mi) -> CMPIrc {
      if (mi == nullptr || mi->ft->cleanup == nullptr) return CMPI_RC_ERR_NOT_SUPPORTED;
      return mi->ft->cleanup(mi, context, terminating ? 1 : 0).rc;
    });
  } catch (...) {
    report("", "", "an exception leaves cleanup: ends the process");
    return CMPI_RC_ERR_FAILED;
  }
}

ProviderHost::ProviderHost(const Broker::Options& options) : options_(options) {
  for (const RegistrationSection& registration : options.registration) {
    sections_.emplace_back().registration = registration;
  }
}

std::shared_ptr<ProviderLibrary> ProviderHost::libraryOf(const RegistrationSection& registration) {
  const std::string file = libraryFile(options_, registration.location);
  const std::lock_guard<std::mutex> lock(mutex_);
  auto& library = libraries_[file];
  if (!library) library = std::make_shared<ProviderLibrary>(file, options_.linkedFactories);
  return library;
}

LoadOutcome ProviderHost::load(Section& section) {
  LoadOutcome outcome;
  if (shutDown_) return {CMPI_RC_ERR_FAILED, "The broker has been shut down."};
  if (section.loaded) return outcome;
  const ProviderFrame frame(section.registration.provider, section.registration.className);
  const auto library = libraryOf(section.registration);
  const std::lock_guard<std::recursive_mutex> lock(
      library->factoryMutex(section.registration.provider));
  if (section.loaded) return outcome;
  if (section.loading) {
    report("", "", "an up-call from a factory comes back to its own class: a deadlock");
    return {CMPI_RC_ERR_FAILED, "The provider is being initialized."};
  }
  section.library = library;
  const Loading loading(section);
  createProviders(section, outcome);
  if (outcome.rc != CMPI_RC_OK) return outcome;
  const std::lock_guard<std::mutex> orderLock(mutex_);
  section.loadOrder = ++lastLoadOrder_;
  section.loaded = true;
  return outcome;
}

void ProviderHost::createProviders(Section& section, LoadOutcome& outcome) {
  const RegistrationSection& registration = section.registration;
  for (const ProviderKind kind : kProviderKinds) {
    const KindRow& row = rowOf(kind);
    const bool linked = section.library->isLinked(registration.provider + row.factory);
    if (!(registration.*row.wanted) || linked) continue;
    const std::string problem = section.library->open();
    if (problem.empty()) continue;
    outcome = {CMPI_RC_ERR_FAILED,
               "*** Failed to load " + section.library->file() + ": " + problem};
    return;
  }
  const CMPIContext* context = makeFactoryContext(registration);
  bool complete = true;
  for (const ProviderKind kind : kProviderKinds) {
    visitProvider(section, kind, [&](auto*& mi) {
      if (!(registration.*rowOf(kind).wanted) || !complete || mi != nullptr) return;
      mi =
          createProvider<std::remove_pointer_t<std::decay_t<decltype(mi)>>>(section, kind, context);
      complete = mi != nullptr;
    });
  }
  if (complete) return;
  outcome = {CMPI_RC_ERR_FAILED, "Error initializing provider " + registration.provider + " from " +
                                     registration.location + " for class " +
                                     registration.className + "."};
}

std::vector<Section*> ProviderHost::loadedSections() {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Section*> loaded;
  for (Section& section : sections_) {
    if (section.loaded) loaded.push_back(&section);
  }
  std::sort(loaded.begin(), loaded.end(),
            [](const Section* a, const Section* b) { return a->loadOrder > b->loadOrder; });
  return loaded;
}

}  // namespace orv::broker
