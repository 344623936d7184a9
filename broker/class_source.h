#pragma once

#include <functional>
#include <string_view>
#include <utility>

#include "broker/class_repository.h"

namespace orv::broker {

/// Where definitions of classes are found: in a repository, or with somebody who asks for them when
/// they are needed. A cheap value; what it finds in must outlive it.
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
