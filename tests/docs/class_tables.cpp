#include "tests/docs/class_tables.h"

#include <algorithm>
#include <cctype>

#include "broker/values.h"

namespace orv::test {
namespace {

using broker::ClassDefinition;
using broker::PropertyDefinition;
using broker::QualifierValue;
using broker::RegistrationSection;

std::vector<std::string> valuesOf(const std::vector<QualifierValue>& qualifiers, const char* name) {
  for (const QualifierValue& qualifier : qualifiers) {
    if (broker::sameName(qualifier.name, name)) return qualifier.values;
  }
  return {};
}

std::string textOf(const std::vector<QualifierValue>& qualifiers, const char* name) {
  const std::vector<std::string> values = valuesOf(qualifiers, name);
  return values.empty() ? "" : values.front();
}

/// A bar would end the cell.
std::string cell(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (character == '|') escaped += '\\';
    escaped += character;
  }
  return escaped;
}

std::string sourcesOf(const PropertyDefinition& property) {
  std::string sources;
  for (const std::string& source : valuesOf(property.qualifiers, "MappingStrings")) {
    sources += (sources.empty() ? "`" : ", `") + cell(source) + "`";
  }
  return sources;
}

std::string typeOf(const PropertyDefinition& property) {
  if (property.type == CMPI_ref) return property.referenceClass + " REF";
  return broker::typeName(property.type);
}

std::string kindsOf(const RegistrationSection& section) {
  std::string kinds;
  const auto add = [&](bool is, const char* kind) {
    if (is) kinds += (kinds.empty() ? "" : ", ") + std::string(kind);
  };
  add(section.instance, "instance");
  add(section.association, "association");
  add(section.indication, "indication");
  return kinds;
}

std::string anchorOf(std::string heading) {
  std::transform(heading.begin(), heading.end(), heading.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return heading;
}

std::string sectionOf(const ClassDefinition& definition) {
  std::string text = "\n## " + definition.name + "\n\n";
  text += textOf(definition.qualifiers, "Description") + " Derives from `" + definition.superclass +
          "`.\n\n";
  text += "| Property | Type | Key | Unit | Meaning | Source |\n|---|---|---|---|---|---|\n";
  for (const PropertyDefinition& property : definition.properties) {
    if (property.declaringClass != definition.name) continue;
    text += "| " + property.name + " | " + typeOf(property) + " | " + (property.key ? "yes" : "") +
            " | " + textOf(property.qualifiers, "PUnit") + " | " +
            cell(textOf(property.qualifiers, "Description")) + " | " + sourcesOf(property) + " |\n";
  }
  return text;
}

}  // namespace

std::string classTables(const broker::ClassRepository& schema,
                        const std::vector<RegistrationSection>& sections) {
  std::string list = "| Class | Served as | By |\n|---|---|---|\n";
  std::string classes;
  for (const RegistrationSection& section : sections) {
    list += "| [" + section.className + "](#" + anchorOf(section.className) + ") | " +
            kindsOf(section) + " | " + section.provider + " |\n";
    if (const ClassDefinition* definition = schema.find(section.className)) {
      classes += sectionOf(*definition);
    }
  }
  return list + classes;
}

}  // namespace orv::test
