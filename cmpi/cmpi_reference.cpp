#include "cmpi/cmpi_reference.h"

#include <algorithm>
#include <string_view>

#include "cmpi/cmpi_string.h"

namespace {

bool has(std::string_view text, char c) { return text.find(c) != std::string_view::npos; }

/// Empty for null.
std::string_view viewOf(const CmpiString& text) {
  const char* chars = text.charPtr();
  return chars == nullptr ? std::string_view() : std::string_view(chars);
}

bool isLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

[[noreturn]] void refuse(std::string_view part, std::string_view name, const char* why) {
  std::string reason(part);
  if (!name.empty()) reason.append(" ").append(name.substr(0, 64));
  throw CmpiReferenceError(reason + " " + why);
}

/// The longest text of a key that is neither a string nor a number: a broker writes booleans as
/// words, and what else there may be is a date-time.
constexpr char kLongestOtherText[] = "\"yyyymmddhhmmss.mmmmmm+utc\"";
constexpr char kColonWithoutNameSpace[] = "has a colon, and the path has no namespace";

/// Characters that the key's value adds to the text. `colons` tells whether it may contain a ":".
std::size_t valueLength(std::string_view name, const CmpiData& key, bool colons) {
  if (key.isNullValue()) return 0;
  switch (key.getType()) {
    case CMPI_string:
    case CMPI_chars: {
      const CmpiString value(key);
      const std::string_view text = viewOf(value);
      if (has(text, '"')) refuse("key", name, "has a quotation mark");
      if (!colons && has(text, ':')) refuse("key", name, kColonWithoutNameSpace);
      return text.size() + 2;
    }
    case CMPI_ref:
      refuse("key", name, "is a reference itself");
    case CMPI_real32:
    case CMPI_real64:
      refuse("key", name, "is a real number");
    default:
      return integerText(key).value_or(kLongestOtherText).size();
  }
}

/// Characters that a key adds to the text: "." or ",", its name, "=" and its value.
std::size_t keyLength(const CmpiObjectPath& path, CMPICount index, bool colons) {
  CmpiString nameText;
  const CmpiData key = path.getKey(index, &nameText);
  const std::string_view name = viewOf(nameText);
  if (std::none_of(name.begin(), name.end(), isLetterOrDigit) ||
      name.find_first_of("=\",") != std::string_view::npos) {
    refuse("key", name, "has no usable name");
  }
  if (!colons && has(name, ':')) refuse("key", name, kColonWithoutNameSpace);
  return 1 + name.size() + 1 + valueLength(name, key, colons);
}

void requireReadBackCarriable(const CmpiObjectPath& path) {
  const CmpiString nameSpaceText = path.getNameSpace();
  const CmpiString classText = path.getClassName();
  const std::string_view nameSpace = viewOf(nameSpaceText);
  const std::string_view className = viewOf(classText);
  const bool colons = !nameSpace.empty();
  if (nameSpace.find_first_of(".:") != std::string_view::npos) {
    refuse("namespace", nameSpace, "has a dot or a colon");
  }
  if (className.empty() || has(className, '.')) {
    refuse("class", className, "is empty or has a dot");
  }
  if (!colons && has(className, ':')) refuse("class", className, kColonWithoutNameSpace);

  std::size_t length = (colons ? nameSpace.size() + 1 : 0) + className.size();
  const CMPICount count = path.getKeyCount();
  for (CMPICount i = 0; i < count; ++i) length += keyLength(path, i, colons);
  if (length > kLongestReference) {
    refuse("text", "", ("of " + std::to_string(length) + " characters is too long").c_str());
  }
}

}  // namespace

CmpiReferenceError::CmpiReferenceError(const std::string& reason)
    : CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER,
                 ("Object path cannot be used as a reference: " + reason).c_str()) {}

void requireCarriable(const CmpiData& value) {
  if (value.getType() == CMPI_ref) requireCarriable(CmpiObjectPath(value));
}

void requireCarriable(const CmpiObjectPath& path) {
  if (!path.isNull() && !path.referenceText().isCarriable()) requireReadBackCarriable(path);
}
