#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orv::broker {

/// A text is not an object path. what() is "object path, column N: message", N from 1.
class ObjectPathError : public std::runtime_error {
 public:
  ObjectPathError(std::size_t column, const std::string& message)
      : std::runtime_error("object path, column " + std::to_string(column) + ": " + message) {}
};

/// One key of an object path as text.
struct KeyText {
  enum class Kind {
    text,            ///< in quotes; `value` without quotes and escapes
    unsignedNumber,  ///< digits without a sign; fits 64 bits
    signedNumber,    ///< digits with a sign; fits 64 bits
    boolean,         ///< `value` is "true" or "false"
  };
  std::string name;
  Kind kind = Kind::text;
  std::string value;
};

/// An object path as text. The value of a reference key is the text of another path; only the class
/// definition shows that it is one.
struct ObjectPathText {
  std::string host;       ///< empty: none
  std::string nameSpace;  ///< empty: that of the request; a leading "/" is kept
  std::string className;
  std::vector<KeyText> keys;  ///< in the order written; names differ not only in case
};

/// Reads an object path:
///
///   path      = [ "//" host "/" ] [ namespace ":" ] class [ "." key { "," key } ]
///   key       = name "=" value
///   value     = '"' { character | '\"' | '\\' } '"' | [ sign ] digits | "true" | "false"
///
/// For example root/cimv2:Orvane_EthernetPort.DeviceID="eth0",SystemName="host". Spaces are allowed
/// around names and values. At most 64 KiB and 256 keys.
///
/// Fails: ObjectPathError for the first character that does not belong there.
ObjectPathText parseObjectPath(std::string_view text);

/// The text from which parseObjectPath reads `path`.
std::string printObjectPath(const ObjectPathText& path);

}  // namespace orv::broker
