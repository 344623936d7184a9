#include "tool/value_words.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "broker/characters.h"
#include "tool/readable_text.h"

namespace orv::tool {
namespace {

using broker::PropertyDefinition;
using broker::QualifierValue;
using broker::Value;

const std::vector<std::string>* qualifierValues(const PropertyDefinition& property,
                                                std::string_view name) {
  for (const QualifierValue& q : property.qualifiers) {
    if (broker::sameName(q.name, name)) return &q.values;
  }
  return nullptr;
}

constexpr std::string_view kRange = "..";

// An entry of a ValueMap: "5", "225..4095" or "4301..".
bool covers(const std::string& entry, std::uint64_t value) {
  const std::size_t dots = entry.find(kRange);
  const auto number = broker::wholeNumber<std::uint64_t>;
  if (dots == std::string::npos) return number(entry) == value;
  const std::string_view low = std::string_view(entry).substr(0, dots);
  const std::string_view high = std::string_view(entry).substr(dots + kRange.size());
  return value >= number(low).value_or(0) && value <= number(high).value_or(UINT64_MAX);
}

std::string wordOf(const PropertyDefinition& property, std::uint64_t value) {
  const auto* values = qualifierValues(property, "Values");
  if (values == nullptr) return "";
  const auto* map = qualifierValues(property, "ValueMap");
  if (map == nullptr) return value < values->size() ? (*values)[value] : "";
  std::string others;  // of the entry "..": all numbers that no other entry covers
  for (std::size_t i = 0; i < map->size() && i < values->size(); ++i) {
    if ((*map)[i] == kRange) {
      others = (*values)[i];
    } else if (covers((*map)[i], value)) {
      return (*values)[i];
    }
  }
  return others;
}

std::string wordsOfArray(const PropertyDefinition& property, const Value& value) {
  std::string words;
  for (const Value& element : value.array()) {
    const auto* n = std::get_if<std::uint64_t>(&element.content);
    if (n == nullptr) continue;
    const std::string word = wordOf(property, *n);
    if (word.empty()) return "";
    words += (words.empty() ? "" : ", ") + word;
  }
  return words;
}

}  // namespace

std::string valueWords(const PropertyDefinition* property, const Value& value) {
  if (value.null) return "";
  if (const auto* time = std::get_if<broker::DateTime>(&value.content)) {
    const std::string text = readableDateTime(time->text);
    return text == time->text ? "" : text;
  }
  if (property == nullptr) return "";
  if (const auto* n = std::get_if<std::uint64_t>(&value.content)) return wordOf(*property, *n);
  if (std::holds_alternative<Value::Array>(value.content)) return wordsOfArray(*property, value);
  return "";
}

}  // namespace orv::tool
