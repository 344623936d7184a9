#pragma once

#include <cstddef>
#include <tuple>

namespace platform {

/// One fact of a record: its name and the member that holds it.
///
/// A record lists its facts in a static function `facts()`, as a tuple in the order of the members.
/// The reader of host files, the providers, the reference pages and the tests go through that list,
/// so that a new fact is a member and a row.
template <typename Record, typename Type>
struct Fact {
  const char* name;  ///< in host files, and of the CIM property that shows the fact unchanged
  Type Record::*member;
  const char* meaning = "";  ///< for the reference page, where name and type do not say it
};

template <typename Record, typename Type>
Fact(const char*, Type Record::*, const char* = "") -> Fact<Record, Type>;

/// Calls `visit` with each fact of the record, in order.
template <typename Record, typename Visit>
void forEachFact(Visit visit) {
  std::apply([&](const auto&... fact) { (visit(fact), ...); }, Record::facts());
}

/// The size of a record that has the members of these facts, in this order, and no others.
template <typename Record, typename... Type>
constexpr std::size_t sizeOfFacts(const std::tuple<Fact<Record, Type>...>&) {
  const auto roundUp = [](std::size_t size, std::size_t to) { return (size + to - 1) / to * to; };
  std::size_t end = 0;
  ((end = roundUp(end, alignof(Type)) + sizeof(Type)), ...);
  return roundUp(end, alignof(Record));
}

/// Whether a record of its facts alone would be as large as the record. A member without a fact
/// makes this false, unless it fits into padding.
template <typename Record>
constexpr bool everyMemberIsAFact() {
  return sizeOfFacts(Record::facts()) == sizeof(Record);
}

}  // namespace platform
