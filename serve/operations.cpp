#include "serve/operations.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "cimxml/request_reader.h"
#include "serve/objects.h"
#include "serve/query.h"

namespace orv::serve {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Operation;
using broker::Response;
using cimxml::Call;
using cimxml::CimError;
using cimxml::ResponseWriter;

Names propertyNamesOf(const broker::ClassRepository& classes) {
  Names names;
  for (const broker::ClassDefinition* definition : classes.all()) {
    for (const auto& property : definition->properties) names.insert(property.name);
  }
  return names;
}

/// Instances that have nothing but a path.
std::vector<Instance> withPaths(std::vector<ObjectPath> paths) {
  std::vector<Instance> instances(paths.size());
  for (std::size_t i = 0; i < paths.size(); ++i) instances[i].path = std::move(paths[i]);
  return instances;
}

}  // namespace

Operations::Operations(broker::Broker& broker, const Namespaces& namespaces, Interop& interop,
                       std::string host, Limits limits)
    : broker_(broker),
      interop_(interop),
      host_(std::move(host)),
      limits_(limits),
      enumerations_(limits.enumerations) {
  for (const auto& [name, classes] : namespaces) {
    namespaces_[name] = {classes, propertyNamesOf(*classes)};
  }
}

template <Operation operation>
void Operations::writeRelated(RequestContext& context) {
  if (context.flag("IncludeClassOrigin", false)) context.writer.setOriginClasses(&context.classes);
  for (const Instance& one : related(context, operation, "ObjectName")) {
    context.writer.objectWithPath(one);
  }
}

template <Operation operation>
void Operations::writeRelatedNames(RequestContext& context) {
  for (const Instance& one : related(context, operation, "ObjectName")) {
    context.writer.objectPath(one.path);
  }
}

const std::map<std::string, Operations::Handler, broker::NameLess>& Operations::handlers() {
  static const std::map<std::string, Handler, broker::NameLess> table = {
      {"EnumerateInstanceNames", &Operations::enumerateInstanceNames},
      {"EnumerateInstances", &Operations::enumerateInstances},
      {"GetInstance", &Operations::getInstance},
      {"CreateInstance", &Operations::createInstance},
      {"ModifyInstance", &Operations::modifyInstance},
      {"DeleteInstance", &Operations::deleteInstance},
      {"ExecQuery", &Operations::execQuery},
      {"Associators", &Operations::writeRelated<Operation::kAssociators>},
      {"AssociatorNames", &Operations::writeRelatedNames<Operation::kAssociatorNames>},
      {"References", &Operations::writeRelated<Operation::kReferences>},
      {"ReferenceNames", &Operations::writeRelatedNames<Operation::kReferenceNames>},
      {"GetClass", &Operations::getClass},
      {"EnumerateClasses", &Operations::enumerateClasses},
      {"EnumerateClassNames", &Operations::enumerateClassNames},
      {"GetQualifier", &Operations::getQualifier},
      {"EnumerateQualifiers", &Operations::enumerateQualifiers},
      {"OpenEnumerateInstances", &Operations::openEnumerateInstances},
      {"OpenEnumerateInstancePaths", &Operations::openEnumerateInstancePaths},
      {"OpenAssociatorInstances", &Operations::openRelated<Operation::kAssociators>},
      {"OpenAssociatorInstancePaths", &Operations::openRelated<Operation::kAssociatorNames>},
      {"OpenReferenceInstances", &Operations::openRelated<Operation::kReferences>},
      {"OpenReferenceInstancePaths", &Operations::openRelated<Operation::kReferenceNames>},
      {"OpenQueryInstances", &Operations::openQueryInstances},
      {"PullInstancesWithPath", &Operations::pull<PullKind::kInstancesWithPath>},
      {"PullInstancePaths", &Operations::pull<PullKind::kInstancePaths>},
      {"PullInstances", &Operations::pull<PullKind::kInstances>},
      {"CloseEnumeration", &Operations::closeEnumeration},
  };
  return table;
}

std::string Operations::answer(const std::string& requestText, const std::string& client) {
  enumerations_.expire();
  const Call call = cimxml::readCall(requestText);
  cimxml::WriteOptions options;
  options.host = host_;
  options.limit = limits_.answerBytes;
  ResponseWriter writer(call, options);
  try {
    if (call.failure) throw CimError(*call.failure);
    const auto found = namespaces_.find(call.nameSpace);
    if (found == namespaces_.end()) throw CimError(CMPI_RC_ERR_INVALID_NAMESPACE);
    RequestContext context{call, writer, found->second, client};
    dispatch(context);
    return writer.finish();
  } catch (const CimError& error) {
    return writer.finish(error);
  }
}

void Operations::dispatch(RequestContext& context) {
  if (!context.call.intrinsic) {
    throw CimError(CMPI_RC_ERR_METHOD_NOT_FOUND, "No class has extrinsic methods");
  }
  const auto found = handlers().find(context.call.method);
  if (found == handlers().end()) {
    throw CimError(CMPI_RC_ERR_NOT_SUPPORTED, context.call.method + " is not supported");
  }
  (this->*found->second)(context);
}

std::vector<Instance> Operations::namesOf(RequestContext& context) {
  const std::string className = context.className();
  if (context.isInterop()) return interop_.enumerate(className);
  Response response = broker_.enumerateInstanceNames(context.call.nameSpace, className);
  throwUnlessOk(response);
  return withPaths(std::move(response.paths));
}

std::vector<Instance> Operations::instancesOf(RequestContext& context) {
  const std::string className = context.className();
  const broker::PropertyList list = context.properties();
  std::vector<Instance> instances;
  if (context.isInterop()) {
    instances = interop_.enumerate(className);
  } else {
    Response response = broker_.enumerateInstances(context.call.nameSpace, className, list);
    throwUnlessOk(response);
    instances = std::move(response.instances);
  }
  for (Instance& instance : instances) {
    keepListed(instance, list);
    context.applyLocalOnly(instance);
    context.applyDeepInheritance(instance);
  }
  return instances;
}

void Operations::enumerateInstanceNames(RequestContext& context) {
  for (const Instance& named : namesOf(context)) context.writer.instanceName(named.path);
}

void Operations::enumerateInstances(RequestContext& context) {
  if (context.flag("IncludeClassOrigin", false)) context.writer.setOriginClasses(&context.classes);
  for (const Instance& instance : instancesOf(context)) context.writer.namedInstance(instance);
}

void Operations::getInstance(RequestContext& context) {
  const ObjectPath path = context.object("InstanceName");
  const broker::PropertyList list = context.properties();
  if (context.flag("IncludeClassOrigin", false)) context.writer.setOriginClasses(&context.classes);
  Instance instance;
  if (context.isInterop()) {
    instance = interop_.get(path);
  } else {
    const Response response = broker_.getInstance(path, list);
    throwUnlessOk(response);
    if (response.instances.empty()) throw CimError(CMPI_RC_ERR_NOT_FOUND);
    instance = response.instances.front();
  }
  keepListed(instance, list);
  context.applyLocalOnly(instance);
  context.writer.instance(instance);
}

void Operations::createInstance(RequestContext& context) {
  const Instance instance = context.instance("NewInstance");
  if (context.isInterop()) {
    return context.writer.instanceName(interop_.create(instance, context.client));
  }
  broker::Request request;
  request.operation = Operation::kCreateInstance;
  request.path = instance.path;
  request.instance = instance;
  const Response response = broker_.request(request);
  throwUnlessOk(response);
  for (const ObjectPath& path : response.paths) context.writer.instanceName(path);
}

void Operations::modifyInstance(RequestContext& context) {
  const Instance instance = context.instance("ModifiedInstance");
  context.writer.noReturnValue();
  if (context.isInterop()) return interop_.modify(instance, context.properties());
  broker::Request request;
  request.operation = Operation::kModifyInstance;
  request.path = instance.path;
  request.instance = instance;
  request.properties = context.properties();
  throwUnlessOk(broker_.request(request));
}

void Operations::deleteInstance(RequestContext& context) {
  const ObjectPath path = context.object("InstanceName");
  context.writer.noReturnValue();
  if (context.isInterop()) return interop_.remove(path);
  broker::Request request;
  request.operation = Operation::kDeleteInstance;
  request.path = path;
  throwUnlessOk(broker_.request(request));
}

std::vector<Instance> Operations::selected(RequestContext& context, const std::string& query,
                                           const std::string& language) {
  const Query read(query, language, context.classes);
  std::vector<Instance> instances;
  if (context.isInterop()) {
    instances = interop_.enumerate(read.className());
  } else {
    Response response = broker_.enumerateInstances(context.call.nameSpace, read.className());
    throwUnlessOk(response);
    instances = std::move(response.instances);
  }
  const auto end = std::remove_if(instances.begin(), instances.end(),
                                  [&](const Instance& one) { return !read.selects(one); });
  instances.erase(end, instances.end());
  for (Instance& instance : instances) read.project(instance);
  return instances;
}

void Operations::execQuery(RequestContext& context) {
  const std::string query = context.text("Query").value_or("");
  const std::string language = context.text("QueryLanguage").value_or("");
  for (const Instance& instance : selected(context, query, language)) {
    context.writer.objectWithPath(instance);
  }
}

/// The objects of an association request; for the operations on names, their paths.
std::vector<Instance> Operations::related(RequestContext& context, Operation operation,
                                          const char* objectParameter) {
  const ObjectPath source = context.object(objectParameter);
  const broker::AssociationFilter filter = context.filter();
  const broker::PropertyList list = context.properties();
  const bool farEnd =
      operation == Operation::kAssociators || operation == Operation::kAssociatorNames;
  std::vector<Instance> instances;
  if (context.isInterop()) {
    instances = farEnd ? interop_.associators(source, filter) : interop_.references(source, filter);
  } else {
    broker::Request request;
    request.operation = operation;
    request.path = source;
    request.filter = filter;
    request.properties = list;
    Response response = broker_.request(request);
    throwUnlessOk(response);
    const bool names =
        operation == Operation::kAssociatorNames || operation == Operation::kReferenceNames;
    if (names) return withPaths(std::move(response.paths));
    instances = std::move(response.instances);
  }
  for (Instance& instance : instances) keepListed(instance, list);
  return instances;
}

}  // namespace orv::serve
