#pragma once

#include <functional>
#include <string_view>
#include <utility>

#include "broker/class_repository.h"

namespace orv::broker {

/// Finds class definitions, in a repository or through a function that gets them when they are
/// needed. Cheap to copy; what it searches must outlive it.
class ClassSource {
 public:
  using Find = std::function<const ClassDefinition*(std::string_view name)>;

  ClassSource(const ClassRepository& classes)  // NOLINT: a repository is a source
      : find_([&classes](std::string_view name) { return classes.find(name); }) {}
  explicit ClassSource(Find find) : find_(std::move(find)) {}

  /// Null when there is no class of that name.
  const ClassDefinition* find(std::string_view name) const { return find_(name); }

 private:
  Find find_;
};

}  // namespace orv::broker
