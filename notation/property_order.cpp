#include "notation/property_order.h"

#include <algorithm>
#include <cstddef>

namespace orv::notation {
namespace {

using broker::ClassDefinition;
using broker::Property;

// Keys come before the rest; both are in the order of declaration.
std::size_t rank(const ClassDefinition* definition, const Property& property) {
  if (definition == nullptr) return 0;
  const std::size_t count = definition->properties.size();
  for (std::size_t i = 0; i < count; ++i) {
    const broker::PropertyDefinition& declared = definition->properties[i];
    if (broker::sameName(declared.name, property.name)) return declared.key ? i : count + i;
  }
  return 2 * count;
}

}  // namespace

std::vector<const Property*> orderedProperties(const broker::Instance& instance,
                                               const ClassDefinition* definition, bool withNulls) {
  std::vector<const Property*> ordered;
  for (const Property& property : instance.properties) {
    if (withNulls || !property.value.null) ordered.push_back(&property);
  }
  std::stable_sort(ordered.begin(), ordered.end(), [&](const Property* a, const Property* b) {
    return rank(definition, *a) < rank(definition, *b);
  });
  return ordered;
}

}  // namespace orv::notation
