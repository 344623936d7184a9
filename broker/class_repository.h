#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cmpi/abi/cmpi_types.h"

namespace orv::broker {

/// Compares CIM names, ignoring the case of ASCII letters.
bool sameName(std::string_view a, std::string_view b);

struct NameLess {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};

/// A qualifier in use, as in MOF: its values are literals (a boolean is "true" or "false").
struct QualifierValue {
  std::string name;
  CMPIType type = CMPI_boolean;  ///< declared type, with CMPI_ARRAY for arrays
  std::vector<std::string> values;
};

/// The declaration of a qualifier.
struct QualifierDefinition {
  std::string name;
  CMPIType type = CMPI_boolean;                          ///< with CMPI_ARRAY for arrays
  std::optional<std::vector<std::string>> defaultValue;  ///< literal texts; absent: null
  std::vector<std::string> scopes;                       ///< "class", "property", ..., or "any"
  std::vector<std::string> flavors;                      ///< "EnableOverride", "ToSubclass", ...
};

struct PropertyDefinition {
  std::string name;
  CMPIType type = CMPI_string;  ///< with CMPI_ARRAY for arrays; CMPI_ref for references
  std::string referenceClass;   ///< of a reference
  std::string originClass;      ///< class that first declares it
  std::string declaringClass;  ///< class whose declaration applies: the origin or the last override
  bool key = false;            ///< also when only the overridden declaration says so
  bool embeddedObject = false;                           ///< string with EmbeddedObject
  std::string embeddedClass;                             ///< string with EmbeddedInstance("class")
  std::optional<std::vector<std::string>> defaultValue;  ///< literal texts; absent: null
  std::vector<QualifierValue> qualifiers;
};

/// One class, complete: inherited properties come first, in order of declaration; an override takes
/// the place of what it overrides.
struct ClassDefinition {
  std::string name;
  std::string superclass;  ///< empty at the root
  bool association = false;
  bool indication = false;
  bool abstract = false;
  std::vector<PropertyDefinition> properties;
  std::vector<QualifierValue> qualifiers;

  /// Null when there is no property of that name.
  const PropertyDefinition* property(std::string_view propertyName) const;
};

/// The classes of one namespace, read from MOF. Not changed once loaded, so any thread may read it.
class ClassRepository {
 public:
  ClassRepository() = default;
  ClassRepository(ClassRepository&&) = default;  // pointers to the classes stay valid
  ClassRepository& operator=(ClassRepository&&) = default;
  ClassRepository(const ClassRepository&) = delete;
  ClassRepository& operator=(const ClassRepository&) = delete;

  /// Adds a class that is given with its own (not inherited) features, and completes it from its
  /// superclass, which must have been added before.
  ///
  /// An existing class may be declared again when both declarations have a Version qualifier and no
  /// class derives from it yet: the higher version is kept, or the first of equal ones. Versions
  /// are compared number by number; 1.0 is lower than 1.0.0.
  ///
  /// Returns whether the class was added; false when the existing declaration is kept. Fails:
  /// std::invalid_argument when the class may not be declared again or the superclass is unknown.
  bool add(ClassDefinition own);

  /// Adds a qualifier's declaration; it replaces an earlier one of the same name.
  void declare(QualifierDefinition qualifier);

  /// Every declared qualifier, by name.
  const std::map<std::string, QualifierDefinition, NameLess>& qualifiers() const {
    return qualifiers_;
  }

  /// Null when there is no class of that name.
  const ClassDefinition* find(std::string_view name) const;

  /// True when `name` is `ancestor` or derives from it. Equal names need not be known classes.
  bool isA(std::string_view name, std::string_view ancestor) const;

  /// The direct subclasses, or with `deep` all of them, parents before their children. Without the
  /// class itself.
  std::vector<const ClassDefinition*> subclasses(std::string_view name, bool deep) const;

  /// Every class, parents before their children, in the order in which they were added.
  const std::vector<const ClassDefinition*>& all() const { return order_; }

 private:
  bool replaces(const ClassDefinition& own, const ClassDefinition& former) const;

  std::map<std::string, ClassDefinition, NameLess> classes_;
  std::map<std::string, QualifierDefinition, NameLess> qualifiers_;
  std::vector<const ClassDefinition*> order_;
};

}  // namespace orv::broker
