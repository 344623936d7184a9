#include "broker/class_layout.h"

#include <algorithm>

#include "broker/characters.h"
#include "broker/date_times.h"

namespace orv::broker {
namespace {

constexpr std::size_t kMostKeys = 32;  // the object manager's limit

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
  return wholeNumber<Number>(!text.empty() && text[0] == '+' ? text.substr(1) : text);
}

Value realValue(CMPIType type, const std::string& literal) {
  const auto number = parseNumber<double>(literal);
  return number ? Value::ofReal(type, *number) : Value::ofNull(type);
}

Value numberValue(CMPIType type, const std::string& literal) {
  if ((type & CMPI_SINT) == CMPI_SINT) {
    const auto number = parseNumber<std::int64_t>(literal);
    return number ? Value::ofSigned(type, *number) : Value::ofNull(type);
  }
  const auto number = parseNumber<std::uint64_t>(literal);
  return number ? Value::ofUnsigned(type, *number) : Value::ofNull(type);
}

}  // namespace

CMPIType reportedType(const PropertyDefinition& property) {
  const bool embedded = property.embeddedObject || !property.embeddedClass.empty();
  if (!embedded || (property.type & ~CMPI_ARRAY) != CMPI_string) return property.type;
  return static_cast<CMPIType>(CMPI_instance | (property.type & CMPI_ARRAY));
}

Value literalValue(CMPIType type, const std::string& literal) {
  switch (type) {
    case CMPI_string:
      return Value::ofString(literal);
    case CMPI_boolean:
      return Value::ofBoolean(sameName(literal, "true"));
    case CMPI_real32:
    case CMPI_real64:
      return realValue(type, literal);
    case CMPI_dateTime: {
      const auto parsed = parseDateTime(literal);
      return parsed ? Value::ofDateTime(*parsed) : Value::ofNull(type);
    }
    case CMPI_char16: {
      const auto code = parseNumber<std::uint16_t>(literal);
      return code ? Value::ofUnsigned(type, *code) : Value::ofNull(type);
    }
    default:
      return (type & CMPI_UINT) != 0 && type < CMPI_ENC ? numberValue(type, literal)
                                                        : Value::ofNull(type);
  }
}

Value literalValues(CMPIType type, const std::vector<std::string>& literals) {
  if ((type & CMPI_ARRAY) == 0) {
    return literals.empty() ? Value::ofNull(type) : literalValue(type, literals.front());
  }
  const auto elementType = static_cast<CMPIType>(type & ~CMPI_ARRAY);
  Value::Array elements;
  for (const std::string& literal : literals)
    elements.push_back(literalValue(elementType, literal));
  return Value::ofArray(elementType, std::move(elements));
}

ClassLayout::ClassLayout(std::shared_ptr<const ClassRepository> classes,
                         const ClassDefinition& definitionOfClass)
    : definition(definitionOfClass), classes_(std::move(classes)) {
  const std::vector<PropertyDefinition>& declared = definition.properties;
  for (auto property = declared.rbegin(); property != declared.rend(); ++property) {
    const CMPIType type = reportedType(*property);
    slots.push_back({&*property, property->defaultValue
                                     ? literalValues(type, *property->defaultValue)
                                     : Value::ofNull(type)});
    byName_.push_back(byName_.size());
  }
  for (std::size_t i = slots.size(); i-- > 0 && keys.size() < kMostKeys;) {
    if (slots[i].definition->key) keys.push_back(i);
  }
  std::sort(byName_.begin(), byName_.end(), [this](std::size_t a, std::size_t b) {
    return NameLess()(slots[a].definition->name, slots[b].definition->name);
  });
}

std::optional<std::size_t> ClassLayout::find(std::string_view name) const {
  const auto place = std::lower_bound(byName_.begin(), byName_.end(), name,
                                      [this](std::size_t slot, std::string_view wanted) {
                                        return NameLess()(slots[slot].definition->name, wanted);
                                      });
  if (place == byName_.end() || !sameName(slots[*place].definition->name, name))
    return std::nullopt;
  return *place;
}

}  // namespace orv::broker
