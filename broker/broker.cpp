#include "broker/broker.h"

#include <thread>

#include "broker/broker_state.h"
#include "broker/broker_tables.h"
#include "broker/heap.h"
#include "broker/requests.h"
#include "broker/strings.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

Request makeRequest(Operation operation, const std::string& nameSpace,
                    const std::string& className) {
  Request request;
  request.operation = operation;
  request.path.nameSpace = nameSpace;
  request.path.className = className;
  return request;
}

Request makeAssociationRequest(Operation operation, const ObjectPath& source,
                               const AssociationFilter& filter,
                               const PropertyList& properties = std::nullopt) {
  Request request;
  request.operation = operation;
  request.path = source;
  request.filter = filter;
  request.properties = properties;
  return request;
}

/// Runs a change of subscriptions as a request and answers its status.
Response runChange(const std::shared_ptr<BrokerState>& broker,
                   const std::function<CMPIStatus()>& change) {
  Response response;
  std::vector<Report> reports;
  const auto problem = onRequestThread(
      broker,
      [&] {
        const ProviderHost::Use use(broker->providers);
        const CMPIStatus outcome = change();
        response.rc = outcome.rc;
        response.message = textOf(outcome.msg);
      },
      reports);
  if (problem) {
    response.rc = CMPI_RC_ERR_FAILED;
    response.message = problem;
  }
  response.reports = std::move(reports);
  return response;
}

}  // namespace

Broker::Broker(Options options) : state_(std::make_shared<BrokerState>(std::move(options))) {
  announceBroker(state_);
}

Broker::~Broker() { state_->indications.silenceAll(); }

Response Broker::request(const Request& request) {
  return runRequest(state_, request, std::nullopt);
}

Response Broker::requestTo(const std::string& providerName, const Request& request) {
  return runRequest(state_, request, providerName);
}

Response Broker::enumerateInstanceNames(const std::string& nameSpace,
                                        const std::string& className) {
  return request(makeRequest(Operation::kEnumerateInstanceNames, nameSpace, className));
}

Response Broker::enumerateInstances(const std::string& nameSpace, const std::string& className,
                                    const PropertyList& properties) {
  Request wanted = makeRequest(Operation::kEnumerateInstances, nameSpace, className);
  wanted.properties = properties;
  return request(wanted);
}

Response Broker::getInstance(const ObjectPath& path, const PropertyList& properties) {
  return request(makeAssociationRequest(Operation::kGetInstance, path, {}, properties));
}

Response Broker::associators(const ObjectPath& source, const AssociationFilter& filter,
                             const PropertyList& properties) {
  return request(makeAssociationRequest(Operation::kAssociators, source, filter, properties));
}

Response Broker::associatorNames(const ObjectPath& source, const AssociationFilter& filter) {
  return request(makeAssociationRequest(Operation::kAssociatorNames, source, filter));
}

Response Broker::references(const ObjectPath& source, const AssociationFilter& filter,
                            const PropertyList& properties) {
  return request(makeAssociationRequest(Operation::kReferences, source, filter, properties));
}

Response Broker::referenceNames(const ObjectPath& source, const AssociationFilter& filter) {
  return request(makeAssociationRequest(Operation::kReferenceNames, source, filter));
}

SubscribeResult Broker::subscribe(const IndicationFilter& filter, IndicationHandler handler) {
  SubscribeResult result;
  std::vector<Report> reports;
  const auto problem = onRequestThread(
      state_,
      [&] {
        const ProviderHost::Use use(state_->providers);
        result = state_->indications.subscribe(*state_, filter, std::move(handler));
      },
      reports);
  if (problem) {
    result.rc = CMPI_RC_ERR_FAILED;
    result.message = problem;
  }
  result.reports = std::move(reports);
  return result;
}

Response Broker::unsubscribe(SubscriptionId id) {
  state_->indications.silence(id);
  return runChange(state_, [&] { return state_->indications.remove(*state_, id); });
}

Response Broker::disable(SubscriptionId id) {
  state_->indications.silence(id);
  return runChange(state_, [&] { return state_->indications.disable(*state_, id); });
}

IdleOutcome Broker::idleCheck() {
  IdleOutcome outcome;
  std::thread([&] {
    outcome = state_->providers.idleCheck(state_, state_->indications.hasFilters());
  }).join();
  return outcome;
}

ShutdownOutcome Broker::shutdown(bool concurrentSecondWalk) {
  state_->providers.setShutDown();
  ShutdownOutcome outcome;
  std::thread first([&] { outcome.calls = state_->providers.terminate(state_); });
  if (concurrentSecondWalk) {
    std::thread([&] { outcome.secondCalls = state_->providers.terminate(state_); }).join();
  }
  first.join();
  state_->indications.silenceAll();
  return outcome;
}

void Broker::unloadLibraries() { state_->providers.unloadLibraries(); }

void Broker::inject(Fault fault) { state_->diagnostics.arm(std::move(fault)); }
void Broker::clearFaults() { state_->diagnostics.disarm(); }
std::vector<Report> Broker::reports() const { return state_->diagnostics.reports(); }
void Broker::clearReports() { state_->diagnostics.clearReports(); }
std::size_t Broker::contextReleaseCalls() const { return state_->contextReleaseCalls; }

LiveObjects Broker::liveObjects() { return countLiveObjects(); }
std::size_t Broker::liveObjectsOfThisThread() { return ThreadHeap::ofThisThread().size(); }

const CMPIBroker* Broker::cmpi() {
  static const CMPIBroker record = {nullptr, brokerTable(), factoryTable(), serviceTable(),
                                    memoryTable()};
  return &record;
}

}  // namespace orv::broker
