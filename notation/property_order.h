#pragma once

#include <vector>

#include "broker/class_repository.h"
#include "broker/values.h"

namespace orv::notation {

/// The properties of an instance in an order for people: keys, then other properties in the order
/// in which the class declares them, then those that it does not declare. Null properties are left
/// out unless `withNulls`. `definition` may be null: the order is then unchanged. The pointers
/// point into `instance`.
std::vector<const broker::Property*> orderedProperties(const broker::Instance& instance,
                                                       const broker::ClassDefinition* definition,
                                                       bool withNulls);

}  // namespace orv::notation
