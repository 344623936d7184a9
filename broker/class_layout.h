#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::broker {

/// The properties of a class's instances before anything is set. Immutable; shared by all instances
/// of the class.
struct ClassLayout {
  struct Slot {
    const PropertyDefinition* definition;
    /// The declared default, or null of the declared type (CMPI_instance for embedded objects).
    Value initial;
  };

  ClassLayout(std::shared_ptr<const ClassRepository> classes, const ClassDefinition& definition);

  /// The index of a property's slot.
  std::optional<std::size_t> find(std::string_view name) const;

  const ClassDefinition& definition;
  /// In reverse order of declaration, which is the order in which instances report them.
  std::vector<Slot> slots;
  std::vector<std::size_t> keys;  ///< slots of the keys, at most 32, in order of declaration

 private:
  std::shared_ptr<const ClassRepository> classes_;  // keeps `definition` alive
  std::vector<std::size_t> byName_;                 // slots sorted by name
};

/// The type that getProperty reports: CMPI_instance, or its array, for embedded objects; else the
/// declared type.
CMPIType reportedType(const PropertyDefinition& property);

/// A literal from MOF as a value of that type; null when it does not fit. That of a char16 is its
/// code in decimal.
Value literalValue(CMPIType type, const std::string& literal);
/// The same for a property or qualifier: an array of all literals, or the first one.
Value literalValues(CMPIType type, const std::vector<std::string>& literals);

}  // namespace orv::broker
