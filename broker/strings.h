#pragma once

#include <optional>
#include <string>

#include "broker/heap.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// A CMPIString: its text may be null, as that of a host name that was never set. As in the object
/// manager, `hdl` is the text.
struct StringObject : CMPIString, HeapEntry {
  using Record = CMPIString;
  static constexpr const char* kKind = "string";

  explicit StringObject(std::optional<std::string> content);
  StringObject* clone() const { return new StringObject(text); }
  /// Null for a null pointer and, with a report, for a foreign record.
  static StringObject* own(const Record* record);

  std::optional<std::string> text;
};

/// In the calling thread's memory.
CMPIString* makeString(std::optional<std::string> text);

/// Text of a string that may be null or foreign: then absent.
std::optional<std::string> textOf(const CMPIString* record);

/// A pointer from a provider: absent when null.
inline std::optional<std::string> textOf(const char* text) {
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace orv::broker
