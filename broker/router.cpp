#include "broker/router.h"

#include <algorithm>
#include <functional>

#include "broker/provider_call.h"
#include "broker/request_context.h"

namespace orv::broker {
namespace {

using Serves = std::function<bool(const RegistrationSection&)>;

bool isEnumeration(Operation operation) {
  return operation == Operation::kEnumerateInstances ||
         operation == Operation::kEnumerateInstanceNames || operation == Operation::kExecQuery;
}

Section* sectionOf(const std::string& className, const Serves& serves,
                   std::deque<Section>& sections) {
  for (Section& section : sections) {
    if (sameName(section.registration.className, className) && serves(section.registration)) {
      return &section;
    }
  }
  return nullptr;
}

/// The section of the class, or else of the nearest superclass that has one. Null when there is
/// none.
Section* nearestSection(const std::string& className, const Serves& serves,
                        const ClassRepository& classes, std::deque<Section>& sections) {
  std::string name = className;
  while (!name.empty()) {
    if (Section* section = sectionOf(name, serves, sections)) return section;
    const ClassDefinition* definition = classes.find(name);
    name = definition != nullptr ? definition->superclass : "";
  }
  return nullptr;
}

void addOnce(std::vector<Target>& targets, Section* section, const std::string& className) {
  const bool known = std::any_of(targets.begin(), targets.end(), [section](const Target& target) {
    return target.section == section;
  });
  if (section != nullptr && !known) targets.push_back({section, className});
}

/// The section of the class and those of its subclasses, which get their own class names.
std::vector<Target> wholeBranch(const std::string& className, const Serves& serves,
                                const ClassRepository& classes, std::deque<Section>& sections) {
  std::vector<Target> targets;
  addOnce(targets, nearestSection(className, serves, classes, sections), className);
  for (const ClassDefinition* subclass : classes.subclasses(className, true)) {
    Section* section = sectionOf(subclass->name, serves, sections);
    if (section != nullptr) addOnce(targets, section, section->registration.className);
  }
  return targets;
}

/// Adds a section with the class name of the source, unless its provider is among the targets.
void addProviderOnce(std::vector<Target>& targets, Section& section, const RouteQuery& query) {
  const bool asked = std::any_of(targets.begin(), targets.end(), [&section](const Target& target) {
    return target.section->registration.provider == section.registration.provider;
  });
  if (!asked) targets.push_back({&section, query.className});
}

std::vector<Target> associationTargets(const RouteQuery& query, const Serves& serves,
                                       const ClassRepository& classes,
                                       std::deque<Section>& sections) {
  std::vector<Target> targets;
  if (!query.assocClass.empty()) {
    for (const Target& target : wholeBranch(query.assocClass, serves, classes, sections)) {
      addProviderOnce(targets, *target.section, query);
    }
    return targets;
  }
  for (Section& section : sections) {
    const ClassDefinition* definition = classes.find(section.registration.className);
    const bool isLink = definition != nullptr && definition->association;
    if (isLink && serves(section.registration)) addProviderOnce(targets, section, query);
  }
  return targets;
}

std::vector<Target> findTargets(const RouteQuery& query, const ClassRepository& classes,
                                std::deque<Section>& sections) {
  const bool association = isAssociationOperation(query.operation);
  const Serves serves = [&query, association](const RegistrationSection& section) {
    return (association ? section.association : section.instance) &&
           servesNamespace(section, query.nameSpace);
  };
  if (association) return associationTargets(query, serves, classes, sections);
  if (isEnumeration(query.operation)) {
    return wholeBranch(query.className, serves, classes, sections);
  }
  std::vector<Target> targets;
  addOnce(targets, nearestSection(query.className, serves, classes, sections), query.className);
  return targets;
}

Route refused(CMPIrc rc) { return {rc, statusText(rc), {}}; }

}  // namespace

Route route(const RouteQuery& query, const ClassRepository* classes,
            std::deque<Section>& sections) {
  if (classes == nullptr) return refused(CMPI_RC_ERR_INVALID_NAMESPACE);
  const bool knowsClasses =
      classes->find(query.className) != nullptr &&
      (query.assocClass.empty() || classes->find(query.assocClass) != nullptr);
  if (!knowsClasses) return refused(CMPI_RC_ERR_INVALID_CLASS);
  return {CMPI_RC_OK, "", findTargets(query, *classes, sections)};
}

}  // namespace orv::broker
