#include "broker/requests.h"

#include <exception>
#include <thread>

#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/heap.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/provider_call.h"
#include "broker/request_context.h"
#include "broker/results.h"
#include "broker/router.h"
#include "broker/strings.h"
#include "broker/thread_state.h"
#include "broker/wql.h"

namespace orv::broker {
namespace {

const char* pointerTo(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

/// A request's arguments in the form for C; borrows from the request.
struct ClientArguments {
  ClientArguments(const Request& request, bool direct) {
    // Deliberate: a client's empty property list reaches providers as none at all.
    const bool listed = request.properties && (direct || !request.properties->empty());
    if (listed) properties.emplace(*request.properties);
    values.properties = properties ? properties->data() : nullptr;
    values.assocClass = pointerTo(request.filter.assocClass);
    values.resultClass = pointerTo(request.filter.resultClass);
    values.role = pointerTo(request.filter.role);
    values.resultRole = pointerTo(request.filter.resultRole);
    values.query = request.query.c_str();
    values.language = request.queryLanguage.c_str();
    if (request.instance) values.instance = makeInstance(*request.instance);
  }
  std::optional<TextArray> properties;
  CallArguments values;
};

void fail(Response& response, CMPIrc rc, std::optional<std::string> message) {
  if (response.rc != CMPI_RC_OK) return;  // the first failure counts
  response.rc = rc;
  response.message = std::move(message);
}

void collect(Response& response, const ResultSink& sink) {
  for (const InstanceData& instance : sink.instances) {
    response.instances.push_back(instance.toPlain());
  }
  for (const PathData& path : sink.paths) response.paths.push_back(path.toPlain());
  response.data.insert(response.data.end(), sink.data.begin(), sink.data.end());
  response.doneCount += sink.doneCount;
}

/// Asks one target and adds what it answers to the response.
void askTarget(BrokerState& broker, const Target& target, const Request& request, bool direct,
               Response& response) {
  const std::string& provider = target.section->registration.provider;
  ProviderAnswer answered{provider, target.className, CMPI_RC_OK, std::nullopt, 0, 0, 0};
  const ProviderHost::Use use(broker.providers);
  const LoadOutcome loaded = broker.providers.load(*target.section);
  if (loaded.rc != CMPI_RC_OK) {
    answered.rc = loaded.rc;
    answered.message = loaded.message;
  } else {
    const ProviderFrame frame(provider, target.className);
    ResultSink sink;
    const bool get = request.operation == Operation::kGetInstance;
    const CMPIResult* result =
        makeResult(sink, get ? ResultUse::kClientGet : ResultUse::kClientEnumeration);
    const CMPIContext* context = makeRequestContext(broker, provider, request.flags);
    ObjectPath path = request.path;
    path.className = target.className;
    const CMPIObjectPath* pathRecord = makePath(PathData::of(path));
    ClientArguments arguments(request, direct);
    const HeapScope memory;
    const CMPIStatus outcome = callProvider(*target.section, request.operation, context, result,
                                            pathRecord, arguments.values);
    if (memory.openMarks() > 0) report("", "", "leaves a memory mark that is never released");
    answered.rc = outcome.rc;
    answered.message = textOf(outcome.msg);
    answered.instanceCount = sink.instances.size();
    answered.pathCount = sink.paths.size();
    answered.doneCount = sink.doneCount;
    collect(response, sink);
  }
  if (answered.rc != CMPI_RC_OK) fail(response, answered.rc, answered.message);
  response.answers.push_back(std::move(answered));
}

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

Route clientRoute(BrokerState& broker, const Request& request) {
  RouteQuery query{request.operation, request.path.nameSpace, request.path.className, "",
                   broker.options.askEveryAssociationSection};
  const bool references = request.operation == Operation::kReferences ||
                          request.operation == Operation::kReferenceNames;
  if (isAssociationOperation(request.operation)) {
    const auto& filter = references ? request.filter.resultClass : request.filter.assocClass;
    query.assocClass = filter.value_or("");
  }
  if (request.operation == Operation::kExecQuery && query.className.empty()) {
    try {
      query.className = parseWql(request.query).className;
    } catch (const WqlError& error) {
      return {CMPI_RC_ERR_INVALID_QUERY, std::string("Invalid query: ") + error.what(), {}};
    }
  }
  return route(query, broker.classes(query.nameSpace).get(), broker.providers.sections());
}

/// What the broker itself answers for a class without a provider.
void answerWithoutProvider(Operation operation, Response& response) {
  switch (operation) {
    case Operation::kGetInstance:
      return fail(response, CMPI_RC_ERR_NOT_FOUND, "Instance not found");
    case Operation::kCreateInstance:
    case Operation::kModifyInstance:
    case Operation::kDeleteInstance:
      return fail(response, CMPI_RC_ERR_NOT_SUPPORTED, "No provider for the class");
    default:
      return;
  }
}

/// The first instance counts; none at all is "not found".
void settleGetInstance(Response& response) {
  if (response.rc != CMPI_RC_OK) return;
  if (response.instances.empty()) return fail(response, CMPI_RC_ERR_NOT_FOUND, std::nullopt);
  auto& discarded = response.discarded.instances;
  discarded.insert(discarded.end(), response.instances.begin() + 1, response.instances.end());
  response.instances.resize(1);
}

void discardAfterFailure(Response& response) {
  if (response.rc == CMPI_RC_OK) return;
  auto& instances = response.discarded.instances;
  instances.insert(instances.end(), response.instances.begin(), response.instances.end());
  response.instances.clear();
  response.discarded.paths = std::move(response.paths);
  response.paths.clear();
}

void process(BrokerState& broker, const Request& request,
             const std::optional<std::string>& providerName, Response& response) {
  const Route way =
      providerName ? directRoute(broker, request, *providerName) : clientRoute(broker, request);
  if (way.rc != CMPI_RC_OK) return fail(response, way.rc, way.message);
  for (const Target& target : way.targets) {
    askTarget(broker, target, request, providerName.has_value(), response);
  }
  if (way.targets.empty()) answerWithoutProvider(request.operation, response);
  if (request.operation == Operation::kGetInstance && !providerName) settleGetInstance(response);
  discardAfterFailure(response);
}

}  // namespace

CMPIContext* makeRequestContext(BrokerState& broker, const std::string& provider, CMPIFlags flags) {
  auto* context = makeObject<ContextObject>(ContextObject::Purpose::kRequest, currentBroker(),
                                            provider, broker.options.contextTable);
  const auto& principal = broker.options.principal;
  setContextEntry(*context, CMPIInvocationFlags, Value::ofUnsigned(CMPI_uint32, flags));
  setContextEntry(*context, CMPIPrincipal,
                  principal ? Value::ofString(*principal) : Value::ofNull(CMPI_string));
  setContextEntry(*context, "CMPISessionId", Value::ofUnsigned(CMPI_uint32, ++broker.lastSession));
  return context;
}

bool servesNamespace(const RegistrationSection& section, const std::string& nameSpace) {
  for (const std::string& served : section.namespaces) {
    if (served == "*" || sameName(served, nameSpace)) return true;
  }
  return false;
}

std::optional<std::string> onRequestThread(const std::shared_ptr<BrokerState>& broker,
                                           const std::function<void()>& work,
                                           std::vector<Report>& reports) {
  std::optional<std::string> problem;
  const auto run = [&] {
    const ThreadBinding binding(broker);
    try {
      const HeapScope memory;
      work();
    } catch (const std::exception& error) {
      problem = error.what();
    }
    reports = binding.reports();
  };
  try {
    std::thread(run).join();
  } catch (const std::system_error& error) {
    problem = error.what();
  }
  return problem;
}

Response runRequest(const std::shared_ptr<BrokerState>& broker, const Request& request,
                    const std::optional<std::string>& providerName) {
  Response response;
  std::vector<Report> reports;
  const auto problem = onRequestThread(
      broker, [&] { process(*broker, request, providerName, response); }, reports);
  if (problem) {
    fail(response, CMPI_RC_ERR_FAILED, *problem);
    discardAfterFailure(response);
  }
  response.reports = std::move(reports);
  return response;
}

}  // namespace orv::broker
