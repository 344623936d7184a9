#pragma once

#include <cstddef>
#include <ostream>
#include <vector>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::tool {

/// Writes instances as tables, one per class, in the order in which classes first appear. A table
/// has one row per instance if it fits into `width` columns, else one block of "property  value"
/// lines per instance.
void writeTable(std::ostream& out, const std::vector<broker::Instance>& instances,
                const broker::ClassSource& classes, bool withNulls, std::size_t width);

/// The same for object paths: one row per path, one column per key.
void writeTable(std::ostream& out, const std::vector<broker::ObjectPath>& paths);

/// A value as the text of a cell: strings without quotes, numbers with their words.
std::string cellText(const broker::PropertyDefinition* property, const broker::Value& value);

}  // namespace orv::tool
