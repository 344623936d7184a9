#include "broker/testing/test_broker.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <shared_mutex>
#include <thread>
#include <utility>

#include "broker/ask.h"
#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/heap.h"
#include "broker/indications.h"
#include "broker/request_context.h"
#include "broker/requests.h"
#include "broker/strings.h"
#include "broker/testing/reports.h"
#include "broker/thread_state.h"

namespace orv::broker {

struct TestBroker::Internals {
  Internals(std::function<void(const Report&)> onReport, ContextTable table)
      : log(std::move(onReport)), contextTable(table) {}

  ReportLog log;
  const ContextTable contextTable;
  std::shared_mutex life;  // shared by requests, exclusive for an idle check
  std::atomic<bool> idleCheckEnded{false};
  std::mutex mutex;  // guards subscriptions
  std::set<SubscriptionId> subscriptions;
};

namespace {

Route directRoute(BrokerState& broker, const Request& request, const std::string& providerName) {
  const bool association = isAssociationOperation(request.operation);
  for (Section& section : broker.providers.sections()) {
    const RegistrationSection& registration = section.registration;
    if (registration.provider == providerName &&
        (association ? registration.association : registration.instance)) {
      return {CMPI_RC_OK, "", {{&section, request.path.className}}};
    }
  }
  return {CMPI_RC_ERR_FAILED, "No section of provider " + providerName + " has that type.", {}};
}

/// Adds what was returned but does not reach the client.
void addDiscarded(const Answers& answers, TestResponse& response) {
  std::size_t instances = response.instances.size();
  std::size_t paths = response.paths.size();
  for (const Answer& answer : answers.answers) {
    for (const InstanceData& instance : answer.returned.instances) {
      if (instances > 0) {
        --instances;
      } else {
        response.discarded.instances.push_back(instance.toPlain());
      }
    }
    for (const PathData& path : answer.returned.paths) {
      if (paths > 0) {
        --paths;
      } else {
        response.discarded.paths.push_back(path.toPlain());
      }
    }
  }
}

void addAnswers(const Answers& answers, TestResponse& response) {
  for (const Answer& answer : answers.answers) {
    const ResultSink& returned = answer.returned;
    response.data.insert(response.data.end(), returned.data.begin(), returned.data.end());
    response.doneCount += returned.doneCount;
    response.answers.push_back({answer.provider, answer.className, answer.rc, answer.message,
                                returned.instances.size(), returned.paths.size(),
                                returned.doneCount});
  }
}

/// Whether all kinds of a section's provider have been cleaned up, in whatever section: it is then
/// forgotten. Deliberate (contract.md#cleanup-kinds).
bool allCleaned(const std::set<std::pair<const ProviderLibrary*, ProviderKind>>& cleaned,
                Section& section) {
  return std::all_of(std::begin(kProviderKinds), std::end(kProviderKinds), [&](ProviderKind kind) {
    return cleaned.count({section.library.get(), kind}) != 0 ||
           visitProvider(section, kind, [](const auto* mi) { return mi == nullptr; });
  });
}

void forget(Section& section) {
  section.loaded = false;
  section.enabled = false;
  for (const ProviderKind kind : kProviderKinds) {
    visitProvider(section, kind, [](auto*& mi) { mi = nullptr; });
  }
}

CleanupCall cleanupCall(const Section& section, CMPIrc answer) {
  return {section.registration.provider, section.registration.className, answer};
}

}  // namespace

TestBroker::TestBroker(Options options, std::shared_ptr<Internals> internals)
    : Broker([&] {
        options.onReport = [internals](const Report& report) { internals->log.add(report); };
        return std::move(options);
      }()),
      internals_(std::move(internals)) {
  decorateTables();
}

TestBroker::TestBroker(Options options, ContextTable contextTable)
    : TestBroker(options, std::make_shared<Internals>(options.onReport, contextTable)) {}

TestBroker::~TestBroker() { clearFaults(); }

TestResponse TestBroker::respond(const Request& request, const std::string* providerName) {
  TestResponse response;
  const std::shared_lock<std::shared_mutex> use(internals_->life);
  const auto problem = onRequestThread(state(), [&] {
    const ThreadReports reports;
    ClientQuestion question(request);
    Answers answers;
    if (providerName != nullptr) {
      answers = ask(*state(), directRoute(*state(), request, *providerName), question);
      static_cast<Response&>(response) = toResponse(answers);
    } else {
      answers = askForClient(*state(), request, question);
      static_cast<Response&>(response) = clientResponse(request.operation, answers);
    }
    addAnswers(answers, response);
    addDiscarded(answers, response);
    response.reports = reports.reports();
  });
  if (problem) {
    response.rc = CMPI_RC_ERR_FAILED;
    response.message = problem;
  }
  return response;
}

TestResponse TestBroker::request(const Request& request) { return respond(request, nullptr); }

TestResponse TestBroker::requestTo(const std::string& providerName, const Request& request) {
  return respond(request, &providerName);
}

TestResponse TestBroker::enumerateInstanceNames(const std::string& nameSpace,
                                                const std::string& className) {
  return request(requestOf(Operation::kEnumerateInstanceNames, {"", nameSpace, className, {}}));
}

TestResponse TestBroker::enumerateInstances(const std::string& nameSpace,
                                            const std::string& className,
                                            const PropertyList& properties) {
  return request(
      requestOf(Operation::kEnumerateInstances, {"", nameSpace, className, {}}, {}, properties));
}

TestResponse TestBroker::getInstance(const ObjectPath& path, const PropertyList& properties) {
  return request(requestOf(Operation::kGetInstance, path, {}, properties));
}

TestResponse TestBroker::associators(const ObjectPath& source, const AssociationFilter& filter,
                                     const PropertyList& properties) {
  return request(requestOf(Operation::kAssociators, source, filter, properties));
}

TestResponse TestBroker::associatorNames(const ObjectPath& source,
                                         const AssociationFilter& filter) {
  return request(requestOf(Operation::kAssociatorNames, source, filter));
}

TestResponse TestBroker::references(const ObjectPath& source, const AssociationFilter& filter,
                                    const PropertyList& properties) {
  return request(requestOf(Operation::kReferences, source, filter, properties));
}

TestResponse TestBroker::referenceNames(const ObjectPath& source, const AssociationFilter& filter) {
  return request(requestOf(Operation::kReferenceNames, source, filter));
}

SubscribeResult TestBroker::subscribe(const IndicationFilter& filter, IndicationHandler handler) {
  const std::shared_lock<std::shared_mutex> use(internals_->life);
  SubscribeResult result = Broker::subscribe(filter, std::move(handler));
  const std::lock_guard<std::mutex> lock(internals_->mutex);
  if (result.ok()) internals_->subscriptions.insert(result.id);
  return result;
}

Response TestBroker::unsubscribe(SubscriptionId id) {
  const std::shared_lock<std::shared_mutex> use(internals_->life);
  Response response = Broker::unsubscribe(id);
  const std::lock_guard<std::mutex> lock(internals_->mutex);
  internals_->subscriptions.erase(id);
  return response;
}

void TestBroker::disable(SubscriptionId id) {
  const std::shared_lock<std::shared_mutex> use(internals_->life);
  state()->indications.silence(id);
  onRequestThread(state(), [&] {
    for (Section* section : state()->providers.loadedSections()) {
      const std::string& provider = section->registration.provider;
      if (section->enabled) disableIndications(*section, makeRequestContext(*state(), provider, 0));
    }
  });
}

IdleOutcome TestBroker::idleCheck() {
  IdleOutcome outcome;
  const std::unique_lock<std::shared_mutex> alone(internals_->life, std::try_to_lock);
  const std::vector<Section*> loaded = state()->providers.loadedSections();
  {
    const std::lock_guard<std::mutex> lock(internals_->mutex);
    if (!internals_->subscriptions.empty()) return outcome;
  }
  if (!alone || loaded.empty() || internals_->idleCheckEnded) return outcome;
  if (loaded.back()->registration.unloadNever) return outcome;  // the first one that was loaded
  outcome.asked = true;
  bool stays = false;
  std::set<std::pair<const ProviderLibrary*, ProviderKind>> cleaned;
  onRequestThread(state(), [&] {
    visitOncePerKind(loaded, [&](Section& section, ProviderKind kind) {
      const CMPIrc answer = callCleanup(section, kind, makeCleanupContext(state(), section), false);
      outcome.calls.push_back(cleanupCall(section, answer));
      if (answer == CMPI_RC_OK) {
        cleaned.insert({section.library.get(), kind});
        return;
      }
      stays = true;
      if (answer != CMPI_RC_DO_NOT_UNLOAD) internals_->idleCheckEnded = true;
    });
  });
  outcome.asksAgain = stays && !internals_->idleCheckEnded;
  outcome.exits = !stays;
  for (Section* section : loaded) {
    if (allCleaned(cleaned, *section)) forget(*section);
  }
  return outcome;
}

std::vector<CleanupCall> TestBroker::endProviders() {
  std::vector<CleanupCall> calls;
  onRequestThread(state(), [&] {
    visitOncePerKind(state()->providers.loadedSections(), [&](Section& section, ProviderKind kind) {
      calls.push_back(cleanupCall(section, endProvider(state(), section, kind)));
    });
  });
  return calls;
}

ShutdownOutcome TestBroker::shutdown(bool concurrentSecondWalk) {
  state()->providers.shutDown();
  ShutdownOutcome outcome;
  std::thread first([&] { outcome.calls = endProviders(); });
  if (concurrentSecondWalk) outcome.secondCalls = endProviders();
  first.join();
  state()->indications.silenceAll();
  return outcome;
}

void TestBroker::forgetProviders() {
  const std::unique_lock<std::shared_mutex> alone(internals_->life);
  for (Section* section : state()->providers.loadedSections()) forget(*section);
}

void TestBroker::inject(Fault fault) { armFault(*state(), std::move(fault)); }
void TestBroker::clearFaults() { disarmFaults(*state()); }
std::size_t TestBroker::faultsToCome() const { return broker::faultsToCome(*state()); }
std::vector<Report> TestBroker::reports() const { return internals_->log.all(); }
void TestBroker::clearReports() { internals_->log.clear(); }
ContextTable TestBroker::contextTable() const { return internals_->contextTable; }

std::size_t TestBroker::liveObjects() { return HeapEntry::countAlive(); }
std::size_t TestBroker::liveContexts() { return ContextObject::countAlive(); }
std::size_t TestBroker::liveObjectsOfThisThread() { return ThreadHeap::ofThisThread().size(); }

}  // namespace orv::broker
