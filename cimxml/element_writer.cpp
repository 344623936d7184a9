#include "cimxml/element_writer.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <tuple>
#include <utility>

#include "broker/class_layout.h"

namespace orv::cimxml {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::PropertyDefinition;
using broker::Value;
using pugi::xml_node;

/// Elements always have an end tag: some clients do not accept every empty element without one.
constexpr unsigned kFormat = pugi::format_raw | pugi::format_no_empty_element_tags;

/// Length in bytes of the well-formed UTF-8 sequence at the start of the text; 0 when there is
/// none.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  const std::size_t length = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  if (first == 0xE0 && byte(1) < 0xA0) return 0;                      // overlong
  if (first == 0xED && byte(1) > 0x9F) return 0;                      // surrogates
  if (first == 0xEF && byte(1) == 0xBF && byte(2) >= 0xBE) return 0;  // U+FFFE, U+FFFF
  if (first == 0xF0 && byte(1) < 0x90) return 0;                      // overlong
  if (first == 0xF4 && byte(1) > 0x8F) return 0;                      // past U+10FFFF
  return length;
}

bool isXmlControl(unsigned char c) { return c < 0x20 && c != '\t' && c != '\n' && c != '\r'; }

std::string utf8Of(std::uint64_t unit) {
  if (unit < 0x80) return std::string(1, static_cast<char>(unit));
  if (unit < 0x800) {
    return {static_cast<char>(0xC0 | (unit >> 6)), static_cast<char>(0x80 | (unit & 0x3F))};
  }
  return {static_cast<char>(0xE0 | (unit >> 12)), static_cast<char>(0x80 | ((unit >> 6) & 0x3F)),
          static_cast<char>(0x80 | (unit & 0x3F))};
}

std::string typeText(CMPIType type) {
  return broker::typeName(static_cast<CMPIType>(type & ~CMPI_ARRAY));
}

/// Text of a value that is neither null nor an array nor an instance.
std::string valueText(const Value& value) {
  struct Visitor {
    CMPIType type;
    std::string operator()(std::monostate) const { return {}; }
    std::string operator()(bool b) const { return b ? "TRUE" : "FALSE"; }
    std::string operator()(std::uint64_t number) const {
      return type == CMPI_char16 ? utf8Of(number) : std::to_string(number);
    }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(double number) const {
      char text[40];
      std::snprintf(text, sizeof text, type == CMPI_real32 ? "%.8e" : "%.16e", number);
      return text;
    }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(const broker::DateTime& time) const { return time.text; }
    std::string operator()(const Value::Array&) const { return {}; }
    std::string operator()(const std::shared_ptr<const Instance>&) const { return {}; }
    std::string operator()(const std::shared_ptr<const ObjectPath>& path) const {
      return path->toText();
    }
  };
  return std::visit(Visitor{value.type}, value.content);
}

void setName(xml_node node, const std::string& name) {
  node.append_attribute("NAME") = cleanText(name).c_str();
}

void appendReference(xml_node parent, const ObjectPath& path) {
  xml_node node = parent.append_child("VALUE.REFERENCE");
  if (!path.host.empty()) return appendInstancePath(node, path, path.host);
  if (path.nameSpace.empty()) return appendInstanceName(node, path);
  xml_node local = node.append_child("LOCALINSTANCEPATH");
  appendNameSpace(local, path.nameSpace);
  appendInstanceName(local, path);
}

const ObjectPath* referenceOf(const Value& value) {
  const auto* path = std::get_if<std::shared_ptr<const ObjectPath>>(&value.content);
  return path == nullptr ? nullptr : path->get();
}

std::string instanceText(const Instance& instance) {
  pugi::xml_document document;
  appendInstance(document, instance, nullptr);
  return elementText(document);
}

void appendArray(xml_node property, const Value& value) {
  if (value.null) return;
  xml_node values = property.append_child("VALUE.ARRAY");
  for (const Value& element : value.array()) {
    // Deliberate (contract.md#null-elements): some clients stop at a VALUE.NULL.
    if (element.null) continue;
    if (const auto* embedded = std::get_if<std::shared_ptr<const Instance>>(&element.content)) {
      appendText(values, "VALUE", instanceText(**embedded));
    } else {
      appendText(values, "VALUE", valueText(element));
    }
  }
}

const char* propertyElement(const Value& value) {
  if (value.isArray()) return "PROPERTY.ARRAY";
  return value.type == CMPI_ref ? "PROPERTY.REFERENCE" : "PROPERTY";
}

void appendProperty(xml_node parent, const broker::Property& property,
                    const broker::ClassDefinition* origins) {
  const Value& value = property.value;
  xml_node node = parent.append_child(propertyElement(value));
  setName(node, property.name);
  const CMPIType element = static_cast<CMPIType>(value.type & ~CMPI_ARRAY);
  const bool embedded = element == CMPI_instance;
  if (value.type != CMPI_ref) {
    node.append_attribute("TYPE") = embedded ? "string" : typeText(element).c_str();
  }
  if (embedded) node.append_attribute("EmbeddedObject") = "instance";
  const PropertyDefinition* declared =
      origins == nullptr ? nullptr : origins->property(property.name);
  if (declared != nullptr) node.append_attribute("CLASSORIGIN") = declared->originClass.c_str();
  if (value.isArray()) return appendArray(node, value);
  if (value.null) return;
  if (value.type == CMPI_ref) {
    if (const ObjectPath* reference = referenceOf(value)) appendReference(node, *reference);
  } else if (embedded) {
    appendText(node, "VALUE", instanceText(value.instance()));
  } else {
    appendText(node, "VALUE", valueText(value));
  }
}

void appendQualifiers(xml_node parent, const std::vector<broker::QualifierValue>& qualifiers) {
  for (const broker::QualifierValue& qualifier : qualifiers) {
    xml_node node = parent.append_child("QUALIFIER");
    setName(node, qualifier.name);
    node.append_attribute("TYPE") = typeText(qualifier.type).c_str();
    const bool isBoolean = qualifier.type == CMPI_boolean;
    const auto text = [&](const std::string& value) {
      return isBoolean ? std::string(broker::sameName(value, "true") ? "TRUE" : "FALSE") : value;
    };
    if ((qualifier.type & CMPI_ARRAY) != 0) {
      xml_node values = node.append_child("VALUE.ARRAY");
      for (const std::string& value : qualifier.values) appendText(values, "VALUE", text(value));
    } else if (!qualifier.values.empty()) {
      appendText(node, "VALUE", text(qualifier.values.front()));
    }
  }
}

bool hasName(const std::vector<std::string>& names, std::string_view wanted) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return broker::sameName(name, wanted); });
}

/// VALUE or VALUE.ARRAY of literals from MOF; nothing for null.
void appendLiterals(xml_node node, CMPIType type,
                    const std::optional<std::vector<std::string>>& literals) {
  if (!literals) return;
  const auto elementType = static_cast<CMPIType>(type & ~CMPI_ARRAY);
  const auto text = [&](const std::string& value) {
    if (elementType == CMPI_boolean) {
      return std::string(broker::sameName(value, "true") ? "TRUE" : "FALSE");
    }
    if (elementType != CMPI_char16) return value;
    const Value character = broker::literalValue(elementType, value);
    return character.null ? std::string() : valueText(character);
  };
  if ((type & CMPI_ARRAY) != 0) {
    xml_node values = node.append_child("VALUE.ARRAY");
    for (const std::string& value : *literals) appendText(values, "VALUE", text(value));
  } else if (!literals->empty()) {
    appendText(node, "VALUE", text(literals->front()));
  }
}

void appendDeclaration(xml_node parent, const PropertyDefinition& property,
                       const std::string& className, const ClassOptions& options) {
  const bool isReference = property.type == CMPI_ref;
  const bool isArray = (property.type & CMPI_ARRAY) != 0;
  xml_node node = parent.append_child(isReference ? "PROPERTY.REFERENCE"
                                      : isArray   ? "PROPERTY.ARRAY"
                                                  : "PROPERTY");
  setName(node, property.name);
  if (isReference) {
    node.append_attribute("REFERENCECLASS") = property.referenceClass.c_str();
  } else {
    node.append_attribute("TYPE") = typeText(property.type).c_str();
  }
  if (options.includeClassOrigin) {
    node.append_attribute("CLASSORIGIN") = property.originClass.c_str();
  }
  if (!broker::sameName(property.declaringClass, className)) {
    node.append_attribute("PROPAGATED") = "true";
  }
  if (options.includeQualifiers) appendQualifiers(node, property.qualifiers);
  appendLiterals(node, property.type, property.defaultValue);
}

/// Collects what pugixml prints.
struct Collector : pugi::xml_writer {
  std::string text;
  void write(const void* data, std::size_t size) override {
    text.append(static_cast<const char*>(data), size);
  }
};

}  // namespace

std::string cleanText(std::string_view text) {
  std::string clean;
  clean.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    if (length == 0 || isXmlControl(static_cast<unsigned char>(text[0]))) {
      clean += "\xEF\xBF\xBD";
      text.remove_prefix(1);
    } else {
      clean += text.substr(0, length);
      text.remove_prefix(length);
    }
  }
  return clean;
}

xml_node appendText(xml_node parent, const char* element, const std::string& text) {
  xml_node node = parent.append_child(element);
  node.append_child(pugi::node_pcdata).set_value(cleanText(text).c_str());
  return node;
}

void appendNameSpace(xml_node parent, const std::string& nameSpace) {
  xml_node node = parent.append_child("LOCALNAMESPACEPATH");
  std::istringstream parts(nameSpace);
  // A leading slash gives a first part with an empty name: the client sees what the provider wrote.
  for (std::string part; std::getline(parts, part, '/');) {
    setName(node.append_child("NAMESPACE"), part);
  }
}

void appendInstanceName(xml_node parent, const ObjectPath& path) {
  xml_node node = parent.append_child("INSTANCENAME");
  node.append_attribute("CLASSNAME") = cleanText(path.className).c_str();
  for (const broker::Key& key : path.keys) {
    if (key.value.null) continue;
    xml_node binding = node.append_child("KEYBINDING");
    setName(binding, key.name);
    if (const ObjectPath* reference = referenceOf(key.value)) {
      appendReference(binding, *reference);
      continue;
    }
    xml_node value = appendText(binding, "KEYVALUE", valueText(key.value));
    const bool isText = key.value.type == CMPI_string || key.value.type == CMPI_dateTime ||
                        key.value.type == CMPI_char16;
    value.append_attribute("VALUETYPE") = isText                           ? "string"
                                          : key.value.type == CMPI_boolean ? "boolean"
                                                                           : "numeric";
  }
}

void appendInstancePath(xml_node parent, const ObjectPath& path, const std::string& host) {
  xml_node node = parent.append_child("INSTANCEPATH");
  xml_node full = node.append_child("NAMESPACEPATH");
  appendText(full, "HOST", path.host.empty() ? host : path.host);
  appendNameSpace(full, path.nameSpace);
  appendInstanceName(node, path);
}

void appendInstance(xml_node parent, const Instance& instance,
                    const broker::ClassDefinition* origins) {
  xml_node node = parent.append_child("INSTANCE");
  node.append_attribute("CLASSNAME") = cleanText(instance.path.className).c_str();
  for (const broker::Property& property : instance.properties) {
    appendProperty(node, property, origins);
  }
}

void appendQualifierDeclaration(xml_node parent, const broker::QualifierDefinition& definition) {
  xml_node node = parent.append_child("QUALIFIER.DECLARATION");
  setName(node, definition.name);
  node.append_attribute("TYPE") = typeText(definition.type).c_str();
  node.append_attribute("ISARRAY") = (definition.type & CMPI_ARRAY) != 0 ? "true" : "false";
  for (const auto& [flavor, attribute, value] :
       {std::make_tuple("DisableOverride", "OVERRIDABLE", "false"),
        {"Restricted", "TOSUBCLASS", "false"},
        {"Translatable", "TRANSLATABLE", "true"}}) {
    if (hasName(definition.flavors, flavor)) node.append_attribute(attribute) = value;
  }
  if (!definition.scopes.empty()) {
    xml_node scope = node.append_child("SCOPE");
    for (const char* name :
         {"CLASS", "ASSOCIATION", "REFERENCE", "PROPERTY", "METHOD", "PARAMETER", "INDICATION"}) {
      if (hasName(definition.scopes, name) || hasName(definition.scopes, "any")) {
        scope.append_attribute(name) = "true";
      }
    }
  }
  appendLiterals(node, definition.type, definition.defaultValue);
}

void appendClass(xml_node parent, const broker::ClassDefinition& definition,
                 const ClassOptions& options) {
  xml_node node = parent.append_child("CLASS");
  setName(node, definition.name);
  if (!definition.superclass.empty()) {
    node.append_attribute("SUPERCLASS") = definition.superclass.c_str();
  }
  if (options.includeQualifiers) appendQualifiers(node, definition.qualifiers);
  for (const PropertyDefinition& property : definition.properties) {
    const bool own = broker::sameName(property.declaringClass, definition.name);
    const bool listed = !options.properties || hasName(*options.properties, property.name);
    if (!listed || (options.localOnly && !own)) continue;
    appendDeclaration(node, property, definition.name, options);
  }
}

xml_node appendMessage(pugi::xml_document& document, const std::string& id) {
  xml_node declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  declaration.append_attribute("encoding") = "utf-8";
  xml_node root = document.append_child("CIM");
  root.append_attribute("CIMVERSION") = "2.0";
  root.append_attribute("DTDVERSION") = "2.0";
  xml_node message = root.append_child("MESSAGE");
  message.append_attribute("ID") = cleanText(id).c_str();
  message.append_attribute("PROTOCOLVERSION") = "1.0";
  return message;
}

std::string elementText(const pugi::xml_document& elements) {
  Collector collector;
  elements.print(collector, "", kFormat | pugi::format_no_declaration, pugi::encoding_utf8);
  return std::move(collector.text);
}

std::string documentText(const pugi::xml_document& document) {
  Collector collector;
  document.print(collector, "", kFormat, pugi::encoding_utf8);
  return std::move(collector.text);
}

}  // namespace orv::cimxml
