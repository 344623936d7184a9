#include "serve/operations.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "cimxml/request_reader.h"
#include "cimxml/response_writer.h"

namespace orv::serve {
namespace {

using broker::ClassDefinition;
using broker::ClassRepository;
using broker::Instance;
using broker::ObjectPath;
using broker::PropertyList;
using broker::Response;
using cimxml::Call;
using cimxml::CimError;
using cimxml::ClassOptions;
using cimxml::Parameter;
using cimxml::ResponseWriter;

void throwUnlessOk(const Response& response) {
  if (response.ok()) return;
  throw CimError(response.rc, response.message.value_or(broker::statusText(response.rc)));
}

}  // namespace

/// One request on its way: its parameters, and the response that grows.
struct Operations::Context {
  const Call& call;
  ResponseWriter& writer;
  const ClassRepository& classes;

  bool isInterop() const { return broker::sameName(call.nameSpace, kInteropNamespace); }

  const Parameter* parameter(const char* name) const {
    const auto found = call.parameters.find(name);
    return found == call.parameters.end() ? nullptr : &found->second;
  }

  std::optional<std::string> text(const char* name) const {
    const Parameter* found = parameter(name);
    return found == nullptr ? std::nullopt : found->text;
  }

  bool flag(const char* name, bool byDefault) const {
    const std::optional<std::string> given = text(name);
    if (!given) return byDefault;
    if (broker::sameName(*given, "TRUE")) return true;
    if (broker::sameName(*given, "FALSE")) return false;
    throw CimError(CMPI_RC_ERR_INVALID_PARAMETER, std::string(name) + " must be TRUE or FALSE");
  }

  PropertyList properties() const {
    const Parameter* found = parameter("PropertyList");
    return found == nullptr ? std::nullopt : found->list;
  }

  std::string className() const {
    const std::optional<std::string> name = text("ClassName");
    if (!name || name->empty()) {
      throw CimError(CMPI_RC_ERR_INVALID_PARAMETER, "ClassName is missing");
    }
    return *name;
  }

  const ClassDefinition& classDefinition() const {
    const ClassDefinition* definition = classes.find(className());
    if (definition == nullptr) throw CimError(CMPI_RC_ERR_INVALID_CLASS, "Class not found");
    return *definition;
  }

  ObjectPath object(const char* name) const {
    const Parameter* found = parameter(name);
    if (found == nullptr || !found->objectName) {
      throw CimError(CMPI_RC_ERR_INVALID_PARAMETER, std::string(name) + " is missing");
    }
    ObjectPath path = *found->objectName;
    path.nameSpace = call.nameSpace;
    return path;
  }

  Instance instance(const char* name) const {
    const Parameter* found = parameter(name);
    if (found == nullptr || !found->instance) {
      throw CimError(CMPI_RC_ERR_INVALID_PARAMETER, std::string(name) + " is missing");
    }
    Instance given = *found->instance;
    given.path.nameSpace = call.nameSpace;
    return given;
  }

  broker::AssociationFilter filter() const {
    return {text("AssocClass"), text("ResultClass"), text("Role"), text("ResultRole")};
  }

  ClassOptions classOptions() const {
    ClassOptions options;
    options.localOnly = flag("LocalOnly", true);
    options.includeQualifiers = flag("IncludeQualifiers", true);
    options.includeClassOrigin = flag("IncludeClassOrigin", false);
    return options;
  }

  void readInstanceOptions() {
    writer.options().includeClassOrigin = flag("IncludeClassOrigin", false);
    writer.setOriginClasses(&classes);
  }

  /// Keeps what `keep` says of the properties that the instance's class declares, and all others.
  template <typename Keep>
  void trim(Instance& instance, Keep&& keep) const {
    const ClassDefinition* definition = classes.find(instance.path.className);
    if (definition == nullptr) return;
    auto& all = instance.properties;
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const broker::Property& property) {
                               const auto* declared = definition->property(property.name);
                               return declared != nullptr && !keep(*definition, *declared);
                             }),
              all.end());
  }

  /// LocalOnly TRUE: only what the instance's own class declares or overrides. It is not the
  /// default, as the standard once had it: clients that leave it out mean all properties.
  void applyLocalOnly(Instance& instance) const {
    if (!flag("LocalOnly", false)) return;
    trim(instance, [](const ClassDefinition& definition, const auto& property) {
      return broker::sameName(property.declaringClass, definition.name);
    });
  }

  /// DeepInheritance FALSE: only what the requested class has.
  void applyDeepInheritance(Instance& instance) const {
    if (flag("DeepInheritance", true)) return;
    const ClassDefinition& requested = classDefinition();
    trim(instance, [&](const ClassDefinition&, const auto& property) {
      return requested.property(property.name) != nullptr;
    });
  }

  /// What a provider set in spite of the list; the keys are in the path.
  void applyPropertyList(Instance& instance) const {
    const PropertyList list = properties();
    if (!list) return;
    auto& all = instance.properties;
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const broker::Property& property) {
                               return std::none_of(list->begin(), list->end(),
                                                   [&](const std::string& name) {
                                                     return broker::sameName(name, property.name);
                                                   });
                             }),
              all.end());
  }

  /// The objects of an association request. Fails: CimError.
  void writeObjects(Response response) {
    throwUnlessOk(response);
    readInstanceOptions();
    for (Instance& instance : response.instances) {
      applyPropertyList(instance);
      writer.objectWithPath(instance);
    }
  }

  void writeObjectPaths(const Response& response) {
    throwUnlessOk(response);
    for (const ObjectPath& path : response.paths) writer.objectPath(path);
  }
};

Operations::Operations(broker::Broker& broker, Namespaces namespaces, Subscriptions& subscriptions,
                       std::string host)
    : broker_(broker),
      namespaces_(std::move(namespaces)),
      subscriptions_(subscriptions),
      host_(std::move(host)) {}

const std::map<std::string, Operations::Handler, broker::NameLess>& Operations::handlers() {
  static const std::map<std::string, Handler, broker::NameLess> table = {
      {"EnumerateInstanceNames", &Operations::enumerateInstanceNames},
      {"EnumerateInstances", &Operations::enumerateInstances},
      {"GetInstance", &Operations::getInstance},
      {"CreateInstance", &Operations::createInstance},
      {"ModifyInstance", &Operations::modifyInstance},
      {"DeleteInstance", &Operations::deleteInstance},
      {"Associators", &Operations::associators},
      {"AssociatorNames", &Operations::associatorNames},
      {"References", &Operations::references},
      {"ReferenceNames", &Operations::referenceNames},
      {"GetClass", &Operations::getClass},
      {"EnumerateClasses", &Operations::enumerateClasses},
      {"EnumerateClassNames", &Operations::enumerateClassNames},
  };
  return table;
}

std::string Operations::answer(const std::string& requestText) {
  const Call call = cimxml::readCall(requestText);
  cimxml::WriteOptions options;
  options.host = host_;
  ResponseWriter writer(call, options);
  try {
    if (call.failure) throw *call.failure;
    const auto found = namespaces_.find(call.nameSpace);
    if (found == namespaces_.end()) {
      throw CimError(CMPI_RC_ERR_INVALID_NAMESPACE, "Invalid namespace");
    }
    Context context{call, writer, *found->second};
    dispatch(context);
    return writer.finish();
  } catch (const CimError& error) {
    return writer.finish(error);
  }
}

void Operations::dispatch(Context& context) {
  if (!context.call.intrinsic) {
    throw CimError(CMPI_RC_ERR_METHOD_NOT_FOUND, "There are no extrinsic methods here");
  }
  const auto found = handlers().find(context.call.method);
  if (found == handlers().end()) {
    throw CimError(CMPI_RC_ERR_NOT_SUPPORTED, context.call.method + " is not supported");
  }
  (this->*found->second)(context);
}

void Operations::enumerateInstanceNames(Context& context) {
  const std::string className = context.className();
  if (context.isInterop()) {
    for (const Instance& instance : subscriptions_.enumerate(className)) {
      context.writer.instanceName(instance.path);
    }
    return;
  }
  const Response response = broker_.enumerateInstanceNames(context.call.nameSpace, className);
  throwUnlessOk(response);
  for (const ObjectPath& path : response.paths) context.writer.instanceName(path);
}

void Operations::enumerateInstances(Context& context) {
  const std::string className = context.className();
  context.readInstanceOptions();
  std::vector<Instance> instances;
  if (context.isInterop()) {
    instances = subscriptions_.enumerate(className);
  } else {
    Response response =
        broker_.enumerateInstances(context.call.nameSpace, className, context.properties());
    throwUnlessOk(response);
    instances = std::move(response.instances);
  }
  for (Instance& instance : instances) {
    context.applyPropertyList(instance);
    context.applyLocalOnly(instance);
    context.applyDeepInheritance(instance);
    context.writer.namedInstance(instance);
  }
}

void Operations::getInstance(Context& context) {
  const ObjectPath path = context.object("InstanceName");
  context.readInstanceOptions();
  Instance instance;
  if (context.isInterop()) {
    instance = subscriptions_.get(path);
  } else {
    const Response response = broker_.getInstance(path, context.properties());
    throwUnlessOk(response);
    if (response.instances.empty()) {
      throw CimError(CMPI_RC_ERR_NOT_FOUND, broker::statusText(CMPI_RC_ERR_NOT_FOUND));
    }
    instance = response.instances.front();
  }
  context.applyPropertyList(instance);
  context.applyLocalOnly(instance);
  context.writer.instance(instance);
}

void Operations::createInstance(Context& context) {
  const Instance instance = context.instance("NewInstance");
  if (context.isInterop()) return context.writer.instanceName(subscriptions_.create(instance));
  broker::Request request;
  request.operation = broker::Operation::kCreateInstance;
  request.path = instance.path;
  request.instance = instance;
  const Response response = broker_.request(request);
  throwUnlessOk(response);
  for (const ObjectPath& path : response.paths) context.writer.instanceName(path);
}

void Operations::modifyInstance(Context& context) {
  const Instance instance = context.instance("ModifiedInstance");
  if (context.isInterop()) {
    throw CimError(CMPI_RC_ERR_NOT_SUPPORTED, "Delete and create the instance instead");
  }
  broker::Request request;
  request.operation = broker::Operation::kModifyInstance;
  request.path = instance.path;
  request.instance = instance;
  request.properties = context.properties();
  throwUnlessOk(broker_.request(request));
  context.writer.noReturnValue();
}

void Operations::deleteInstance(Context& context) {
  const ObjectPath path = context.object("InstanceName");
  context.writer.noReturnValue();
  if (context.isInterop()) return subscriptions_.remove(path);
  broker::Request request;
  request.operation = broker::Operation::kDeleteInstance;
  request.path = path;
  throwUnlessOk(broker_.request(request));
}

void Operations::associators(Context& context) {
  const ObjectPath source = context.object("ObjectName");
  context.writeObjects(broker_.associators(source, context.filter(), context.properties()));
}

void Operations::associatorNames(Context& context) {
  context.writeObjectPaths(broker_.associatorNames(context.object("ObjectName"), context.filter()));
}

void Operations::references(Context& context) {
  const ObjectPath source = context.object("ObjectName");
  context.writeObjects(broker_.references(source, context.filter(), context.properties()));
}

void Operations::referenceNames(Context& context) {
  context.writeObjectPaths(broker_.referenceNames(context.object("ObjectName"), context.filter()));
}

void Operations::getClass(Context& context) {
  ClassOptions options = context.classOptions();
  options.properties = context.properties();
  context.writer.classDefinition(context.classDefinition(), options);
}

namespace {

/// Subclasses of the named class, or of the roots when there is none; the class itself is not among
/// them.
std::vector<const ClassDefinition*> listed(const ClassRepository& classes,
                                           const std::optional<std::string>& name, bool deep) {
  if (!name || name->empty()) {
    std::vector<const ClassDefinition*> found;
    for (const ClassDefinition* definition : classes.all()) {
      if (deep || definition->superclass.empty()) found.push_back(definition);
    }
    return found;
  }
  if (classes.find(*name) == nullptr) {
    throw CimError(CMPI_RC_ERR_INVALID_CLASS, "Class not found");
  }
  return classes.subclasses(*name, deep);
}

}  // namespace

void Operations::enumerateClasses(Context& context) {
  const ClassOptions options = context.classOptions();
  const bool deep = context.flag("DeepInheritance", false);
  for (const ClassDefinition* found : listed(context.classes, context.text("ClassName"), deep)) {
    context.writer.classDefinition(*found, options);
  }
}

void Operations::enumerateClassNames(Context& context) {
  const bool deep = context.flag("DeepInheritance", false);
  for (const ClassDefinition* found : listed(context.classes, context.text("ClassName"), deep)) {
    context.writer.className(found->name);
  }
}

}  // namespace orv::serve
