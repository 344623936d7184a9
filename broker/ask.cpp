#include "broker/ask.h"

#include <utility>

#include "broker/broker_state.h"
#include "broker/heap.h"
#include "broker/object_paths.h"
#include "broker/request_context.h"
#include "broker/strings.h"
#include "broker/thread_state.h"
#include "broker/wql.h"

namespace orv::broker {
namespace {

ResultUse useOf(const Question& question) {
  const bool get = question.operation == Operation::kGetInstance;
  if (question.context == nullptr) {
    return get ? ResultUse::kClientGet : ResultUse::kClientEnumeration;
  }
  return get ? ResultUse::kUpCallGet : ResultUse::kUpCallEnumeration;
}

/// Calls a loaded provider. What it makes for a client is freed once it has returned; what it makes
/// for an up-call stays with the caller's own objects.
void callLoaded(BrokerState& broker, Section& section, const Question& question, Answer& answer) {
  const ProviderFrame frame(answer.provider, answer.className);
  ResultObject* result = makeResult(useOf(question));
  const CMPIContext* context = question.context;
  if (context == nullptr) context = makeRequestContext(broker, answer.provider, question.flags);
  PathData path = question.path;
  path.className = answer.className;
  const CMPIObjectPath* pathRecord = makePath(std::move(path));
  std::optional<HeapScope> memory;
  if (question.context == nullptr) memory.emplace();
  const CMPIStatus outcome =
      callProvider(section, question.operation, context, result, pathRecord, question.arguments);
  if (memory && memory->openMarks() > 0)
    report("", "", "leaves a memory mark that is never released");
  answer.rc = outcome.rc;
  answer.message = textOf(outcome.msg);
  answer.returned = std::move(result->sink);
}

Answer askTarget(BrokerState& broker, const Target& target, const Question& question) {
  Answer answer;
  answer.provider = target.section->registration.provider;
  answer.className = target.className;
  const LoadOutcome loaded = broker.providers.load(*target.section);
  if (loaded.rc == CMPI_RC_OK) {
    callLoaded(broker, *target.section, question, answer);
  } else {
    answer.rc = loaded.rc;
    answer.message = loaded.message;
  }
  return answer;
}

RouteQuery queryOf(const Question& question) {
  RouteQuery query{question.operation, question.path.nameSpace.value_or(""),
                   question.path.className.value_or(""), ""};
  const bool references = question.operation == Operation::kReferences ||
                          question.operation == Operation::kReferenceNames;
  const CallArguments& arguments = question.arguments;
  if (isAssociationOperation(question.operation)) {
    query.assocClass =
        textOf(references ? arguments.resultClass : arguments.assocClass).value_or("");
  }
  return query;
}

}  // namespace

Answers ask(BrokerState& broker, const Question& question) {
  RouteQuery query = queryOf(question);
  if (question.operation == Operation::kExecQuery && query.className.empty()) {
    try {
      query.className = parseWql(textOf(question.arguments.query).value_or("")).className;
    } catch (const WqlError& error) {
      return {CMPI_RC_ERR_INVALID_QUERY, std::string("Invalid query: ") + error.what(), {}};
    }
  }
  const auto classes = broker.classes(query.nameSpace);
  return ask(broker, route(query, classes.get(), broker.providers.sections()), question);
}

Answers ask(BrokerState& broker, const Route& route, const Question& question) {
  if (route.rc != CMPI_RC_OK) return {route.rc, route.message, {}};
  Answers all;
  for (const Target& target : route.targets) {
    all.answers.push_back(askTarget(broker, target, question));
    const Answer& last = all.answers.back();
    if (all.rc != CMPI_RC_OK || last.rc == CMPI_RC_OK) continue;
    all.rc = last.rc;
    all.message = last.message;
  }
  return all;
}

}  // namespace orv::broker
