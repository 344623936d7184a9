#include "client/remote_client.h"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "cimxml/request_writer.h"

namespace orv::client {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Operation;
using broker::Request;
using broker::Response;
using broker::Value;
using cimxml::Call;
using cimxml::Reply;

/// How an operation is written in CIM-XML.
struct Method {
  Operation operation;
  const char* name;
  const char* object;  ///< parameter for the object or the class; null: the instance
  bool byClass = false;
  bool hasList = false;  ///< takes a PropertyList
};

constexpr Method kMethods[] = {
    {Operation::kEnumerateInstanceNames, "EnumerateInstanceNames", "ClassName", true},
    {Operation::kEnumerateInstances, "EnumerateInstances", "ClassName", true, true},
    {Operation::kGetInstance, "GetInstance", "InstanceName", false, true},
    {Operation::kCreateInstance, "CreateInstance", nullptr},
    {Operation::kModifyInstance, "ModifyInstance", nullptr, false, true},
    {Operation::kDeleteInstance, "DeleteInstance", "InstanceName"},
    {Operation::kAssociators, "Associators", "ObjectName", false, true},
    {Operation::kAssociatorNames, "AssociatorNames", "ObjectName"},
    {Operation::kReferences, "References", "ObjectName", false, true},
    {Operation::kReferenceNames, "ReferenceNames", "ObjectName"},
};

const Method* methodOf(Operation operation) {
  const auto* found = std::find_if(std::begin(kMethods), std::end(kMethods),
                                   [&](const Method& one) { return one.operation == operation; });
  return found == std::end(kMethods) ? nullptr : found;
}

void setText(Call& call, const char* name, const std::optional<std::string>& text) {
  if (text) call.parameters[name].text = text;
}

void setObject(Call& call, const Method& method, const Request& request) {
  if (method.byClass) {
    setText(call, method.object, request.path.className);
  } else if (method.object != nullptr) {
    call.parameters[method.object].objectName = request.path;
  } else {
    const bool isNew = request.operation == Operation::kCreateInstance;
    Instance instance = request.instance.value_or(Instance());
    if (isNew) instance.path.keys.clear();  // a new instance is named by the server
    call.parameters[isNew ? "NewInstance" : "ModifiedInstance"].instance = std::move(instance);
  }
}

/// Asks for all properties: in older versions of the standard LocalOnly is TRUE by default.
void setFlags(Call& call, Operation operation) {
  if (operation == Operation::kEnumerateInstances) setText(call, "DeepInheritance", "TRUE");
  if (operation == Operation::kEnumerateInstances || operation == Operation::kGetInstance) {
    setText(call, "LocalOnly", "FALSE");
  }
}

void setFilter(Call& call, Operation operation, const broker::AssociationFilter& filter) {
  if (operation == Operation::kAssociators || operation == Operation::kAssociatorNames) {
    setText(call, "AssocClass", filter.assocClass);
    setText(call, "ResultRole", filter.resultRole);
  }
  setText(call, "ResultClass", filter.resultClass);
  setText(call, "Role", filter.role);
}

Call callOf(const Method& method, const Request& request) {
  Call call;
  call.method = method.name;
  call.nameSpace = request.path.nameSpace;
  setObject(call, method, request);
  setFlags(call, request.operation);
  if (method.hasList && request.properties) {
    call.parameters["PropertyList"].list = request.properties;
  }
  const bool isAssociation =
      std::string_view(method.object == nullptr ? "" : method.object) == "ObjectName";
  if (isAssociation) setFilter(call, request.operation, request.filter);
  return call;
}

/// The path as the host itself writes it.
void makeLocal(ObjectPath& path, const std::string& nameSpace) {
  path.host.clear();
  if (path.nameSpace.empty()) path.nameSpace = nameSpace;
}

Response responseOf(Reply reply, const std::string& nameSpace) {
  Response response;
  if (reply.failure) {
    response.rc = reply.failure->rc();
    response.message = reply.failure->what();
    return response;
  }
  response.paths = std::move(reply.paths);
  response.instances = std::move(reply.instances);
  for (ObjectPath& path : response.paths) makeLocal(path, nameSpace);
  for (Instance& instance : response.instances) makeLocal(instance.path, nameSpace);
  return response;
}

std::vector<std::string> keyNames(const broker::ClassDefinition* definition) {
  std::vector<std::string> names;
  if (definition == nullptr) return names;
  for (const auto& property : definition->properties) {
    if (property.key) names.push_back(property.name);
  }
  return names;
}

std::string hostName() {
  char name[256] = "";
  gethostname(name, sizeof name - 1);
  return name;
}

/// A filter or a handler, with its keys as properties too.
Instance indicationObject(const std::string& nameSpace, const char* className,
                          const std::string& name) {
  Instance instance;
  instance.path.nameSpace = nameSpace;
  instance.path.className = className;
  const std::pair<const char*, std::string> keys[] = {
      {"SystemCreationClassName", "CIM_ComputerSystem"},
      {"SystemName", hostName()},
      {"CreationClassName", className},
      {"Name", name}};
  for (const auto& [key, text] : keys) {
    instance.path.keys.push_back({key, Value::ofString(text)});
    instance.properties.push_back({key, Value::ofString(text)});
  }
  return instance;
}

void setText(Instance& instance, const char* name, const std::string& text) {
  instance.properties.push_back({name, Value::ofString(text)});
}

Instance subscriptionObject(const ObjectPath& filter, const ObjectPath& handler) {
  Instance instance;
  instance.path.nameSpace = filter.nameSpace;
  instance.path.className = "CIM_IndicationSubscription";
  for (const auto& [role, end] : {std::make_pair("Filter", &filter), {"Handler", &handler}}) {
    instance.path.keys.push_back({role, Value::ofReference(*end)});
    instance.properties.push_back({role, Value::ofReference(*end)});
  }
  return instance;
}

}  // namespace

RemoteClient::RemoteClient(RemoteSettings settings)
    : settings_(std::move(settings)), transport_(settings_.transport) {}

RemoteClient::~RemoteClient() {
  for (auto& [id, subscription] : subscriptions_) {
    try {
      remove(subscription);
    } catch (const std::exception&) {  // there is nobody to report it to
    }
  }
}

Reply RemoteClient::call(Call call) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    call.messageId = std::to_string(++lastMessage_);
  }
  const std::string text = transport_.post(call.method, call.nameSpace, cimxml::callMessage(call));
  try {
    return cimxml::readReply(text);
  } catch (const cimxml::BadMessage& bad) {
    throw ConnectionError(name() + " does not answer in CIM-XML: " + bad.what());
  } catch (const cimxml::CimError& bad) {
    throw ConnectionError("the answer of " + name() + " cannot be read: " + bad.what());
  }
}

/// Gives an instance without a path the keys that its class has, or else those of the request.
void RemoteClient::completePath(const Request& request, Instance& instance) {
  const auto* definition = classes(request.path.nameSpace).find(instance.path.className);
  for (const std::string& name : keyNames(definition)) {
    const Value* value = instance.property(name);
    if (value == nullptr) value = request.path.key(name);
    if (value != nullptr) instance.path.keys.push_back({name, *value});
  }
  if (instance.path.keys.empty()) instance.path.keys = request.path.keys;
}

Response RemoteClient::request(const Request& request) {
  const Method* method = methodOf(request.operation);
  if (method == nullptr) return {CMPI_RC_ERR_NOT_SUPPORTED, "not available remotely", {}, {}};
  Call wanted = callOf(*method, request);
  const bool isGet = request.operation == Operation::kGetInstance;
  if (isGet && request.properties) {  // with the keys, which the instance's path is made of
    auto& list = *wanted.parameters["PropertyList"].list;
    const auto* definition = classes(request.path.nameSpace).find(request.path.className);
    for (const std::string& name : keyNames(definition)) list.push_back(name);
  }
  Response response = responseOf(call(std::move(wanted)), request.path.nameSpace);
  if (isGet && response.ok()) {
    for (Instance& instance : response.instances) completePath(request, instance);
  }
  return response;
}

broker::ClassSource RemoteClient::classes(const std::string& nameSpace) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::unique_ptr<RemoteClasses>& known = classes_[nameSpace];
  if (known == nullptr) {
    known = std::make_unique<RemoteClasses>(
        [this, nameSpace](const std::string& name) -> std::optional<broker::ClassDefinition> {
          Call wanted;
          wanted.method = "GetClass";
          wanted.nameSpace = nameSpace;
          setText(wanted, "ClassName", name);
          setText(wanted, "LocalOnly", "FALSE");
          setText(wanted, "IncludeQualifiers", "TRUE");
          const Reply reply = call(std::move(wanted));
          if (reply.failure || reply.classes.empty()) return std::nullopt;
          return reply.classes.front();
        });
  }
  return broker::ClassSource(
      [&classes = *known](std::string_view name) { return classes.find(name); });
}

ServedClasses RemoteClient::servedClasses(const std::string& nameSpace) {
  Call wanted;
  wanted.method = "EnumerateClassNames";
  wanted.nameSpace = nameSpace;
  setText(wanted, "DeepInheritance", "TRUE");
  const Reply reply = call(std::move(wanted));
  if (reply.failure) return {reply.failure->rc(), reply.failure->what(), {}};
  const std::vector<std::string>& all = reply.classNames;
  const auto isStandard = [](const std::string& name) {
    return broker::sameName(name.substr(0, 4), "CIM_");
  };
  const bool everyOne = std::all_of(all.begin(), all.end(), isStandard);
  const broker::ClassSource definitions = classes(nameSpace);
  ServedClasses served;
  for (const std::string& name : all) {
    if (!everyOne && isStandard(name)) continue;
    const broker::ClassDefinition* definition = definitions.find(name);
    if (definition == nullptr || definition->abstract) continue;
    const char* kind = definition->association  ? "association"
                       : definition->indication ? "indication"
                                                : "instance";
    served.classes.push_back({name, kind, !definition->indication});
  }
  return served;
}

IndicationListener& RemoteClient::listener() {
  std::string address = settings_.listenAddress;
  if (address.empty() && transport_.localAddress().empty()) {  // not connected yet
    classes(settings_.interopNamespace).find("CIM_IndicationFilter");
  }
  if (address.empty()) address = transport_.localAddress();
  const std::lock_guard<std::mutex> lock(mutex_);
  if (listener_ == nullptr) {
    listener_ = std::make_unique<IndicationListener>(address, settings_.listenPort);
  }
  return *listener_;
}

/// Creates an object on the server. The subscription records it beforehand, because an object may
/// have been created even if no answer comes.
Response RemoteClient::create(Instance instance, Subscription& subscription) {
  Request request;
  request.operation = Operation::kCreateInstance;
  request.path = instance.path;
  request.instance = std::move(instance);
  subscription.objects.push_back(request.path);
  Response response = this->request(request);
  if (!response.ok()) subscription.objects.pop_back();
  return response;
}

/// Deletes the objects of a subscription, the latest first. Goes on after a failure and reports the
/// first one.
Response RemoteClient::remove(Subscription& subscription) {
  Response first;
  std::exception_ptr broken;
  while (!subscription.objects.empty()) {
    Request request;
    request.operation = Operation::kDeleteInstance;
    request.path = std::move(subscription.objects.back());
    subscription.objects.pop_back();
    try {
      const Response response = this->request(request);
      if (first.ok() && !response.ok()) first = response;
    } catch (...) {
      if (broken == nullptr) broken = std::current_exception();
    }
  }
  if (!subscription.url.empty()) listener().remove(std::exchange(subscription.url, ""));
  if (broken != nullptr) std::rethrow_exception(broken);
  return first;
}

/// Creates filter, handler and subscription. The answer is the first failure, or else the last one.
Response RemoteClient::createAll(const broker::IndicationFilter& filter,
                                 Subscription& subscription) {
  const std::string& nameSpace = settings_.interopNamespace;
  const std::string& url = subscription.url;
  const std::string name = "orvcim:" + url.substr(url.rfind('/') + 1);
  Instance filterObject = indicationObject(nameSpace, "CIM_IndicationFilter", name);
  setText(filterObject, "Query", filter.query);
  setText(filterObject, "QueryLanguage", filter.language);
  setText(filterObject, "SourceNamespace", filter.sourceNamespace);
  Instance handlerObject = indicationObject(nameSpace, "CIM_IndicationHandlerCIMXML", name);
  setText(handlerObject, "Destination", url);
  Response response;
  for (const Instance& object :
       {filterObject, handlerObject, subscriptionObject(filterObject.path, handlerObject.path)}) {
    response = create(object, subscription);
    if (!response.ok()) break;
  }
  return response;
}

broker::SubscribeResult RemoteClient::subscribe(const broker::IndicationFilter& filter,
                                                broker::IndicationHandler handler) {
  Subscription made;
  const std::string source = filter.sourceNamespace;
  made.url = listener().add([source, handler = std::move(handler)](const Instance& indication) {
    Instance named = indication;
    named.path.nameSpace = source;
    handler(named);
  });
  try {
    const Response response = createAll(filter, made);
    if (!response.ok()) {
      remove(made);
      return {response.rc,
              "in " + settings_.interopNamespace + ": " + response.message.value_or("refused"), 0};
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    subscriptions_[lastSubscription_ + 1] = std::move(made);
    return {CMPI_RC_OK, std::nullopt, ++lastSubscription_};
  } catch (...) {
    try {
      remove(made);
    } catch (const std::exception&) {  // the first failure is the one to report
    }
    throw;
  }
}

Response RemoteClient::unsubscribe(broker::SubscriptionId id) {
  Subscription subscription;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = subscriptions_.find(id);
    if (found == subscriptions_.end())
      return {CMPI_RC_ERR_NOT_FOUND, "no such subscription", {}, {}};
    subscription = std::move(found->second);
    subscriptions_.erase(found);
  }
  return remove(subscription);
}

}  // namespace orv::client
