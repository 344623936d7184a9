#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "cmpi/abi/cmpi_types.h"

/// Plain values: copies of what a provider made through the broker, without pointers into the
/// broker's memory. They may be kept, compared and passed between threads.
namespace orv::broker {

struct Instance;
struct ObjectPath;
struct Value;

/// A date-time: the 25 characters of CIM and what they mean.
struct DateTime {
  std::string text;                ///< yyyymmddhhmmss.mmmmmmsutc, or ddddddddhhmmss.mmmmmm:000
  std::uint64_t microseconds = 0;  ///< since the epoch (UTC), or the length of the interval
  bool interval = false;

  bool operator==(const DateTime& other) const;
  bool operator!=(const DateTime& other) const { return !(*this == other); }
};

/// One value with its type. Numbers are stored in the widest type of their kind; `type` has the
/// width.
struct Value {
  using Array = std::vector<Value>;
  using Content =
      std::variant<std::monostate, bool, std::uint64_t, std::int64_t, double, std::string, DateTime,
                   Array, std::shared_ptr<const Instance>, std::shared_ptr<const ObjectPath>>;

  CMPIType type = CMPI_null;
  bool null = true;  ///< null, of that type
  /// Empty when null. Empty but not null: a reference that cannot be read.
  Content content;

  static Value ofNull(CMPIType type);
  static Value ofBoolean(bool value);
  static Value ofUnsigned(CMPIType type, std::uint64_t value);  ///< also CMPI_char16
  static Value ofSigned(CMPIType type, std::int64_t value);
  static Value ofReal(CMPIType type, double value);
  static Value ofString(std::string text);
  static Value ofDateTime(DateTime value);
  static Value ofArray(CMPIType elementType, Array elements);
  static Value ofInstance(Instance value);
  static Value ofReference(ObjectPath value);

  bool isArray() const { return (type & CMPI_ARRAY) != 0; }

  // Accessors; each throws std::bad_variant_access when the value is null or of another kind.

  bool boolean() const { return std::get<bool>(content); }
  std::uint64_t number() const { return std::get<std::uint64_t>(content); }
  std::int64_t signedNumber() const { return std::get<std::int64_t>(content); }
  double real() const { return std::get<double>(content); }
  const std::string& text() const { return std::get<std::string>(content); }
  const DateTime& dateTime() const { return std::get<DateTime>(content); }
  const Array& array() const { return std::get<Array>(content); }
  const Instance& instance() const { return *std::get<std::shared_ptr<const Instance>>(content); }
  const ObjectPath& reference() const {
    return *std::get<std::shared_ptr<const ObjectPath>>(content);
  }

  /// Equal type and value; embedded instances and references by content.
  bool operator==(const Value& other) const;
  bool operator!=(const Value& other) const { return !(*this == other); }

  /// As in MOF: "text", 5, true, {1, 2}, NULL, instance of C {...}.
  std::string toText() const;
};

struct Key {
  std::string name;
  Value value;
};

struct ObjectPath {
  std::string host;  ///< empty when none is set
  std::string nameSpace;
  std::string className;
  std::vector<Key> keys;  ///< in the order of the path

  /// The value of a key; null when there is none of that name, in any case.
  const Value* key(std::string_view name) const;

  /// Compares hosts exactly, names ignoring case, and keys in any order.
  bool operator==(const ObjectPath& other) const;
  bool operator!=(const ObjectPath& other) const { return !(*this == other); }

  /// `ns:Class.K="v",K2=5`, with `//host/` in front when there is a host.
  std::string toText() const;
};

struct Property {
  std::string name;
  Value value;
};

struct Instance {
  ObjectPath path;  ///< as getObjectPath returns it; without keys for an unknown class
  std::vector<Property> properties;  ///< in the order in which the instance reports them
  /// Names in the order of the provider's setProperty calls, one entry per call, without calls that
  /// failed or that a property filter dropped. Comparisons ignore it.
  std::vector<std::string> setOrder;

  /// The value of a property; null when there is none of that name, in any case.
  const Value* property(std::string_view name) const;

  /// Equal paths, and equal properties in any order.
  bool operator==(const Instance& other) const;
  bool operator!=(const Instance& other) const { return !(*this == other); }

  /// As in MOF, one property per line.
  std::string toText() const;
};

/// "uint16", "string[]", "datetime", "reference", "instance", ...; "type N" for an unknown one.
std::string typeName(CMPIType type);

/// The data type that has that name in MOF and CIM-XML, in any case: boolean, string, datetime,
/// char16 or a number. Absent for any other name.
std::optional<CMPIType> dataTypeNamed(std::string_view name);

/// "CMPI_RC_ERR_NOT_FOUND (6)"; the number alone for codes without a name.
std::string statusName(CMPIrc rc);

/// The meaning of a status, for one without a text of its own. Never null.
const char* statusText(CMPIrc rc);

std::ostream& operator<<(std::ostream& out, const Value& value);
std::ostream& operator<<(std::ostream& out, const ObjectPath& path);
std::ostream& operator<<(std::ostream& out, const Instance& instance);

}  // namespace orv::broker
