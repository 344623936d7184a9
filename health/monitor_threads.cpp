#include "health/monitor_threads.h"

#include <syslog.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

#include "cmpi/cmpi_status.h"
#include "framework/background_thread.h"
#include "framework/deadline.h"
#include "health/health_monitor.h"
#include "health/kernel_ip_monitor.h"
#include "health/monitor_state.h"

namespace OrvLatchedHealth {

namespace {

/// On its way from the provider that starts a thread to the thread, which frees it.
struct MonitorArgument {
  MonitorArgument(const CmpiBroker& starter, const CmpiContext& prepared)
      : broker(starter), context(prepared) {}

  const CmpiBroker broker;
  const CmpiPreparedContext context;
};

using ThreadBody = void* (*)(void*);

/// False when there is no thread; the list is as before then.
bool startMonitor(MonitorState& state, std::vector<pthread_t>& started, ThreadBody body,
                  const CmpiBroker& broker, const CmpiContext& context) {
  auto argument = std::make_unique<MonitorArgument>(broker, broker.prepareAttachThread(context));
  if (argument->context.isNull()) throw CmpiStatus(CMPI_RC_ERR_FAILED);
  started.emplace_back();
  if (ORV::startBackgroundThread(started.back(), body, argument.get()) != 0) {
    started.pop_back();
    return false;
  }
  static_cast<void>(argument.release());  // the thread's
  ++state.startingThreadCount;
  return true;
}

void join(const std::vector<pthread_t>& threads) {
  for (const pthread_t thread : threads) pthread_join(thread, nullptr);
}

bool attach(const MonitorArgument& argument) {
  try {
    argument.broker.attachThread(argument.context);
    return true;
  } catch (const CmpiStatus&) {
    return false;
  }
}

}  // namespace

void startMonitorThreads(const CmpiBroker& broker, const CmpiContext& context) {
  MonitorState& state = monitorState();
  const std::lock_guard<OMC::Mutex> lock(state.latchedHealthMutex);
  if (state.monitorThreadCount + state.startingThreadCount != 0) return;
  if (!startMonitor(state, state.healthMonitorThreads, HealthMonitorThread, broker, context)) {
    syslog(LOG_ERR, "%s failed to start health monitoring thread\n", "StartHealthMonitorThread");
    std::abort();
  }
  if (!startMonitor(state, state.kernelIpThreads, KernelIpMonitorThread, broker, context)) {
    syslog(LOG_ERR, "%s failed to start Kernel Ip monitoring thread\n",
           "StartKernelIpMonitorThread");
    std::abort();
  }
}

void stopMonitorThreads() {
  MonitorState& state = monitorState();
  std::unique_lock<OMC::Mutex> lock(state.latchedHealthMutex);
  state.monitorStop = true;
  state.latchedHealthCondition.broadcast();
  // Taken under the mutex: each thread is joined once, however many callers there are.
  const std::vector<pthread_t> kernelIpThreads = std::exchange(state.kernelIpThreads, {});
  const std::vector<pthread_t> healthMonitorThreads = std::exchange(state.healthMonitorThreads, {});
  ++state.joining;
  lock.unlock();  // the threads need it to end
  join(kernelIpThreads);
  join(healthMonitorThreads);
  lock.lock();
  --state.joining;
  state.joined.broadcast();
  while (state.joining != 0) state.joined.wait(state.latchedHealthMutex);
}

void runMonitorThread(void* argument, long periodSeconds,
                      const std::function<void(const MonitorTools&)>& work) {
  const std::unique_ptr<const MonitorArgument> own(static_cast<MonitorArgument*>(argument));
  const bool attached = attach(*own);
  const ORV::AttachedThreadMemory memory(own->context);
  const MonitorTools tools{own->broker, own->context, memory};

  MonitorState& state = monitorState();
  const std::lock_guard<OMC::Mutex> lock(state.latchedHealthMutex);
  --state.startingThreadCount;
  if (!attached) return;
  ++state.monitorThreadCount;
  while (!state.monitorStop) {
    work(tools);
    state.latchedHealthCondition.timedWait(state.latchedHealthMutex,
                                           ORV::deadlineIn(periodSeconds));
  }
  --state.monitorThreadCount;
}

}  // namespace OrvLatchedHealth
