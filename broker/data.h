#pragma once

#include <optional>
#include <string>
#include <vector>

#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

/// Converts values between providers and the broker: what a provider passes becomes a plain value
/// at once, and getters make objects from plain values.
namespace orv::broker {

/// Content of an object path. A text that was never set is absent, not empty.
struct PathData {
  std::optional<std::string> host;
  std::optional<std::string> nameSpace;
  std::optional<std::string> className;
  std::vector<Key> keys;

  static PathData of(const ObjectPath& plain);
  ObjectPath toPlain() const;
  Key* key(std::string_view name);
  const Key* key(std::string_view name) const;
};

/// A value that a provider has passed.
struct ReadValue {
  Value value;
  CMPIrc rc = CMPI_RC_OK;
  std::string complaint;  ///< why the object manager would crash; else empty. `rc` is then not OK
};

/// Reads a value. A reference becomes what the object manager would read back from its text.
ReadValue readValue(const CMPIValue* value, CMPIType type);

/// A reference written as text and read back: without host and boolean keys, integers as uint64 or
/// sint64.
ReadValue storedReference(const ObjectPath& path);

/// The text under which a path is stored as a reference: `ns:Class.K="v",K2=5`, without the host.
std::string referenceText(const ObjectPath& path);

/// A value for a provider; objects are in the calling thread's memory.
CMPIData toData(const Value& value);

/// The type as it is stored: chars, which exists only as an argument, becomes string.
inline CMPIType storedType(CMPIType type) {
  const auto base = static_cast<CMPIType>(type & ~CMPI_ARRAY);
  return base == CMPI_chars ? static_cast<CMPIType>((type & CMPI_ARRAY) | CMPI_string) : type;
}

}  // namespace orv::broker
