#pragma once

#include <ostream>

#include "broker/class_source.h"
#include "broker/values.h"

namespace orv::tool {

/// Writes an instance as MOF does, one property per line, with what numbers mean as comments:
///
///   instance of Orvane_EthernetPort {
///     EnabledState = 2;  // Enabled
///   };
///
/// Embedded instances are written out in their place.
void writeMof(std::ostream& out, const broker::Instance& instance,
              const broker::ClassSource& classes, bool withNulls);

}  // namespace orv::tool
