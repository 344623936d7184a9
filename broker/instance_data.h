#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "broker/class_layout.h"
#include "broker/values.h"

namespace orv::broker {

/// What happens when a value of one type is set over a value of another.
enum class TypeCheck {
  kFits,      ///< replaces the value, and its type
  kMismatch,  ///< status 13, nothing changes
  kCrash,     ///< the object manager stores a pointer as a number and crashes at the next read
};
TypeCheck checkType(CMPIType current, CMPIType wanted);

/// Content of an instance, following the object manager's rules.
class InstanceData {
 public:
  /// `layout` is null for a class that the repository does not know.
  InstanceData(std::string nameSpace, std::string className,
               std::shared_ptr<const ClassLayout> layout);
  /// A copy of a plain instance. Declared properties that it lacks are absent, as if filtered out.
  InstanceData(const Instance& plain, std::shared_ptr<const ClassLayout> layout);

  enum class SetOutcome { kStored, kDropped, kMismatch, kCrash };
  /// Sets a property. kDropped: a property filter keeps it out, whatever its type.
  SetOutcome set(std::string_view name, Value value);
  /// The same for a call of the provider, which setOrder records.
  SetOutcome setByProvider(std::string_view name, Value value);

  /// Null when there is no such property.
  const Value* get(std::string_view name) const;
  std::size_t count() const;
  /// Name and value of a property; both null beyond the end.
  std::pair<const std::string*, const Value*> at(std::size_t index) const;

  /// From now on keeps and accepts only the listed properties and the keys. Keys that are not
  /// listed can be read but are not sent.
  void applyFilter(const std::vector<std::string>& listed);

  /// Namespace, class and every declared key, set or not; absent for an unknown class.
  std::optional<ObjectPath> objectPath() const;
  /// Takes namespace and class from a path, and sets its keys as properties.
  void setObjectPath(const ObjectPath& path, std::shared_ptr<const ClassLayout> layout);

  /// The instance that a client would get.
  Instance toPlain() const;

  const std::string& nameSpace() const { return nameSpace_; }
  const std::string& className() const { return className_; }
  const ClassLayout* layout() const { return layout_.get(); }
  const std::vector<std::string>& setOrder() const { return setOrder_; }

 private:
  enum class Presence : std::uint8_t { kPresent, kHidden, kAbsent };
  bool accepts(std::string_view name, std::optional<std::size_t> slot) const;
  bool isListed(std::string_view name) const;
  Property* findExtra(std::string_view name);

  std::string nameSpace_;
  std::string className_;
  std::shared_ptr<const ClassLayout> layout_;
  std::vector<Value> declared_;     // parallel to the layout's slots
  std::vector<Presence> presence_;  // the same
  std::vector<Property> extra_;     // undeclared, in the order of first setting
  std::optional<std::set<std::string, NameLess>> filter_;
  std::vector<std::string> setOrder_;
};

}  // namespace orv::broker
