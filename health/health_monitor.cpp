#include "health/health_monitor.h"

#include <syslog.h>

#include <algorithm>
#include <chrono>

#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_memory_mark.h"
#include "framework/scoping_keys.h"
#include "health/monitor_state.h"

namespace OrvLatchedHealth {

namespace {

using ORV::kNameSpace;

constexpr std::chrono::seconds kPollPeriod(120);

// In the order in which they are polled, which is also that of new records and event numbers.
constexpr const char* kMonitoredClasses[] = {
    "CIM_Sensor",       "CIM_PhysicalMemory",    "CIM_Processor",
    "CIM_PowerSupply",  "Orvane_PortController", "Orvane_Controller",
    "Orvane_Battery",   "Orvane_StorageVolume",  "Orvane_StorageExtent",
    "Orvane_DiskDrive", "Orvane_SASSATAPort",    "Orvane_StoragePool",
};
static_assert(sizeof kMonitoredClasses / sizeof *kMonitoredClasses == 12);

class Cycle {
 public:
  Cycle(const ORV::ThreadTools& tools, LatchedStore& store, const std::function<std::time_t()>& now)
      : tools_(tools), store_(store), now_(now) {}

  void poll(const char* className) {
    const CmpiMemoryMark mark(tools_.broker);
    const CmpiObjectPath path(kNameSpace, className);
    const CmpiEnumeration elements = tools_.broker.enumInstances(tools_.context, path, nullptr);
    while (elements.hasNext()) take(CmpiInstance(elements.getNext()));
  }

  std::uint16_t maxHealthState() const { return cycleMaxHealthState_; }

 private:
  void take(const CmpiInstance& element) {
    if (element.isNull()) return;
    // The search in the store makes hundreds of paths, which are freed after each element.
    const CmpiMemoryMark mark(tools_.broker);
    const CmpiData state = element.getProperty("HealthState");
    if (state.isNullValue() || state.isNotFound()) return;
    const auto healthState = static_cast<CMPIUint16>(state);
    cycleMaxHealthState_ = std::max(cycleMaxHealthState_, healthState);
    if (healthState == kHealthOk) return;
    store_.latch(element.getObjectPath(), healthState, static_cast<std::uint32_t>(now_()));
  }

  const ORV::ThreadTools& tools_;
  LatchedStore& store_;
  const std::function<std::time_t()>& now_;
  CMPIUint16 cycleMaxHealthState_ = 0;
};

std::time_t wallClock() { return std::time(nullptr); }

}  // namespace

std::uint16_t pollMonitoredClasses(const ORV::ThreadTools& tools, LatchedStore& store,
                                   const std::function<std::time_t()>& now) {
  Cycle cycle(tools, store, now);
  for (const char* className : kMonitoredClasses) {
    try {
      cycle.poll(className);
      tools.memory.release();
    } catch (...) {
      syslog(LOG_ERR, "Failed to check health status of class %s\n", className);
    }
  }
  return cycle.maxHealthState();
}

ORV::ThreadWork HealthMonitorThread() {
  ORV::ThreadWork work;
  work.cycle = [](const ORV::ThreadTools& tools) {
    MonitorState& state = monitorState();
    state.rollupHealthState = pollMonitoredClasses(tools, state.store, wallClock);
  };
  work.period = [] { return kPollPeriod; };
  work.attaches = true;
  return work;
}

}  // namespace OrvLatchedHealth
