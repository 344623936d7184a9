#include "health/kernel_ip_monitor.h"

#include <syslog.h>

#include "cmpi/cmpi_memory_mark.h"
#include "health/monitor_state.h"

namespace OrvLatchedHealth {

namespace {

constexpr std::chrono::seconds kDetectionPeriod(30);

void testAndSend(const ORV::ThreadTools& tools) {
  const CmpiMemoryMark mark(tools.broker);
  CmpiBroker broker = tools.broker;
  monitorState().kernelIpIndication.testAndSend(tools.context, &broker);
}

}  // namespace

ORV::ThreadWork KernelIpMonitorThread() {
  ORV::ThreadWork work;
  work.cycle = [](const ORV::ThreadTools& tools) {
    try {
      testAndSend(tools);
      tools.memory.release();
    } catch (...) {
      syslog(LOG_ERR, "Failed testAndSend operation");
    }
  };
  work.period = [] { return kDetectionPeriod; };
  work.attaches = true;
  work.delivers = true;
  return work;
}

}  // namespace OrvLatchedHealth
