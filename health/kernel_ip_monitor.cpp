#include "health/kernel_ip_monitor.h"

#include <syslog.h>

#include "cmpi/cmpi_memory_mark.h"
#include "health/monitor_state.h"
#include "health/monitor_threads.h"

namespace OrvLatchedHealth {

namespace {

constexpr long kTestSeconds = 30;

void testAndSend(const MonitorTools& tools) {
  const CmpiMemoryMark mark(tools.broker);
  CmpiBroker broker = tools.broker;
  monitorState().kernelIpIndication.testAndSend(tools.context, &broker);
}

}  // namespace

void* KernelIpMonitorThread(void* arg) {
  runMonitorThread(arg, kTestSeconds, [](const MonitorTools& tools) {
    try {
      testAndSend(tools);
      tools.memory.release();
    } catch (...) {
      syslog(LOG_ERR, "Failed testAndSend operation");
    }
  });
  return nullptr;
}

}  // namespace OrvLatchedHealth
