#include "broker/class_repository.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace orv::broker {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Qualifiers that apply to one class only; every other one is inherited by subclasses.
constexpr std::string_view kRestrictedQualifiers[] = {"Abstract", "Deprecated", "Override",
                                                      "Terminal", "Version"};

bool isRestricted(std::string_view qualifier) {
  return std::any_of(std::begin(kRestrictedQualifiers), std::end(kRestrictedQualifiers),
                     [&](std::string_view name) { return sameName(name, qualifier); });
}

bool contains(const std::vector<QualifierValue>& qualifiers, std::string_view name) {
  return std::any_of(qualifiers.begin(), qualifiers.end(),
                     [&](const QualifierValue& q) { return sameName(q.name, name); });
}

/// The numbers of the Version qualifier, whose parts are separated by dots; a part without a number
/// is 0. Absent without the qualifier.
std::optional<std::vector<unsigned>> versionOf(const ClassDefinition& definition) {
  const auto& all = definition.qualifiers;
  const auto qualifier = std::find_if(
      all.begin(), all.end(), [](const QualifierValue& q) { return sameName(q.name, "Version"); });
  if (qualifier == all.end() || qualifier->values.empty()) return std::nullopt;
  std::vector<unsigned> numbers;
  std::string_view rest = qualifier->values.front();
  for (bool more = true; more;) {
    const std::size_t dot = rest.find('.');
    unsigned number = 0;
    std::from_chars(rest.data(), rest.data() + std::min(dot, rest.size()), number);
    numbers.push_back(number);
    more = dot != std::string_view::npos;
    if (more) rest.remove_prefix(dot + 1);
  }
  return numbers;
}

void inheritQualifiers(const std::vector<QualifierValue>& from, std::vector<QualifierValue>& to) {
  for (const QualifierValue& qualifier : from) {
    if (!isRestricted(qualifier.name) && !contains(to, qualifier.name)) to.push_back(qualifier);
  }
}

// `own` overrides `inherited`. It takes the inherited spelling of the name, and whatever it does
// not declare itself.
PropertyDefinition overridden(const PropertyDefinition& inherited, PropertyDefinition own) {
  own.name = inherited.name;
  own.originClass = inherited.originClass;
  own.key = own.key || inherited.key;
  own.embeddedObject = own.embeddedObject || inherited.embeddedObject;
  if (own.embeddedClass.empty()) own.embeddedClass = inherited.embeddedClass;
  if (!own.defaultValue) own.defaultValue = inherited.defaultValue;
  inheritQualifiers(inherited.qualifiers, own.qualifiers);
  return own;
}

PropertyDefinition* findProperty(std::vector<PropertyDefinition>& properties,
                                 std::string_view name) {
  auto it = std::find_if(properties.begin(), properties.end(),
                         [&](const PropertyDefinition& p) { return sameName(p.name, name); });
  return it == properties.end() ? nullptr : &*it;
}

void inherit(const ClassDefinition& parent, ClassDefinition& child) {
  child.superclass = parent.name;
  child.association = child.association || parent.association;
  child.indication = child.indication || parent.indication;
  inheritQualifiers(parent.qualifiers, child.qualifiers);

  std::vector<PropertyDefinition> all = parent.properties;
  for (PropertyDefinition& own : child.properties) {
    if (PropertyDefinition* inherited = findProperty(all, own.name)) {
      *inherited = overridden(*inherited, std::move(own));
    } else {
      all.push_back(std::move(own));
    }
  }
  child.properties = std::move(all);
}

}  // namespace

bool sameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                            [](char x, char y) { return lower(x) == lower(y); });
}

bool NameLess::operator()(std::string_view a, std::string_view b) const {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](char x, char y) { return lower(x) < lower(y); });
}

const PropertyDefinition* ClassDefinition::property(std::string_view propertyName) const {
  for (const PropertyDefinition& candidate : properties) {
    if (sameName(candidate.name, propertyName)) return &candidate;
  }
  return nullptr;
}

bool ClassRepository::add(ClassDefinition own) {
  const ClassDefinition* former = find(own.name);
  if (former != nullptr && !replaces(own, *former)) return false;
  for (PropertyDefinition& property : own.properties) {
    property.originClass = own.name;
    property.declaringClass = own.name;
  }
  if (!own.superclass.empty()) {
    const ClassDefinition* parent = find(own.superclass);
    if (parent == nullptr) {
      throw std::invalid_argument("superclass " + own.superclass + " of class " + own.name +
                                  " is not known; a superclass stands before its subclasses");
    }
    inherit(*parent, own);
  }
  if (former != nullptr) order_.erase(std::find(order_.begin(), order_.end(), former));
  std::string name = own.name;
  auto inserted = classes_.insert_or_assign(std::move(name), std::move(own)).first;
  order_.push_back(&inserted->second);
  return true;
}

bool ClassRepository::replaces(const ClassDefinition& own, const ClassDefinition& former) const {
  const auto version = versionOf(own);
  const auto formerVersion = versionOf(former);
  if (!version || !formerVersion) {
    throw std::invalid_argument("class " + own.name +
                                " is defined twice, and not with a Version each time");
  }
  if (*version <= *formerVersion) return false;
  if (!subclasses(own.name, false).empty() || sameName(own.superclass, own.name)) {
    throw std::invalid_argument("class " + own.name +
                                " is defined again after classes that derive from it");
  }
  return true;
}

void ClassRepository::declare(QualifierDefinition qualifier) {
  std::string name = qualifier.name;
  qualifiers_[std::move(name)] = std::move(qualifier);
}

const ClassDefinition* ClassRepository::find(std::string_view name) const {
  auto it = classes_.find(name);
  return it == classes_.end() ? nullptr : &it->second;
}

bool ClassRepository::isA(std::string_view name, std::string_view ancestor) const {
  if (sameName(name, ancestor)) return true;
  for (const ClassDefinition* c = find(name); c != nullptr && !c->superclass.empty();
       c = find(c->superclass)) {
    if (sameName(c->superclass, ancestor)) return true;
  }
  return false;
}

std::vector<const ClassDefinition*> ClassRepository::subclasses(std::string_view name,
                                                                bool deep) const {
  std::vector<const ClassDefinition*> found;
  for (const ClassDefinition* candidate : order_) {
    if (sameName(candidate->name, name)) continue;
    const bool below = deep ? isA(candidate->name, name) : sameName(candidate->superclass, name);
    if (below) found.push_back(candidate);
  }
  return found;
}

}  // namespace orv::broker
