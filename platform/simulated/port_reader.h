#pragma once

#include "platform/simulated/json_value.h"

namespace simulated {

/// One element of `ports`.
void readValue(const Value& value, SimulatedPort& port);

}  // namespace simulated
