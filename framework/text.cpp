#include "framework/text.h"

#include "cmpi/ascii.h"

namespace ORV {

bool sameName(const char* a, const char* b) {
  return a != nullptr && b != nullptr && equalIgnoringCase(a, b);
}

bool isGiven(const char* filter) { return filter != nullptr && *filter != '\0'; }

bool passesFilter(const char* filter, const char* name) {
  return !isGiven(filter) || sameName(filter, name);
}

std::string textOf(const CmpiString& text) {
  const char* chars = text.charPtr();
  return chars == nullptr ? std::string() : std::string(chars);
}

std::optional<std::string> textOf(const CmpiData& data) {
  if (data.isNotFound() || data.isNullValue()) return std::nullopt;
  return textOf(CmpiString(data));
}

std::optional<std::string> textKey(const CmpiObjectPath& path, const char* name) {
  const CmpiData key = path.getKey(name);
  return key.isText() ? textOf(key) : std::nullopt;
}

CmpiObjectPath referenceKey(const CmpiObjectPath& path, const char* name) {
  const CmpiData key = path.getKey(name);
  if (key.isNotFound() || key.isNullValue() || key.getType() != CMPI_ref) {
    return CmpiObjectPath(static_cast<const CMPIObjectPath*>(nullptr));
  }
  return CmpiObjectPath(key);
}

std::string classNameOf(const CmpiObjectPath& path) { return textOf(path.getClassName()); }

std::string nameSpaceOf(const CmpiObjectPath& path) { return textOf(path.getNameSpace()); }

}  // namespace ORV
