#pragma once

#include <optional>
#include <string>
#include <vector>

#include "broker/values.h"
#include "cmpi/abi/cmpi_tables.h"

/// Values between a provider and the broker: what a provider passes becomes a plain value at once,
/// and a getter makes objects from plain values.
namespace orv::broker {

/// Content of an object path. A text that was never set is null, not empty.
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

/// A value as a provider passes it, read.
struct ReadValue {
  Value value;
  CMPIrc rc = CMPI_RC_OK;
  std::string complaint;  ///< not empty: where the object manager would crash; `rc` is not OK then
};

/// Reads a value. References become what the object manager would read back from their text.
ReadValue readValue(const CMPIValue* value, CMPIType type);

/// A reference after its way through text: without host and boolean keys, integers as uint64 or
/// sint64.
ReadValue storedReference(const ObjectPath& path);

/// The text under which a path is stored as a reference: `ns:Class.K="v",K2=5`, without the host.
std::string referenceText(const ObjectPath& path);

/// A value as a provider gets it, objects in the calling thread's memory.
CMPIData toData(const Value& value);

/// chars is an input form only.
inline CMPIType storedType(CMPIType type) {
  const auto base = static_cast<CMPIType>(type & ~CMPI_ARRAY);
  return base == CMPI_chars ? static_cast<CMPIType>((type & CMPI_ARRAY) | CMPI_string) : type;
}

}  // namespace orv::broker
