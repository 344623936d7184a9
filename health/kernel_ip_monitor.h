#pragma once

#include "framework/background_thread.h"

namespace OrvLatchedHealth {

/// The kernel IP monitor thread: looks for changed kernel interface addresses every 30 seconds.
ORV::ThreadWork KernelIpMonitorThread();

}  // namespace OrvLatchedHealth
