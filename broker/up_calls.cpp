#include "broker/up_calls.h"

#include <optional>
#include <utility>

#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/enumerations.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/results.h"
#include "broker/router.h"
#include "broker/strings.h"
#include "broker/thread_state.h"
#include "broker/wql.h"

namespace orv::broker {
namespace {

/// What all asked providers answered together; the first failure is the status.
struct Outcome {
  CMPIrc rc = CMPI_RC_OK;
  std::optional<std::string> message;
  ResultSink sink;
  bool asked = false;  // a provider has answered
};

Outcome failed(CMPIrc rc, std::optional<std::string> message = std::nullopt) {
  return {rc, std::move(message), {}, false};
}

/// A context that up-calls can be made on.
const ContextObject* usableContext(const CMPIContext* record) {
  const ContextObject* context = liveContext(record, "an up-call");
  if (context == nullptr) return nullptr;
  if (contextEntry(*context, CMPIPrincipal) != nullptr) return context;
  report("", "", "an up-call on the context of a cleanup: reads a principal that is not there");
  return nullptr;
}

RouteQuery routeQuery(const BrokerState& broker, Operation operation, const PathData& path,
                      const CallArguments& arguments) {
  RouteQuery query{operation, path.nameSpace.value_or(""), path.className.value_or(""), "",
                   broker.options.askEveryAssociationSection};
  const bool references =
      operation == Operation::kReferences || operation == Operation::kReferenceNames;
  const char* assocClass = references ? arguments.resultClass : arguments.assocClass;
  if (isAssociationOperation(operation)) query.assocClass = textOf(assocClass).value_or("");
  return query;
}

void askTarget(BrokerState& broker, const Target& target, Operation operation,
               const CMPIContext* context, const PathData& path, const CallArguments& arguments,
               Outcome& outcome) {
  const ProviderHost::Use use(broker.providers);
  const LoadOutcome loaded = broker.providers.load(*target.section);
  if (loaded.rc != CMPI_RC_OK) {
    if (outcome.rc == CMPI_RC_OK) {
      outcome.rc = loaded.rc;
      outcome.message = loaded.message;
    }
    return;
  }
  const ProviderFrame frame(target.section->registration.provider, target.className);
  const bool get = operation == Operation::kGetInstance;
  const CMPIResult* result =
      makeResult(outcome.sink, get ? ResultUse::kUpCallGet : ResultUse::kUpCallEnumeration);
  PathData ownPath = path;
  ownPath.className = target.className;
  const CMPIStatus answered = callProvider(*target.section, operation, context, result,
                                           makePath(std::move(ownPath)), arguments);
  if (answered.rc == CMPI_RC_OK || outcome.rc != CMPI_RC_OK) return;
  outcome.rc = answered.rc;
  outcome.message = textOf(answered.msg);
}

Outcome ask(Operation operation, const CMPIContext* contextRecord, const CMPIObjectPath* pathRecord,
            const CallArguments& arguments) {
  const ContextObject* context = usableContext(contextRecord);
  if (context == nullptr) return failed(CMPI_RC_ERR_INVALID_HANDLE);
  if (pathRecord == nullptr) {
    report("", "", "an up-call without an object path: a crash");
    return failed(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  const PathObject* path = ownPath(pathRecord);
  if (path == nullptr) return failed(CMPI_RC_ERR_INVALID_HANDLE);
  auto broker = context->broker.lock();
  if (!broker) broker = currentBroker();
  if (!broker) return failed(CMPI_RC_ERR_FAILED, "The broker is gone.");
  const BrokerBinding binding(broker);
  const RouteQuery query = routeQuery(*broker, operation, path->data, arguments);
  const Route way =
      route(query, broker->classes(query.nameSpace).get(), broker->providers.sections());
  if (way.rc != CMPI_RC_OK) return failed(way.rc, way.message);
  if (way.targets.empty() && operation == Operation::kGetInstance) {
    return failed(CMPI_RC_ERR_NOT_FOUND);
  }
  Outcome outcome;
  outcome.asked = !way.targets.empty();
  for (const Target& target : way.targets) {
    askTarget(*broker, target, operation, contextRecord, path->data, arguments, outcome);
  }
  return outcome;
}

void answerWith(CMPIStatus* out, const Outcome& outcome, bool withText) {
  if (out == nullptr) return;
  *out = withText && outcome.message ? status(outcome.rc, *outcome.message) : status(outcome.rc);
}

}  // namespace

CMPIEnumeration* upCallEnumeration(Operation operation, const CMPIContext* context,
                                   const CMPIObjectPath* path, const CallArguments& arguments,
                                   CMPIStatus* out) {
  Outcome outcome = ask(operation, context, path, arguments);
  const bool empty = outcome.sink.instances.empty() && outcome.sink.paths.empty();
  // The broker's own texts stay, a provider's text is lost on the way.
  answerWith(out, outcome, !outcome.asked);
  if (outcome.rc != CMPI_RC_OK && empty) return nullptr;
  std::vector<EnumerationObject::Item> items;
  for (InstanceData& instance : outcome.sink.instances) items.emplace_back(std::move(instance));
  for (PathData& found : outcome.sink.paths) {
    found.host.reset();
    items.emplace_back(std::move(found));
  }
  return makeEnumeration(std::move(items));
}

CMPIInstance* upCallGetInstance(const CMPIContext* context, const CMPIObjectPath* path,
                                const char** properties, CMPIStatus* out) {
  CallArguments arguments;
  arguments.properties = properties;
  Outcome outcome = ask(Operation::kGetInstance, context, path, arguments);
  if (outcome.rc == CMPI_RC_OK && outcome.sink.instances.empty()) {
    const PathObject* asked = ownPath(path);
    report(asked->data.className.value_or(""), "",
           "an up-call getInstance that is answered OK without an instance: a crash");
    outcome.rc = CMPI_RC_ERR_NOT_FOUND;
  }
  answerWith(out, outcome, true);
  if (outcome.rc != CMPI_RC_OK) return nullptr;
  return makeInstance(std::move(outcome.sink.instances.front()));
}

CMPIObjectPath* upCallCreate(const CMPIContext* context, const CMPIObjectPath* path,
                             const CMPIInstance* instance, CMPIStatus* out) {
  CallArguments arguments;
  arguments.instance = instance;
  Outcome outcome = ask(Operation::kCreateInstance, context, path, arguments);
  answerWith(out, outcome, true);
  if (outcome.rc != CMPI_RC_OK || outcome.sink.paths.empty()) return nullptr;
  return makePath(std::move(outcome.sink.paths.front()));
}

CMPIStatus upCallChange(Operation operation, const CMPIContext* context, const CMPIObjectPath* path,
                        const CallArguments& arguments) {
  const Outcome outcome = ask(operation, context, path, arguments);
  return outcome.message ? status(outcome.rc, *outcome.message) : status(outcome.rc);
}

}  // namespace orv::broker
