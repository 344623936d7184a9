#pragma once

#include <cstddef>
#include <ostream>
#include <vector>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::tool {

/// Writes instances as tables, one for each class, in the order of each class's first instance: a
/// row for each instance when that fits into `width` columns, else a block of "property  value"
/// lines for each.
void writeTable(std::ostream& out, const std::vector<broker::Instance>& instances,
                const broker::ClassSource& classes, bool withNulls, std::size_t width);

/// The same for object paths: a row for each, a column for each key.
void writeTable(std::ostream& out, const std::vector<broker::ObjectPath>& paths);

/// Text of a value for a cell: texts without quotes, numbers with their words.
std::string cellText(const broker::PropertyDefinition* property, const broker::Value& value);

}  // namespace orv::tool
