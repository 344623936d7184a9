#pragma once

namespace OrvLatchedHealth {

/// Body of the kernel IP monitor thread; `arg` comes from startMonitorThreads. Looks for changed
/// kernel interface addresses every 30 seconds until the monitors are stopped. Returns null.
void* KernelIpMonitorThread(void* arg);

}  // namespace OrvLatchedHealth
