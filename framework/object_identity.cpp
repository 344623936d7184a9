#include "framework/object_identity.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "cmpi/ascii.h"
#include "framework/text.h"

namespace ORV {

namespace {

/// Separates the parts; no text of the broker contains it.
constexpr char kSeparator = '\0';

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), lowerAscii);
  return text;
}

/// The key's text; absent for a key that is not part of the identity: null, boolean, or of a type
/// that keys do not have.
std::optional<std::string> keyText(const CmpiData& key, const std::string& defaultNameSpace) {
  if (key.isNotFound() || key.isNullValue()) return std::nullopt;
  switch (key.getType()) {
    case CMPI_string:
    case CMPI_chars:
      return textOf(CmpiString(key));
    case CMPI_ref: {
      const CmpiObjectPath path(key);
      if (path.isNull()) return std::nullopt;
      return objectIdentity(path, defaultNameSpace);
    }
    default:
      return integerText(key);
  }
}

}  // namespace

std::string plainNameSpace(const CmpiObjectPath& path, const std::string& defaultNameSpace) {
  std::string nameSpace = nameSpaceOf(path);
  if (nameSpace.empty()) nameSpace = defaultNameSpace;
  const std::size_t start = nameSpace.find_first_not_of('/');
  return start == std::string::npos ? std::string() : nameSpace.substr(start);
}

std::string objectIdentity(const CmpiObjectPath& path, const std::string& defaultNameSpace) {
  std::vector<std::pair<std::string, std::string>> keys;
  const CMPICount count = path.getKeyCount();
  for (CMPICount i = 0; i < count; ++i) {
    CmpiString name;
    const CmpiData key = path.getKey(i, &name);
    if (auto text = keyText(key, defaultNameSpace)) {
      keys.emplace_back(lowerCase(textOf(name)), std::move(*text));
    }
  }
  std::sort(keys.begin(), keys.end());

  std::string identity =
      lowerCase(plainNameSpace(path, defaultNameSpace)) + kSeparator + lowerCase(classNameOf(path));
  for (const auto& [name, text] : keys) identity += kSeparator + name + kSeparator + text;
  return identity;
}

bool hasKeysOf(const CmpiInstance& instance, const CmpiObjectPath& path,
               const std::string& defaultNameSpace) {
  const CMPICount count = path.getKeyCount();
  for (CMPICount i = 0; i < count; ++i) {
    CmpiString name;
    const auto wanted = keyText(path.getKey(i, &name), defaultNameSpace);
    if (!wanted) continue;
    if (keyText(instance.getProperty(textOf(name).c_str()), defaultNameSpace) != wanted) {
      return false;
    }
  }
  return true;
}

}  // namespace ORV
