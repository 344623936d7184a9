#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::broker {

/// How instances of a class look before anything is set. Immutable; shared by all instances of the
/// class.
struct ClassLayout {
  struct Slot {
    const PropertyDefinition* definition;
    /// Default of the class, or null with the declared type (CMPI_instance for embedded objects).
    Value initial;
  };

  ClassLayout(std::shared_ptr<const ClassRepository> classes, const ClassDefinition& definition);

  /// Place of a property among the slots.
  std::optional<std::size_t> find(std::string_view name) const;

  const ClassDefinition& definition;
  /// In the reverse of the order of declaration, as instances report them.
  std::vector<Slot> slots;
  std::vector<std::size_t> keys;  ///< slots of the keys, in the order of declaration

 private:
  std::shared_ptr<const ClassRepository> classes_;  // keeps `definition` alive
  std::vector<std::size_t> byName_;                 // slots sorted by name
};

/// Type with which a property is reported: CMPI_instance (or its array) for embedded objects.
CMPIType reportedType(const PropertyDefinition& property);

/// A literal text of MOF as a value of that type; null when it does not fit.
Value literalValue(CMPIType type, const std::string& literal);
Value literalValues(CMPIType type, const std::vector<std::string>& literals);

}  // namespace orv::broker
