// Operations on classes and qualifiers.

#include "serve/operations.h"

namespace orv::serve {
namespace {

using broker::ClassDefinition;
using broker::ClassRepository;
using cimxml::CimError;
using cimxml::ClassOptions;

/// Subclasses of the named class, without the class itself. Without a name, the classes that have
/// no superclass. With `deep`, all below them too.
std::vector<const ClassDefinition*> listed(const ClassRepository& classes,
                                           const std::optional<std::string>& name, bool deep) {
  if (!name || name->empty()) {
    std::vector<const ClassDefinition*> found;
    for (const ClassDefinition* definition : classes.all()) {
      if (deep || definition->superclass.empty()) found.push_back(definition);
    }
    return found;
  }
  if (classes.find(*name) == nullptr) throw CimError(CMPI_RC_ERR_INVALID_CLASS);
  return classes.subclasses(*name, deep);
}

}  // namespace

void Operations::getClass(RequestContext& context) {
  ClassOptions options = context.classOptions();
  options.properties = context.properties();
  const ClassDefinition* definition = context.classes.find(context.className());
  // The class is the requested object, so this is "not found", not "invalid class".
  if (definition == nullptr) throw CimError(CMPI_RC_ERR_NOT_FOUND, "Class not found");
  context.writer.classDefinition(*definition, options);
}

void Operations::enumerateClasses(RequestContext& context) {
  const ClassOptions options = context.classOptions();
  const bool deep = context.flag("DeepInheritance", false);
  for (const ClassDefinition* found : listed(context.classes, context.text("ClassName"), deep)) {
    context.writer.classDefinition(*found, options);
  }
}

void Operations::enumerateClassNames(RequestContext& context) {
  const bool deep = context.flag("DeepInheritance", false);
  for (const ClassDefinition* found : listed(context.classes, context.text("ClassName"), deep)) {
    context.writer.className(found->name);
  }
}

void Operations::getQualifier(RequestContext& context) {
  const std::optional<std::string> name = context.text("QualifierName");
  if (!name || name->empty()) {
    throw CimError(CMPI_RC_ERR_INVALID_PARAMETER, "QualifierName is missing");
  }
  const auto found = context.classes.qualifiers().find(*name);
  if (found == context.classes.qualifiers().end()) {
    throw CimError(CMPI_RC_ERR_NOT_FOUND, "Qualifier not found");
  }
  context.writer.qualifier(found->second);
}

void Operations::enumerateQualifiers(RequestContext& context) {
  for (const auto& [name, qualifier] : context.classes.qualifiers()) {
    context.writer.qualifier(qualifier);
  }
}

}  // namespace orv::serve
