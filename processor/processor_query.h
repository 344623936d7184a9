#pragma once

#include <vector>

#include "platform/system_info.h"
#include "processor/processor_decode.h"

namespace OrvProcessor {

/// Asks the kernel for the processor packages of this host.
///
/// On success the records replace what `records` holds, in the order of the kernel's list of
/// packages; there may be none. Any failure of the kernel information interface fails the whole
/// query with its status and leaves `records` unchanged. So does a host whose packages claim more
/// cores than the kernel lists. May be called from any thread.
HSI_Status queryProcessors(std::vector<ProcessorRecord>& records);

}  // namespace OrvProcessor
