#pragma once

#include "framework/background_thread.h"

namespace OrvLatchedHealth {

/// What the kernel IP monitor thread does: looks for changed kernel interface addresses every 30
/// seconds.
ORV::ThreadWork kernelIpMonitoring();

}  // namespace OrvLatchedHealth
