#include "cimxml/element_reader.h"

#include <utility>

#include "broker/characters.h"
#include "broker/date_times.h"
#include "cimxml/messages.h"

namespace orv::cimxml {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Value;
using std::string_view;

[[noreturn]] void badParameter(const std::string& text) {
  throw CimError(CMPI_RC_ERR_INVALID_PARAMETER, text);
}

/// Walks without recursion: a hostile message must not exhaust the stack.
void checkDepth(const pugi::xml_node& root) {
  std::size_t depth = 0;
  pugi::xml_node node = root;
  while (node) {
    if (depth > kMaximumXmlDepth) requestNotValid("elements are nested too deeply");
    if (node.first_child()) {
      node = node.first_child();
      ++depth;
      continue;
    }
    while (node && node != root && !node.next_sibling()) {
      node = node.parent();
      --depth;
    }
    node = node == root ? pugi::xml_node() : node.next_sibling();
  }
}

/// A number without a declared type: unsigned 64-bit, with a sign signed 64-bit.
Value untypedNumber(const std::string& text) {
  if (const auto magnitude = broker::wholeNumber<std::uint64_t>(text)) {
    return Value::ofUnsigned(CMPI_uint64, *magnitude);
  }
  const string_view digits = !text.empty() && text[0] == '+' ? string_view(text).substr(1) : text;
  if (const auto number = broker::wholeNumber<std::int64_t>(digits)) {
    return Value::ofSigned(CMPI_sint64, *number);
  }
  badParameter("\"" + text + "\" is not a number");
}

bool booleanOf(const std::string& text) {
  if (broker::sameName(text, "TRUE")) return true;
  if (broker::sameName(text, "FALSE")) return false;
  badParameter("\"" + text + "\" is neither TRUE nor FALSE");
}

Value readKeyValue(const pugi::xml_node& node) {
  const string_view type = node.attribute("VALUETYPE").as_string("string");
  const std::string text = node.text().get();
  if (type == "numeric") return untypedNumber(text);
  if (type == "boolean") return Value::ofBoolean(booleanOf(text));
  return Value::ofString(text);
}

/// The UTF-16 code unit of a text of one character, in UTF-8.
std::uint64_t char16Of(const std::string& text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const auto tail = [&](std::size_t i) { return static_cast<std::uint64_t>(byte(i) & 0x3F); };
  if (text.size() == 1 && byte(0) < 0x80) return byte(0);
  if (text.size() == 2 && byte(0) >> 5 == 0x06) return (byte(0) & 0x1FU) << 6 | tail(1);
  if (text.size() == 3 && byte(0) >> 4 == 0x0E) {
    return (byte(0) & 0x0FU) << 12 | tail(1) << 6 | tail(2);
  }
  badParameter("\"" + text + "\" is not one char16");
}

unsigned bitsOf(CMPIType type) {
  return 8U << (static_cast<unsigned>(type) >> 4 & 3);  // 0x80 is uint8, 0xC0 sint8, and so on
}

/// An integer of this type. A value that does not fit is refused, not truncated.
Value readInteger(CMPIType type, const std::string& text) {
  const Value number = untypedNumber(text);
  const bool hasSign = number.type == CMPI_sint64;
  const bool isSigned = (type & CMPI_SINT) == CMPI_SINT;
  const unsigned unusedBits = 64 - bitsOf(type);
  const std::uint64_t largest = ~std::uint64_t{0} >> (isSigned ? unusedBits + 1 : unusedBits);
  const bool negative = hasSign && number.signedNumber() < 0;
  // Of a negative number one less than its magnitude, because these reach one further.
  const std::uint64_t magnitude = !hasSign   ? number.number()
                                  : negative ? ~static_cast<std::uint64_t>(number.signedNumber())
                                             : static_cast<std::uint64_t>(number.signedNumber());
  if (magnitude > largest || (negative && !isSigned)) {
    badParameter("\"" + text + "\" does not fit " + broker::typeName(type));
  }
  if (!isSigned) return Value::ofUnsigned(type, magnitude);
  return Value::ofSigned(
      type, hasSign ? number.signedNumber() : static_cast<std::int64_t>(number.number()));
}

/// A real32 is parsed as a float: rounding twice, to a double first, could give another number.
Value readReal(CMPIType type, const std::string& text) {
  std::optional<double> number = broker::wholeNumber<double>(text);
  if (type == CMPI_real32) number = broker::wholeNumber<float>(text);
  if (!number) badParameter("\"" + text + "\" is not a number");
  return Value::ofReal(type, *number);
}

Value readDateTime(const std::string& text) {
  auto time = broker::parseDateTime(text);
  return time ? Value::ofDateTime(std::move(*time)) : Value::ofString(text);
}

Value readValue(CMPIType type, const std::string& text) {
  if (type == CMPI_string) return Value::ofString(text);
  if (type == CMPI_dateTime) return readDateTime(text);
  if (type == CMPI_boolean) return Value::ofBoolean(booleanOf(text));
  if (type == CMPI_char16) return Value::ofUnsigned(type, char16Of(text));
  if (type == CMPI_real32 || type == CMPI_real64) return readReal(type, text);
  return readInteger(type, text);
}

Instance readNestedInstance(const pugi::xml_node& node, int depth);

/// Reads the text of an embedded instance.
Value readEmbedded(const std::string& text, int depth) {
  if (depth > kMaximumEmbeddedDepth) badParameter("instances embedded too deep");
  pugi::xml_document document;
  try {
    parseDocument(document, text);
    return Value::ofInstance(readNestedInstance(document.child("INSTANCE"), depth));
  } catch (const BadMessage& bad) {
    badParameter(std::string("an embedded instance cannot be read: ") + bad.what());
  }
}

Value readProperty(const pugi::xml_node& node, int depth) {
  if (is(node, "PROPERTY.REFERENCE")) {
    const pugi::xml_node reference = node.child("VALUE.REFERENCE");
    return reference ? Value::ofReference(readReference(reference)) : Value::ofNull(CMPI_ref);
  }
  const bool embedded = node.attribute("EmbeddedObject") || node.attribute("EMBEDDEDOBJECT");
  const CMPIType type = embedded ? static_cast<CMPIType>(CMPI_instance) : dataTypeOf(node);
  const auto read = [&](const pugi::xml_node& value) {
    const char* text = value.text().get();
    return embedded ? readEmbedded(text, depth + 1) : readValue(type, text);
  };
  if (is(node, "PROPERTY")) {
    const pugi::xml_node value = node.child("VALUE");
    return value ? read(value) : Value::ofNull(type);
  }
  const pugi::xml_node values = node.child("VALUE.ARRAY");
  if (!values) return Value::ofNull(static_cast<CMPIType>(type | CMPI_ARRAY));
  Value::Array elements;
  for (const pugi::xml_node element : values.children()) {
    elements.push_back(is(element, "VALUE") ? read(element) : Value::ofNull(type));
  }
  return Value::ofArray(type, std::move(elements));
}

Instance readNestedInstance(const pugi::xml_node& node, int depth) {
  Instance instance;
  instance.path.className = node.attribute("CLASSNAME").value();
  if (instance.path.className.empty()) requestNotValid("INSTANCE without CLASSNAME");
  for (const pugi::xml_node property : node.children()) {
    if (string_view(property.name()).substr(0, 8) != "PROPERTY") continue;
    instance.properties.push_back(
        {property.attribute("NAME").value(), readProperty(property, depth)});
  }
  return instance;
}

}  // namespace

[[noreturn]] void requestNotValid(const std::string& text) {
  throw BadMessage("request-not-valid", text);
}

bool is(const pugi::xml_node& node, string_view name) { return node.name() == name; }

void parseDocument(pugi::xml_document& document, string_view text) {
  const pugi::xml_parse_result result =
      document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata);
  if (!result) {
    throw BadMessage("request-not-well-formed", std::string(result.description()) + " at byte " +
                                                    std::to_string(result.offset));
  }
  checkDepth(document);
}

CMPIType dataTypeOf(const pugi::xml_node& node) {
  const string_view name = node.attribute("TYPE").as_string("string");
  const auto type = broker::dataTypeNamed(name);
  if (type && broker::typeName(*type) == name) return *type;  // in XML the case of letters matters
  badParameter("unknown TYPE \"" + std::string(name) + "\"");
}

pugi::xml_node firstElement(const pugi::xml_node& node) {
  for (const pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_element) return child;
  }
  return {};
}

pugi::xml_node requireChild(const pugi::xml_node& node, const char* name) {
  const pugi::xml_node child = node.child(name);
  if (!child) requestNotValid(std::string(node.name()) + " without " + name);
  return child;
}

std::string nameSpaceText(const pugi::xml_node& localPath) {
  std::string result;
  bool first = true;
  for (const pugi::xml_node part : localPath.children("NAMESPACE")) {
    if (!std::exchange(first, false)) result += '/';
    result += part.attribute("NAME").value();
  }
  return result;
}

ObjectPath readReference(const pugi::xml_node& node) {
  if (is(node, "VALUE.REFERENCE")) {
    const pugi::xml_node inner = firstElement(node);
    if (!inner) badParameter("empty VALUE.REFERENCE");
    return readReference(inner);
  }
  if (is(node, "INSTANCENAME")) return readInstanceName(node);
  ObjectPath path = readInstanceName(requireChild(node, "INSTANCENAME"));
  if (is(node, "INSTANCEPATH")) {
    const pugi::xml_node full = requireChild(node, "NAMESPACEPATH");
    path.host = full.child("HOST").text().get();
    path.nameSpace = nameSpaceText(requireChild(full, "LOCALNAMESPACEPATH"));
  } else if (is(node, "LOCALINSTANCEPATH")) {
    path.nameSpace = nameSpaceText(requireChild(node, "LOCALNAMESPACEPATH"));
  } else {
    badParameter(std::string("unexpected ") + node.name() + " as a reference");
  }
  return path;
}

ObjectPath readInstanceName(const pugi::xml_node& node) {
  ObjectPath path;
  path.className = node.attribute("CLASSNAME").value();
  if (path.className.empty()) requestNotValid("INSTANCENAME without CLASSNAME");
  for (const pugi::xml_node binding : node.children("KEYBINDING")) {
    const pugi::xml_node value = firstElement(binding);
    const bool plain = is(value, "KEYVALUE");
    path.keys.push_back({binding.attribute("NAME").value(),
                         plain ? readKeyValue(value) : Value::ofReference(readReference(value))});
  }
  return path;
}

Instance readInstance(const pugi::xml_node& node) { return readNestedInstance(node, 0); }

Instance readInstanceText(string_view text) {
  pugi::xml_document document;
  parseDocument(document, text);
  return readInstance(document.child("INSTANCE"));
}

}  // namespace orv::cimxml
