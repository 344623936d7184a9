#include "serve/interop.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "cimxml/messages.h"
#include "serve/objects.h"

namespace orv::serve {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Value;
using cimxml::CimError;

constexpr const char* kSystemClass = "CIM_ComputerSystem";
constexpr const char* kManagerName = "orvcim";

struct Text {
  const char* name;
  std::string value;
};

/// An instance with these properties, of which the first `keys` are its keys.
Instance instanceOf(const char* className, std::size_t keys, const std::vector<Text>& texts) {
  Instance instance;
  instance.path.nameSpace = Interop::kNamespace;
  instance.path.className = className;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const Value value = Value::ofString(texts[i].value);
    if (i < keys) instance.path.keys.push_back({texts[i].name, value});
    instance.properties.push_back({texts[i].name, value});
  }
  return instance;
}

void add(Instance& instance, const char* name, Value value) {
  instance.properties.push_back({name, std::move(value)});
}

Instance objectManager(const std::string& host) {
  Instance manager = instanceOf("CIM_ObjectManager", 4,
                                {{"SystemCreationClassName", kSystemClass},
                                 {"SystemName", host},
                                 {"CreationClassName", "CIM_ObjectManager"},
                                 {"Name", kManagerName},
                                 {"ElementName", "orvcim"},
                                 {"Description", "The embedded broker of orvcim"},
                                 {"Version", ORV_VERSION}});
  add(manager, "GatherStatisticalData", Value::ofBoolean(false));
  add(manager, "Started", Value::ofBoolean(true));
  add(manager, "EnabledState", Value::ofUnsigned(CMPI_uint16, 2));
  return manager;
}

Instance namespaceInstance(const std::string& host, const std::string& name) {
  return instanceOf("CIM_Namespace", 6,
                    {{"SystemCreationClassName", kSystemClass},
                     {"SystemName", host},
                     {"ObjectManagerCreationClassName", "CIM_ObjectManager"},
                     {"ObjectManagerName", kManagerName},
                     {"CreationClassName", "CIM_Namespace"},
                     {"Name", name}});
}

Instance inManager(const Instance& manager, const Instance& nameSpace) {
  Instance association = instanceOf("CIM_NamespaceInManager", 0, {});
  for (const auto& [role, end] :
       {std::make_pair("Antecedent", &manager), std::make_pair("Dependent", &nameSpace)}) {
    association.path.keys.push_back({role, Value::ofReference(end->path)});
    association.properties.push_back({role, Value::ofReference(end->path)});
  }
  return association;
}

/// A profile of our own: a standard one demands more than the classes that are served.
Instance profile() {
  Instance registered = instanceOf("CIM_RegisteredProfile", 1,
                                   {{"InstanceID", "Orvane:HypervisorHostProviders"},
                                    {"RegisteredName", "Hypervisor Host Providers"},
                                    {"RegisteredVersion", ORV_VERSION},
                                    {"OtherRegisteredOrganization", "Orvane"}});
  add(registered, "RegisteredOrganization", Value::ofUnsigned(CMPI_uint16, 1));
  add(registered, "AdvertiseTypes",
      Value::ofArray(CMPI_uint16, {Value::ofUnsigned(CMPI_uint16, 2)}));
  return registered;
}

const ObjectPath* referenceOf(const broker::Property& property) {
  const auto* path = std::get_if<std::shared_ptr<const ObjectPath>>(&property.value.content);
  return path == nullptr ? nullptr : path->get();
}

bool isRole(const std::string& name, const std::optional<std::string>& wanted) {
  return !wanted || wanted->empty() || broker::sameName(name, *wanted);
}

/// Whether the object takes part in the association, under the role if one is wanted.
bool takesPart(const Instance& association, const ObjectPath& object,
               const std::optional<std::string>& role) {
  return std::any_of(association.properties.begin(), association.properties.end(),
                     [&](const broker::Property& property) {
                       const ObjectPath* reference = referenceOf(property);
                       return reference != nullptr && isRole(property.name, role) &&
                              localPath(*reference, Interop::kNamespace) == object;
                     });
}

}  // namespace

Interop::Interop(const broker::ClassRepository& classes, Subscriptions& subscriptions,
                 const std::string& host, const std::vector<std::string>& namespaces)
    : classes_(classes), subscriptions_(subscriptions) {
  const Instance manager = objectManager(host);
  fixed_ = {manager, profile()};
  for (const std::string& name : namespaces) {
    const Instance nameSpace = namespaceInstance(host, name);
    fixed_.push_back(inManager(manager, nameSpace));
    fixed_.push_back(nameSpace);
  }
}

void Interop::requireClass(const std::string& className) const {
  if (classes_.find(className) == nullptr) throw CimError(CMPI_RC_ERR_INVALID_CLASS);
}

bool Interop::matches(const std::string& className,
                      const std::optional<std::string>& wanted) const {
  if (!wanted || wanted->empty()) return true;
  requireClass(*wanted);
  return classes_.isA(className, *wanted);
}

std::vector<Instance> Interop::enumerate(const std::string& className) const {
  requireClass(className);
  std::vector<Instance> found = subscriptions_.enumerate(className);
  std::copy_if(
      fixed_.begin(), fixed_.end(), std::back_inserter(found),
      [&](const Instance& instance) { return classes_.isA(instance.path.className, className); });
  return found;
}

Instance Interop::get(const ObjectPath& path) const {
  requireClass(path.className);
  const ObjectPath wanted = localPath(path, kNamespace);
  const auto found = std::find_if(fixed_.begin(), fixed_.end(), [&](const Instance& instance) {
    return instance.path == wanted;
  });
  return found != fixed_.end() ? *found : subscriptions_.get(path);
}

std::vector<Instance> Interop::references(const ObjectPath& source,
                                          const broker::AssociationFilter& filter) const {
  requireClass(source.className);
  const ObjectPath object = localPath(source, kNamespace);
  std::vector<Instance> found;
  for (std::vector<Instance> all : {subscriptions_.enumerate(""), fixed_}) {
    for (Instance& instance : all) {
      if (matches(instance.path.className, filter.resultClass) &&
          takesPart(instance, object, filter.role)) {
        found.push_back(std::move(instance));
      }
    }
  }
  return found;
}

std::vector<Instance> Interop::associators(const ObjectPath& source,
                                           const broker::AssociationFilter& filter) const {
  broker::AssociationFilter near;
  near.resultClass = filter.assocClass;
  near.role = filter.role;
  const ObjectPath object = localPath(source, kNamespace);
  std::vector<Instance> found;
  for (const Instance& association : references(source, near)) {
    for (const broker::Property& property : association.properties) {
      const ObjectPath* end = referenceOf(property);
      if (end == nullptr || !isRole(property.name, filter.resultRole) ||
          localPath(*end, kNamespace) == object || !matches(end->className, filter.resultClass)) {
        continue;
      }
      found.push_back(get(*end));
    }
  }
  return found;
}

void Interop::requireWritable(const std::string& className) const {
  requireClass(className);
  if (!subscriptions_.concerns(className)) {
    throw CimError(CMPI_RC_ERR_NOT_SUPPORTED, "Instances of " + className + " cannot be written");
  }
}

ObjectPath Interop::create(const Instance& given, const std::string& client) {
  requireWritable(given.path.className);
  return subscriptions_.create(given, client);
}

void Interop::modify(const Instance& given, const broker::PropertyList& properties) {
  requireWritable(given.path.className);
  subscriptions_.modify(given, properties);
}

void Interop::remove(const ObjectPath& path) {
  requireWritable(path.className);
  subscriptions_.remove(path);
}

}  // namespace orv::serve
