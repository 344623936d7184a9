#include "broker/broker.h"

#include "broker/broker_state.h"
#include "broker/broker_tables.h"
#include "broker/requests.h"
#include "broker/strings.h"
#include "broker/thread_state.h"

namespace orv::broker {

std::string Report::toText() const {
  std::string out;
  const auto addPart = [&out](const char* label, const std::string& name) {
    if (!name.empty()) out += (out.empty() ? "" : ", ") + std::string(label) + " " + name;
  };
  addPart("provider", provider);
  addPart("class", className);
  addPart("property", property);
  return out.empty() ? what : out + ": " + what;
}

Broker::Broker(Options options) : state_(std::make_shared<BrokerState>(std::move(options))) {
  announceBroker(state_);
}

Broker::~Broker() { state_->indications.silenceAll(); }

Response Broker::request(const Request& request) { return runRequest(state_, request); }

Response Broker::enumerateInstanceNames(const std::string& nameSpace,
                                        const std::string& className) {
  return request(requestOf(Operation::kEnumerateInstanceNames, {"", nameSpace, className, {}}));
}

Response Broker::enumerateInstances(const std::string& nameSpace, const std::string& className,
                                    const PropertyList& properties) {
  return request(
      requestOf(Operation::kEnumerateInstances, {"", nameSpace, className, {}}, {}, properties));
}

Response Broker::getInstance(const ObjectPath& path, const PropertyList& properties) {
  return request(requestOf(Operation::kGetInstance, path, {}, properties));
}

Response Broker::associators(const ObjectPath& source, const AssociationFilter& filter,
                             const PropertyList& properties) {
  return request(requestOf(Operation::kAssociators, source, filter, properties));
}

Response Broker::associatorNames(const ObjectPath& source, const AssociationFilter& filter) {
  return request(requestOf(Operation::kAssociatorNames, source, filter));
}

Response Broker::references(const ObjectPath& source, const AssociationFilter& filter,
                            const PropertyList& properties) {
  return request(requestOf(Operation::kReferences, source, filter, properties));
}

Response Broker::referenceNames(const ObjectPath& source, const AssociationFilter& filter) {
  return request(requestOf(Operation::kReferenceNames, source, filter));
}

SubscribeResult Broker::subscribe(const IndicationFilter& filter, IndicationHandler handler) {
  SubscribeResult result;
  const auto problem = onRequestThread(
      state_, [&] { result = state_->indications.subscribe(*state_, filter, std::move(handler)); });
  return problem ? SubscribeResult{CMPI_RC_ERR_FAILED, problem, 0} : result;
}

Response Broker::unsubscribe(SubscriptionId id) {
  state_->indications.silence(id);
  Response response;
  const auto problem = onRequestThread(state_, [&] {
    const CMPIStatus outcome = state_->indications.remove(*state_, id);
    response.rc = outcome.rc;
    response.message = textOf(outcome.msg);
  });
  return problem ? Response{CMPI_RC_ERR_FAILED, problem, {}, {}} : response;
}

void Broker::shutdown() {
  ProviderHost& providers = state_->providers;
  providers.shutDown();
  onRequestThread(state_, [&] {
    visitOncePerKind(providers.loadedSections(), [&](Section& section, ProviderKind kind) {
      endProvider(state_, section, kind);
    });
  });
  state_->indications.silenceAll();
}

std::size_t Broker::contextReleaseCalls() const { return state_->contextReleaseCalls; }

const CMPIBroker* Broker::cmpi() {
  static const CMPIBroker record = {nullptr, brokerTable(), factoryTable(), serviceTable(),
                                    memoryTable()};
  return &record;
}

}  // namespace orv::broker
