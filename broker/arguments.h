#pragma once

#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// Empty method arguments, in the calling thread's memory.
CMPIArgs* makeArguments();

}  // namespace orv::broker
