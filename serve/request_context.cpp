#include "serve/request_context.h"

#include <algorithm>
#include <charconv>

#include "serve/interop.h"

namespace orv::serve {
namespace {

using broker::ClassDefinition;
using broker::Instance;
using broker::ObjectPath;
using cimxml::CimError;

[[noreturn]] void badParameter(const std::string& text) {
  throw CimError(CMPI_RC_ERR_INVALID_PARAMETER, text);
}

}  // namespace

void throwUnlessOk(const broker::Response& response) {
  if (response.ok()) return;
  throw CimError(response.rc, response.message.value_or(broker::statusText(response.rc)));
}

bool RequestContext::isInterop() const {
  return broker::sameName(call.nameSpace, Interop::kNamespace);
}

const cimxml::Parameter* RequestContext::parameter(const char* name) const {
  const auto found = call.parameters.find(name);
  return found == call.parameters.end() ? nullptr : &found->second;
}

std::optional<std::string> RequestContext::text(const char* name) const {
  const cimxml::Parameter* found = parameter(name);
  return found == nullptr ? std::nullopt : found->text;
}

bool RequestContext::flag(const char* name, bool byDefault) const {
  const std::optional<std::string> given = text(name);
  if (!given) return byDefault;
  if (broker::sameName(*given, "TRUE")) return true;
  if (broker::sameName(*given, "FALSE")) return false;
  badParameter(std::string(name) + " must be TRUE or FALSE");
}

std::optional<std::uint64_t> RequestContext::number(const char* name) const {
  const std::optional<std::string> given = text(name);
  if (!given) return std::nullopt;
  std::uint64_t value = 0;
  const char* end = given->data() + given->size();
  const auto [rest, error] = std::from_chars(given->data(), end, value);
  if (error != std::errc() || rest != end) badParameter(std::string(name) + " must be a number");
  return value;
}

std::string RequestContext::className() const {
  const std::optional<std::string> name = text("ClassName");
  if (!name || name->empty()) badParameter("ClassName is missing");
  return *name;
}

const ClassDefinition& RequestContext::classDefinition() const {
  const ClassDefinition* definition = classes.find(className());
  if (definition == nullptr) throw CimError(CMPI_RC_ERR_INVALID_CLASS);
  return *definition;
}

ObjectPath RequestContext::object(const char* name) const {
  const cimxml::Parameter* found = parameter(name);
  if (found == nullptr || !found->objectName) badParameter(std::string(name) + " is missing");
  ObjectPath path = *found->objectName;
  path.nameSpace = call.nameSpace;
  return path;
}

Instance RequestContext::instance(const char* name) const {
  const cimxml::Parameter* found = parameter(name);
  if (found == nullptr || !found->instance) badParameter(std::string(name) + " is missing");
  Instance given = *found->instance;
  given.path.nameSpace = call.nameSpace;
  return given;
}

broker::AssociationFilter RequestContext::filter() const {
  return {text("AssocClass"), text("ResultClass"), text("Role"), text("ResultRole")};
}

broker::PropertyList RequestContext::properties() const {
  const cimxml::Parameter* found = parameter("PropertyList");
  if (found == nullptr || !found->list) return std::nullopt;
  Names wanted;
  for (const std::string& name : *found->list) {
    if (names_.propertyNames.count(name) > 0) wanted.insert(name);
  }
  return std::vector<std::string>(wanted.begin(), wanted.end());
}

cimxml::ClassOptions RequestContext::classOptions() const {
  cimxml::ClassOptions options;
  options.localOnly = flag("LocalOnly", true);
  options.includeQualifiers = flag("IncludeQualifiers", true);
  options.includeClassOrigin = flag("IncludeClassOrigin", false);
  return options;
}

/// Of the properties that the instance's class has, removes those for which `keep` is false.
template <typename Keep>
void RequestContext::trim(Instance& instance, Keep&& keep) const {
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

void RequestContext::applyLocalOnly(Instance& instance) const {
  if (!flag("LocalOnly", false)) return;
  trim(instance, [](const ClassDefinition& definition, const auto& property) {
    return broker::sameName(property.declaringClass, definition.name);
  });
}

void RequestContext::applyDeepInheritance(Instance& instance) const {
  if (flag("DeepInheritance", true)) return;
  const ClassDefinition& requested = classDefinition();
  trim(instance, [&](const ClassDefinition&, const auto& property) {
    return requested.property(property.name) != nullptr;
  });
}

}  // namespace orv::serve
