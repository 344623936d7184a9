#pragma once

#include <optional>
#include <string>

#include "broker/object_tools.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// A CMPIString. Its text may be null, as for a host name that was never set. As in the object
/// manager, `hdl` is the text.
struct StringObject : BrokerObject<StringObject, CMPIString> {
  static constexpr const char* kKind = "string";
  static CMPIStringFT table;

  explicit StringObject(std::optional<std::string> content) : text(std::move(content)) {
    hdl = text ? text->data() : nullptr;
  }
  StringObject* clone() const { return new StringObject(text); }

  std::optional<std::string> text;
};

/// In the calling thread's memory.
CMPIString* makeString(std::optional<std::string> text);

/// The text of a string; absent for a null or foreign record and for a null text.
std::optional<std::string> textOf(const CMPIString* record);

/// The text that a provider passes; absent for null.
inline std::optional<std::string> textOf(const char* text) {
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace orv::broker
