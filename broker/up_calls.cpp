#include "broker/up_calls.h"

#include <optional>
#include <utility>

#include "broker/ask.h"
#include "broker/broker_state.h"
#include "broker/contexts.h"
#include "broker/enumerations.h"
#include "broker/instances.h"
#include "broker/object_paths.h"
#include "broker/strings.h"
#include "broker/thread_state.h"

namespace orv::broker {
namespace {

Answers failed(CMPIrc rc, std::optional<std::string> message = std::nullopt) {
  return {rc, std::move(message), {}};
}

/// The context of an up-call; null, with a report, for one that up-calls cannot use.
const ContextObject* usableContext(const CMPIContext* record) {
  const ContextObject* context = liveContext(record, "an up-call");
  if (context == nullptr) return nullptr;
  if (contextEntry(*context, CMPIPrincipal) != nullptr) return context;
  report("", "", "an up-call on the context of a cleanup: reads a principal that is not there");
  return nullptr;
}

Answers askOthers(Operation operation, const CMPIContext* contextRecord,
                  const CMPIObjectPath* pathRecord, const CallArguments& arguments) {
  const ContextObject* context = usableContext(contextRecord);
  if (context == nullptr) return failed(CMPI_RC_ERR_INVALID_HANDLE);
  if (pathRecord == nullptr) {
    report("", "", "an up-call without an object path: a crash");
    return failed(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  const PathObject* path = PathObject::own(pathRecord);
  if (path == nullptr) return failed(CMPI_RC_ERR_INVALID_HANDLE);
  auto broker = context->broker.lock();
  if (!broker) broker = currentBroker();
  if (!broker) return failed(CMPI_RC_ERR_FAILED, "The broker is gone.");
  const BrokerBinding binding(broker);
  Answers answers = ask(*broker, Question{operation, path->data, arguments, contextRecord, 0});
  if (answers.rc == CMPI_RC_OK && answers.answers.empty() && operation == Operation::kGetInstance) {
    answers.rc = CMPI_RC_ERR_NOT_FOUND;
  }
  return answers;
}

/// All objects that were returned, whatever the status.
std::vector<EnumerationObject::Item> takeItems(Answers& answers) {
  std::vector<EnumerationObject::Item> items;
  for (Answer& answer : answers.answers) {
    for (InstanceData& found : answer.returned.instances) items.emplace_back(std::move(found));
  }
  for (Answer& answer : answers.answers) {
    for (PathData& found : answer.returned.paths) {
      found.host.reset();
      items.emplace_back(std::move(found));
    }
  }
  return items;
}

/// The first object of one kind; null when there is none.
template <class Object>
Object* firstOf(Answers& answers, std::vector<Object> ResultSink::*kind) {
  for (Answer& answer : answers.answers) {
    if (!(answer.returned.*kind).empty()) return &(answer.returned.*kind).front();
  }
  return nullptr;
}

void answerWith(CMPIStatus* out, const Answers& answers, bool withText) {
  if (out == nullptr) return;
  *out = withText && answers.message ? status(answers.rc, *answers.message) : status(answers.rc);
}

}  // namespace

CMPIEnumeration* upCallEnumeration(Operation operation, const CMPIContext* context,
                                   const CMPIObjectPath* path, const CallArguments& arguments,
                                   CMPIStatus* out) {
  Answers answers = askOthers(operation, context, path, arguments);
  // Texts of the broker itself are kept; the text of a provider is lost.
  answerWith(out, answers, answers.answers.empty());
  std::vector<EnumerationObject::Item> items = takeItems(answers);
  if (answers.rc != CMPI_RC_OK && items.empty()) return nullptr;
  return makeEnumeration(std::move(items));
}

CMPIInstance* upCallGetInstance(const CMPIContext* context, const CMPIObjectPath* path,
                                const char** properties, CMPIStatus* out) {
  CallArguments arguments;
  arguments.properties = properties;
  Answers answers = askOthers(Operation::kGetInstance, context, path, arguments);
  InstanceData* found = firstOf(answers, &ResultSink::instances);
  if (answers.rc == CMPI_RC_OK && found == nullptr) {
    const PathObject* asked = PathObject::own(path);
    report(asked->data.className.value_or(""), "",
           "an up-call getInstance that is answered OK without an instance: a crash");
    answers.rc = CMPI_RC_ERR_NOT_FOUND;
  }
  answerWith(out, answers, true);
  return answers.rc == CMPI_RC_OK ? makeInstance(std::move(*found)) : nullptr;
}

CMPIObjectPath* upCallCreate(const CMPIContext* context, const CMPIObjectPath* path,
                             const CMPIInstance* instance, CMPIStatus* out) {
  CallArguments arguments;
  arguments.instance = instance;
  Answers answers = askOthers(Operation::kCreateInstance, context, path, arguments);
  answerWith(out, answers, true);
  PathData* created = firstOf(answers, &ResultSink::paths);
  if (answers.rc != CMPI_RC_OK || created == nullptr) return nullptr;
  return makePath(std::move(*created));
}

CMPIStatus upCallChange(Operation operation, const CMPIContext* context, const CMPIObjectPath* path,
                        const CallArguments& arguments) {
  CMPIStatus outcome = status(CMPI_RC_OK);
  answerWith(&outcome, askOthers(operation, context, path, arguments), true);
  return outcome;
}

}  // namespace orv::broker
