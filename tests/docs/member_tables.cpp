#include "tests/docs/member_tables.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

#include "platform/simulated/simulated_host.h"

namespace orv::test {
namespace {

using Nodemgr::Network::LinkMode;
using Nodemgr::Network::MacAddress;
using simulated::OrFault;

template <typename T, typename = void>
struct IsRecord : std::false_type {};
template <typename T>
struct IsRecord<T, decltype(T::facts(), void())> : std::true_type {};

// Kind<T>: how a member of that type is told. `Record` is the record in it, or void.

template <typename T, typename = void>
struct Kind;

struct PlainKind {
  using Record = void;
  static std::string step() { return ""; }
};

template <>
struct Kind<bool> : PlainKind {
  static std::string type() { return "boolean"; }
  static std::string value(bool flag) { return flag ? "true" : "false"; }
};
template <typename T>
struct Kind<T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>> : PlainKind {
  static std::string type() {
    const std::string bits = std::to_string(8 * sizeof(T));
    return "integer, " + bits + " bits" + (std::is_signed_v<T> ? " with sign" : "");
  }
  static std::string value(T number) { return std::to_string(number); }
};
template <typename T>
struct Kind<T, std::enable_if_t<std::is_enum_v<T>>> : Kind<std::underlying_type_t<T>> {
  static std::string value(T number) {
    return std::to_string(static_cast<std::underlying_type_t<T>>(number));
  }
};
template <>
struct Kind<std::string> : PlainKind {
  static std::string type() { return "string"; }
  static std::string value(const std::string& text) { return "\"" + text + "\""; }
};
template <>
struct Kind<LinkMode> : PlainKind {
  static std::string type() { return "pair `[speed, duplex]`"; }
  static std::string value(const LinkMode&) { return "[0, 0]"; }
};
template <>
struct Kind<MacAddress> : PlainKind {
  static std::string type() { return "MAC address"; }
  static std::string value(const MacAddress&) { return "\"00:00:00:00:00:00\""; }
};
template <>
struct Kind<HsiIpv4Address> : PlainKind {
  static std::string type() { return "dotted quad"; }
  static std::string value(const HsiIpv4Address&) { return "\"0.0.0.0\""; }
};
template <typename Key, typename T, typename Less>
struct Kind<std::map<Key, T, Less>> : PlainKind {
  static std::string type() { return "object"; }
  static std::string value(const std::map<Key, T, Less>&) { return "{}"; }
};
template <typename T>
struct Kind<T, std::enable_if_t<IsRecord<T>::value>> {
  using Record = T;
  static std::string type() { return "object"; }
  static std::string value(const T&) { return "{}"; }
  static std::string step() { return ""; }
};
template <typename T>
struct Kind<std::vector<T>> {
  using Record = typename Kind<T>::Record;
  static std::string type() { return "array: " + Kind<T>::type(); }
  static std::string value(const std::vector<T>&) { return "[]"; }
  static std::string step() { return "[]" + Kind<T>::step(); }
};
template <typename T>
struct Kind<std::optional<T>> : Kind<T> {
  static std::string type() { return Kind<T>::type() + ", or `null`"; }
  static std::string value(const std::optional<T>& optional) {
    return optional ? Kind<T>::value(*optional) : "null";
  }
};
template <typename T>
struct Kind<OrFault<T>> : Kind<T> {
  static std::string type() { return Kind<T>::type() + ", or fault"; }
  static std::string value(const OrFault<T>& orFault) {
    return Kind<T>::value(std::get<T>(orFault));
  }
};

template <typename Record>
std::string rowsOf() {
  std::string rows = "| member | type | default | meaning |\n|---|---|---|---|\n";
  const Record defaults;
  platform::forEachFact<Record>([&](const auto& fact) {
    using Member = Kind<std::decay_t<decltype(defaults.*fact.member)>>;
    rows += "| `" + std::string(fact.name) + "` | " + Member::type() + " | `" +
            Member::value(defaults.*fact.member) + "` | " + fact.meaning + " |\n";
  });
  return rows;
}

/// The record's own members, then the records in it, each under the way to it from the file.
template <typename Record>
std::string sectionsOf(const std::string& way) {
  std::string text = (way.empty() ? std::string("### The file\n\n") : "\n### `" + way + "`\n\n") +
                     rowsOf<Record>();
  const Record defaults;
  platform::forEachFact<Record>([&](const auto& fact) {
    using Member = Kind<std::decay_t<decltype(defaults.*fact.member)>>;
    if constexpr (!std::is_void_v<typename Member::Record>) {
      text += sectionsOf<typename Member::Record>((way.empty() ? "" : way + ".") + fact.name +
                                                  Member::step());
    }
  });
  return text;
}

}  // namespace

std::string memberTables() { return sectionsOf<simulated::SimulatedHost>(""); }

}  // namespace orv::test
