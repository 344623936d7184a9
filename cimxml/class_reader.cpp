#include "cimxml/class_reader.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "cimxml/element_reader.h"
#include "cimxml/messages.h"

namespace orv::cimxml {
namespace {

using broker::PropertyDefinition;
using broker::QualifierValue;
using pugi::xml_node;

std::optional<std::vector<std::string>> readLiterals(const xml_node& node) {
  if (const xml_node value = node.child("VALUE")) {
    return std::vector<std::string>{value.text().get()};
  }
  const xml_node values = node.child("VALUE.ARRAY");
  if (!values) return std::nullopt;
  std::vector<std::string> literals;
  for (const xml_node value : values.children("VALUE")) literals.emplace_back(value.text().get());
  return literals;
}

std::vector<QualifierValue> readQualifiers(const xml_node& node) {
  std::vector<QualifierValue> qualifiers;
  for (const xml_node child : node.children("QUALIFIER")) {
    QualifierValue qualifier;
    qualifier.name = child.attribute("NAME").value();
    const bool isArray = child.child("VALUE.ARRAY");
    qualifier.type = static_cast<CMPIType>(dataTypeOf(child) | (isArray ? CMPI_ARRAY : 0));
    qualifier.values = readLiterals(child).value_or(std::vector<std::string>());
    qualifiers.push_back(std::move(qualifier));
  }
  return qualifiers;
}

const QualifierValue* find(const std::vector<QualifierValue>& qualifiers, std::string_view name) {
  const auto found = std::find_if(qualifiers.begin(), qualifiers.end(), [&](const auto& one) {
    return broker::sameName(one.name, name);
  });
  return found == qualifiers.end() ? nullptr : &*found;
}

/// Whether a boolean qualifier is true. Without a value it is.
bool isSet(const std::vector<QualifierValue>& qualifiers, std::string_view name) {
  const QualifierValue* found = find(qualifiers, name);
  return found != nullptr &&
         (found->values.empty() || broker::sameName(found->values.front(), "true"));
}

PropertyDefinition readDeclaration(const xml_node& node) {
  const std::string_view element = node.name();
  PropertyDefinition property;
  property.name = node.attribute("NAME").value();
  if (element == "PROPERTY.REFERENCE") {
    property.type = CMPI_ref;
    property.referenceClass = node.attribute("REFERENCECLASS").value();
  } else {
    const bool isArray = element == "PROPERTY.ARRAY";
    property.type = static_cast<CMPIType>(dataTypeOf(node) | (isArray ? CMPI_ARRAY : 0));
    property.defaultValue = readLiterals(node);
  }
  property.originClass = node.attribute("CLASSORIGIN").value();
  property.qualifiers = readQualifiers(node);
  property.key = isSet(property.qualifiers, "Key");
  property.embeddedObject = isSet(property.qualifiers, "EmbeddedObject");
  if (const QualifierValue* embedded = find(property.qualifiers, "EmbeddedInstance")) {
    if (!embedded->values.empty()) property.embeddedClass = embedded->values.front();
  }
  return property;
}

}  // namespace

broker::ClassDefinition readClass(const xml_node& node) {
  broker::ClassDefinition definition;
  definition.name = node.attribute("NAME").value();
  if (definition.name.empty()) throw BadMessage("response-not-valid", "CLASS without NAME");
  definition.superclass = node.attribute("SUPERCLASS").value();
  definition.qualifiers = readQualifiers(node);
  definition.association = isSet(definition.qualifiers, "Association");
  definition.indication = isSet(definition.qualifiers, "Indication");
  definition.abstract = isSet(definition.qualifiers, "Abstract");
  for (const xml_node child : node.children()) {
    if (std::string_view(child.name()).substr(0, 8) == "PROPERTY") {
      definition.properties.push_back(readDeclaration(child));
    }
  }
  return definition;
}

}  // namespace orv::cimxml
