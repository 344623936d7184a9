#pragma once

#include "framework/background_thread.h"

namespace OrvLatchedHealth {

/// The work of the kernel IP monitor thread, which looks for changed kernel interface addresses
/// every 30 seconds.
ORV::ThreadWork KernelIpMonitorThread();

}  // namespace OrvLatchedHealth
