#include "health/monitor_threads.h"

#include <syslog.h>

#include <cstdlib>
#include <exception>
#include <mutex>

#include "cmpi/cmpi_status.h"
#include "health/health_monitor.h"
#include "health/kernel_ip_monitor.h"
#include "health/monitor_state.h"

namespace OrvLatchedHealth {

namespace {

constexpr char kStillWorking[] =
    "The broker does not return from a call of a health monitor; not waiting for it any longer\n";

struct Monitor {
  ORV::BackgroundThread MonitorState::*thread;
  ORV::ThreadWork (*body)();
  const char* failure;  ///< log line, with a place for `starter`
  const char* starter;
};

constexpr Monitor kMonitors[] = {
    {&MonitorState::healthMonitor, HealthMonitorThread,
     "%s failed to start health monitoring thread\n", "StartHealthMonitorThread"},
    {&MonitorState::kernelIpMonitor, KernelIpMonitorThread,
     "%s failed to start Kernel Ip monitoring thread\n", "StartKernelIpMonitorThread"},
};

}  // namespace

void startMonitorThreads(const CmpiBroker& broker, const CmpiContext& context) {
  MonitorState& state = monitorState();
  const std::lock_guard<OMC::Mutex> lock(state.latchedHealthMutex);
  std::exception_ptr failure;
  for (const Monitor& monitor : kMonitors) {
    try {
      if ((state.*monitor.thread).start(broker, context, monitor.body())) continue;
    } catch (const CmpiStatus&) {
      failure = std::current_exception();
      continue;
    }
    syslog(LOG_ERR, monitor.failure, monitor.starter);
    std::abort();  // Deliberate (contract.md#no-monitor-thread).
  }
  if (failure != nullptr) std::rethrow_exception(failure);
}

void stopMonitorThreads() {
  if (!monitorState().threads.stop()) syslog(LOG_ERR, kStillWorking);
}

}  // namespace OrvLatchedHealth
