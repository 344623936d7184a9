#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/simulated/simulated_host.h"

/// Typed reading of JSON values that know their place in the text. For the host parser only: no
/// other file sees the JSON library. Everything here throws Refusal when a value is not what its
/// reader expects.
namespace simulated {

/// Thrown inside the parser only.
struct Refusal {
  std::string place;  ///< JSON pointer; empty for the whole text
  std::string message;
};

/// A JSON value and its place in the text: a chain of values on the stack, written as a JSON
/// pointer only when a value is refused.
class Value {
 public:
  explicit Value(const nlohmann::json& json) : json_(json) {}
  Value(const Value& parent, std::string_view member, const nlohmann::json& json)
      : json_(json), parent_(&parent), member_(member) {}
  Value(const Value& parent, std::size_t index, const nlohmann::json& json)
      : json_(json), parent_(&parent), index_(index) {}

  const nlohmann::json& json() const { return json_; }
  /// The place of the value as a JSON pointer.
  std::string pointer() const;
  /// Throws the Refusal of this value.
  [[noreturn]] void refuse(const std::string& message) const;

  const nlohmann::json& array() const;
  const nlohmann::json& object() const;
  const std::string& text() const;
  bool boolean() const;
  /// A JSON integer, or a text of "0x" and hexadecimal digits; at most `most`.
  std::uint64_t unsignedUpTo(std::uint64_t most) const;
  std::int32_t signed32() const;

  /// Calls `visit` with the name and the value of each member of an object.
  template <typename Visit>
  void forEachMember(Visit visit) const {
    for (const auto& item : object().items()) {
      visit(item.key(), Value(*this, item.key(), item.value()));
    }
  }
  /// Calls `visit` with the member of that name of an object, if there is one.
  template <typename Visit>
  void withMember(std::string_view name, Visit visit) const {
    const auto member = object().find(name);
    if (member != json_.end()) visit(Value(*this, name, *member));
  }

 private:
  std::uint64_t hexadecimal(std::uint64_t most) const;
  [[noreturn]] void refuseNumber(const std::string& least, const std::string& most) const;

  const nlohmann::json& json_;
  const Value* parent_ = nullptr;
  std::string_view member_;  ///< name in the parent, when that is an object
  std::size_t index_ = 0;    ///< in the parent, when that is an array
};

// How each type is read. A record adds an overload of its own, which the templates below find when
// they are used.

inline void readValue(const Value& value, std::string& text) { text = value.text(); }
inline void readValue(const Value& value, bool& flag) { flag = value.boolean(); }
inline void readValue(const Value& value, std::int32_t& number) { number = value.signed32(); }
void readValue(const Value& value, Fault& fault);  ///< {"throw": "nodemgr"} or {"throw": "other"}

/// A fault by its bare name, "nodemgr" or "other".
Fault readFaultName(const Value& value);

template <typename T>
std::enable_if_t<std::is_unsigned_v<T>> readValue(const Value& value, T& number) {
  number = static_cast<T>(value.unsignedUpTo(std::numeric_limits<T>::max()));
}

/// Reads any number of the underlying type, so that a test can use numbers without a name.
template <typename T>
std::enable_if_t<std::is_enum_v<T>> readValue(const Value& value, T& enumeration) {
  std::underlying_type_t<T> number{};
  readValue(value, number);
  enumeration = static_cast<T>(number);
}

template <typename T>
void readValue(const Value& value, std::vector<T>& list) {
  list.clear();
  list.reserve(value.array().size());
  std::size_t index = 0;
  for (const nlohmann::json& element : value.array()) {
    readValue(Value(value, index++, element), list.emplace_back());
  }
}

/// JSON null is an empty optional.
template <typename T>
void readValue(const Value& value, std::optional<T>& optional) {
  optional.reset();
  if (!value.json().is_null()) readValue(value, optional.emplace());
}

/// An object with the member "throw" is read as a fault.
template <typename T>
void readValue(const Value& value, OrFault<T>& valueOrFault) {
  if (value.json().contains("throw")) {
    readValue(value, valueOrFault.template emplace<Fault>());
  } else {
    readValue(value, valueOrFault.template emplace<T>());
  }
}

/// Reads an object by the facts of its record; refuses a member that is none of them.
template <typename Record>
void readFacts(const Value& value, Record& record) {
  value.forEachMember([&](const std::string& name, const Value& member) {
    bool known = false;
    platform::forEachFact<Record>([&](const auto& fact) {
      if (name != fact.name) return;
      known = true;
      readValue(member, record.*fact.member);
    });
    if (!known) member.refuse("unknown member");
  });
}

template <typename Record>
decltype(Record::facts(), void()) readValue(const Value& value, Record& record) {
  readFacts(value, record);
}

}  // namespace simulated
