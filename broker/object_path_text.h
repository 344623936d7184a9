#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orv::broker {

/// A text that is not an object path; the text is "object path, column N: message", N from 1.
class ObjectPathError : public std::runtime_error {
 public:
  ObjectPathError(std::size_t column, const std::string& message)
      : std::runtime_error("object path, column " + std::to_string(column) + ": " + message) {}
};

/// One key of an object path as a client writes it.
struct KeyText {
  enum class Kind {
    text,            ///< quoted; `value` without quotes and escapes
    unsignedNumber,  ///< bare digits; within 64 bits
    signedNumber,    ///< digits with a sign; within 64 bits
    boolean,         ///< `value` is "true" or "false"
  };
  std::string name;
  Kind kind = Kind::text;
  std::string value;
};

/// An object path as a client writes it. A reference key is the text of the path that it refers to:
/// only the class's definition tells the two apart.
struct ObjectPathText {
  std::string host;       ///< empty: none
  std::string nameSpace;  ///< empty: that of the request; a leading "/" is kept
  std::string className;
  std::vector<KeyText> keys;  ///< in the order written; names are unique without regard to case
};

/// Reads
///
///   path      = [ "//" host "/" ] [ namespace ":" ] class [ "." key { "," key } ]
///   key       = name "=" value
///   value     = '"' { character | '\"' | '\\' } '"' | [ sign ] digits | "true" | "false"
///
/// for example root/cimv2:Orvane_EthernetPort.DeviceID="eth0",SystemName="host". Spaces may stand
/// around names and values. At most 64 KiB and 256 keys.
///
/// Fails: ObjectPathError at the first character that does not fit.
ObjectPathText parseObjectPath(std::string_view text);

/// The text that parseObjectPath reads as `path`.
std::string printObjectPath(const ObjectPathText& path);

}  // namespace orv::broker
