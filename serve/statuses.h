#pragma once

#include "cmpi/abi/cmpi_types.h"

/// CIM statuses of the operations standard (DSP0200) that the C interface has no names for.
namespace orv::serve {

constexpr CMPIrc kInvalidEnumerationContext = static_cast<CMPIrc>(21);
constexpr CMPIrc kInvalidOperationTimeout = static_cast<CMPIrc>(22);
constexpr CMPIrc kFilteredEnumerationNotSupported = static_cast<CMPIrc>(25);
constexpr CMPIrc kContinuationOnErrorNotSupported = static_cast<CMPIrc>(26);
constexpr CMPIrc kServerLimitsExceeded = static_cast<CMPIrc>(27);

}  // namespace orv::serve
