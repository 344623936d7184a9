#include "notation/object_path.h"

#include <cstdint>
#include <memory>
#include <variant>

#include "broker/characters.h"
#include "broker/object_path_text.h"

namespace orv::notation {
namespace {

using broker::KeyText;
using broker::Value;
using broker::wholeNumber;

bool isReference(const broker::ClassDefinition* definition, const std::string& key) {
  const broker::PropertyDefinition* property =
      definition != nullptr ? definition->property(key) : nullptr;
  return property != nullptr && property->type == CMPI_ref;
}

// The types are those that numbers and booleans of a CIM-XML client have.
Value plainValue(const KeyText& key) {
  switch (key.kind) {
    case KeyText::Kind::unsignedNumber:
      return Value::ofUnsigned(CMPI_uint64, wholeNumber<std::uint64_t>(key.value).value_or(0));
    case KeyText::Kind::signedNumber:
      return Value::ofSigned(CMPI_sint64, wholeNumber<std::int64_t>(key.value).value_or(0));
    case KeyText::Kind::boolean:
      return Value::ofBoolean(key.value == "true");
    case KeyText::Kind::text:
      break;
  }
  return Value::ofString(key.value);
}

KeyText keyText(const broker::Key& key) {
  const Value::Content& content = key.value.content;
  if (const auto* text = std::get_if<std::string>(&content)) {
    return {key.name, KeyText::Kind::text, *text};
  }
  if (const auto* path = std::get_if<std::shared_ptr<const broker::ObjectPath>>(&content)) {
    return {key.name, KeyText::Kind::text, objectPathText(**path)};
  }
  if (const auto* time = std::get_if<broker::DateTime>(&content)) {
    return {key.name, KeyText::Kind::text, time->text};
  }
  KeyText::Kind kind = KeyText::Kind::unsignedNumber;
  if (std::holds_alternative<std::int64_t>(content)) kind = KeyText::Kind::signedNumber;
  if (std::holds_alternative<bool>(content)) kind = KeyText::Kind::boolean;
  return {key.name, kind, key.value.toText()};
}

}  // namespace

broker::ObjectPath readObjectPath(std::string_view text, const std::string& nameSpace,
                                  const broker::ClassSource& classes) {
  const broker::ObjectPathText parsed = broker::parseObjectPath(text);
  broker::ObjectPath path;
  path.host = parsed.host;
  path.nameSpace = parsed.nameSpace.empty() ? nameSpace : parsed.nameSpace;
  path.className = parsed.className;
  const broker::ClassDefinition* definition = classes.find(path.className);
  for (const KeyText& key : parsed.keys) {
    const bool reference = key.kind == KeyText::Kind::text && isReference(definition, key.name);
    path.keys.push_back({key.name, reference ? Value::ofReference(readObjectPath(
                                                   key.value, path.nameSpace, classes))
                                             : plainValue(key)});
  }
  return path;
}

std::string objectPathText(const broker::ObjectPath& path) {
  broker::ObjectPathText text = {path.host, path.nameSpace, path.className, {}};
  for (const broker::Key& key : path.keys) {
    if (!key.value.null) text.keys.push_back(keyText(key));
  }
  return broker::printObjectPath(text);
}

}  // namespace orv::notation
