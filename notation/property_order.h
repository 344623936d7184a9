#pragma once

#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::notation {

/// The properties of an instance in the order in which a person wants them: keys first, then in the
/// order in which the class declares them, then those that it does not declare. Without null ones,
/// unless `withNulls`. `definition` may be null. The pointers point into `instance`.
std::vector<const broker::Property*> orderedProperties(const broker::Instance& instance,
                                                       const broker::ClassDefinition* definition,
                                                       bool withNulls);

}  // namespace orv::notation
