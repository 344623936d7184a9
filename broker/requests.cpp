#include "broker/requests.h"

#include <algorithm>
#include <exception>
#include <set>
#include <string_view>
#include <thread>

#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/heap.h"
#include "broker/instances.h"
#include "broker/request_context.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

const char* pointerTo(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

/// The name of a key that is given twice; null when there is none.
const std::string* doubledKey(const std::vector<Key>& keys) {
  std::set<std::string_view, NameLess> names;
  for (const Key& key : keys) {
    if (!names.insert(key.name).second) return &key.name;
  }
  return nullptr;
}

void fail(Response& response, CMPIrc rc, std::optional<std::string> message) {
  response.rc = rc;
  response.message = std::move(message);
  response.instances.clear();
  response.paths.clear();
}

}  // namespace

Request requestOf(Operation operation, const ObjectPath& path, const AssociationFilter& filter,
                  const PropertyList& properties) {
  Request request;
  request.operation = operation;
  request.path = path;
  request.filter = filter;
  request.properties = properties;
  return request;
}

CMPIContext* makeRequestContext(BrokerState& broker, const std::string& provider, CMPIFlags flags) {
  auto* context =
      makeObject<ContextObject>(ContextObject::Purpose::kRequest, currentBroker(), provider);
  const auto& principal = broker.options.principal;
  setContextEntry(*context, CMPIInvocationFlags, Value::ofUnsigned(CMPI_uint32, flags));
  setContextEntry(*context, CMPIPrincipal,
                  principal ? Value::ofString(*principal) : Value::ofNull(CMPI_string));
  setContextEntry(*context, "CMPISessionId", Value::ofUnsigned(CMPI_uint32, ++broker.lastSession));
  return context;
}

bool servesNamespace(const RegistrationSection& section, const std::string& nameSpace) {
  return std::any_of(
      section.namespaces.begin(), section.namespaces.end(),
      [&](const std::string& served) { return served == "*" || sameName(served, nameSpace); });
}

std::optional<std::string> onRequestThread(const std::shared_ptr<BrokerState>& broker,
                                           const std::function<void()>& work) {
  std::optional<std::string> problem;
  const auto run = [&] {
    const BrokerBinding binding(broker);
    try {
      const HeapScope memory;
      work();
    } catch (const std::exception& error) {
      problem = error.what();
    }
  };
  try {
    std::thread(run).join();
  } catch (const std::exception& error) {  // no thread, or no memory for one
    problem = error.what();
  }
  return problem;
}

ClientQuestion::ClientQuestion(const Request& request) {
  operation = request.operation;
  path = PathData::of(request.path);
  flags = request.flags;
  if (request.properties) properties_.emplace(*request.properties);
  arguments.properties = properties_ ? properties_->data() : nullptr;
  arguments.assocClass = pointerTo(request.filter.assocClass);
  arguments.resultClass = pointerTo(request.filter.resultClass);
  arguments.role = pointerTo(request.filter.role);
  arguments.resultRole = pointerTo(request.filter.resultRole);
  arguments.query = request.query.c_str();
  arguments.language = request.queryLanguage.c_str();
  if (request.instance) arguments.instance = makeInstance(*request.instance);
}

Answers askForClient(BrokerState& broker, const Request& request, const ClientQuestion& question) {
  if (const std::string* name = doubledKey(question.path.keys)) {
    report(request.path.className, *name, "a key given twice in a path: a crash when it is read");
    return {CMPI_RC_ERR_INVALID_PARAMETER, "Key " + *name + " is given twice", {}};
  }
  Question asked = question;
  // Deliberate (contract.md#empty-property-list).
  if (request.properties && request.properties->empty()) asked.arguments.properties = nullptr;
  return ask(broker, asked);
}

Response toResponse(const Answers& answers) {
  Response response;
  response.rc = answers.rc;
  response.message = answers.message;
  if (response.rc != CMPI_RC_OK) return response;
  for (const Answer& answer : answers.answers) {
    for (const InstanceData& instance : answer.returned.instances) {
      response.instances.push_back(instance.toPlain());
    }
    for (const PathData& path : answer.returned.paths) response.paths.push_back(path.toPlain());
  }
  return response;
}

Response clientResponse(Operation operation, const Answers& answers) {
  Response response = toResponse(answers);
  if (!response.ok()) return response;
  const bool served = !answers.answers.empty();
  switch (operation) {
    case Operation::kGetInstance:
      if (!served) {
        fail(response, CMPI_RC_ERR_NOT_FOUND, "Instance not found");
      } else if (response.instances.empty()) {
        fail(response, CMPI_RC_ERR_NOT_FOUND, std::nullopt);
      } else {
        response.instances.resize(1);
      }
      return response;
    case Operation::kCreateInstance:
    case Operation::kModifyInstance:
    case Operation::kDeleteInstance:
      if (!served) fail(response, CMPI_RC_ERR_NOT_SUPPORTED, "No provider for the class");
      return response;
    default:
      return response;
  }
}

Response runRequest(const std::shared_ptr<BrokerState>& broker, const Request& request) {
  Response response;
  const auto problem = onRequestThread(broker, [&] {
    const ClientQuestion question(request);
    response = clientResponse(request.operation, askForClient(*broker, request, question));
  });
  if (problem) fail(response, CMPI_RC_ERR_FAILED, *problem);
  return response;
}

}  // namespace orv::broker
