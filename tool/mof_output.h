#pragma once

#include <ostream>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::tool {

/// Writes an instance as MOF, one property per line, with the meaning of numbers as comments:
///
///   instance of Orvane_EthernetPort {
///     EnabledState = 2;  // Enabled
///   };
///
/// Embedded instances are written in place.
void writeMof(std::ostream& out, const broker::Instance& instance,
              const broker::ClassSource& classes, bool withNulls);

}  // namespace orv::tool
