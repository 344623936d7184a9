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

/// What setting a value of one type over a value of another does.
enum class TypeCheck {
  kFits,      ///< replaces the value, and its type
  kMismatch,  ///< status 13, nothing changes
  kCrash,     ///< the object manager stores a pointer as a number and crashes at the next read
};
TypeCheck checkType(CMPIType current, CMPIType wanted);

/// Content of an instance, with the object manager's rules and without its tables.
class InstanceData {
 public:
  /// `layout` is null for a class that the repository does not know.
  InstanceData(std::string nameSpace, std::string className,
               std::shared_ptr<const ClassLayout> layout);
  /// A copy of a plain instance; declared properties that it lacks stay out, as if filtered away.
  InstanceData(const Instance& plain, std::shared_ptr<const ClassLayout> layout);

  enum class SetOutcome { kStored, kDropped, kMismatch, kCrash };
  /// kDropped: a property filter keeps it out, whatever its type.
  SetOutcome set(std::string_view name, Value value);
  /// The same for a call of the provider, which is noted in the order of settings.
  SetOutcome setByProvider(std::string_view name, Value value);

  const Value* get(std::string_view name) const;
  std::size_t count() const;
  /// Null name beyond the end.
  std::pair<const std::string*, const Value*> at(std::size_t index) const;

  /// Keeps and accepts only the listed properties and the keys; keys that are not listed are
  /// readable but not sent.
  void applyFilter(const std::vector<std::string>& listed);

  /// Namespace, class and one key for each declared key, set or not; absent for an unknown class.
  std::optional<ObjectPath> objectPath() const;
  /// Namespace and class of a path, and its keys as properties.
  void setObjectPath(const ObjectPath& path, std::shared_ptr<const ClassLayout> layout);

  /// What a client would see.
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
