#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cmpi/abi/cmpi_types.h"

namespace orv::broker {

/// Compares CIM names: without regard to the case of ASCII letters.
bool sameName(std::string_view a, std::string_view b);

struct NameLess {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};

/// One qualifier as written in MOF; its values are the literal texts (a boolean is "true" or
/// "false").
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
  std::string originClass;      ///< class that declares it first
  std::string declaringClass;  ///< class whose declaration holds: that one, or the last to override
  bool key = false;            ///< inherited through Override
  bool embeddedObject = false;                           ///< string with EmbeddedObject
  std::string embeddedClass;                             ///< string with EmbeddedInstance("class")
  std::optional<std::vector<std::string>> defaultValue;  ///< literal texts; absent: null
  std::vector<QualifierValue> qualifiers;
};

/// One class, complete: inherited properties first, in the order of declaration, overrides in the
/// place of what they override.
struct ClassDefinition {
  std::string name;
  std::string superclass;  ///< empty at the root
  bool association = false;
  bool indication = false;
  bool abstract = false;
  std::vector<PropertyDefinition> properties;
  std::vector<QualifierValue> qualifiers;

  const PropertyDefinition* property(std::string_view propertyName) const;
};

/// The classes of one namespace, read from MOF. Immutable once loaded, so any thread may read.
class ClassRepository {
 public:
  ClassRepository() = default;
  ClassRepository(ClassRepository&&) = default;  // pointers to the classes stay valid
  ClassRepository& operator=(ClassRepository&&) = default;
  ClassRepository(const ClassRepository&) = delete;
  ClassRepository& operator=(const ClassRepository&) = delete;

  /// Adds a class whose own (not inherited) features are given; completes it from its superclass,
  /// which must be there already.
  ///
  /// A class that is there already may be declared again when both declarations have a Version
  /// qualifier and nothing derives from it yet: the higher version counts, of equal ones the first.
  /// Versions are compared number by number, and 1.0 is lower than 1.0.0.
  ///
  /// Returns whether the class was taken; false when the declaration that is there counts. Fails:
  /// std::invalid_argument, when the name is taken otherwise or the superclass unknown.
  bool add(ClassDefinition own);

  /// Keeps a qualifier's declaration; a later one of the same name takes its place.
  void declare(QualifierDefinition qualifier);

  /// Every declared qualifier, by name.
  const std::map<std::string, QualifierDefinition, NameLess>& qualifiers() const {
    return qualifiers_;
  }

  /// Null when there is no class of that name.
  const ClassDefinition* find(std::string_view name) const;

  /// True when `name` is `ancestor` or derives from it; equal names are true without a look-up.
  bool isA(std::string_view name, std::string_view ancestor) const;

  /// The class itself is not among them; parents precede their children.
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
