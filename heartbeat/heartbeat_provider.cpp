#include "heartbeat/heartbeat_provider.h"

#include <pthread.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "cmpi/cmpi_date_time.h"
#include "cmpi/cmpi_memory_mark.h"
#include "framework/background_thread.h"
#include "framework/deadline.h"
#include "framework/factories.h"
#include "framework/locks.h"
#include "heartbeat/interval_config.h"

namespace Heartbeat {
namespace {

constexpr char kConfigurationFile[] = "/etc/sfcb/sfcb.cfg";
constexpr char kNameSpace[] = "root/cimv2";
constexpr char kClassName[] = "Orvane_CIMHeartbeat";
constexpr char kStartFailed[] = "Failed to start heartbeat indication thread";
constexpr std::int32_t kDefaultIntervalSeconds = 300;
constexpr std::int32_t kMinimumIntervalSeconds = 30;

struct State {
  std::atomic<std::int32_t> intervalSeconds{kDefaultIntervalSeconds};

  /// Guards what follows. The thread holds it all the time, delivery included, except while it
  /// waits; no lock is taken before it, and the broker's own are taken inside.
  OMC::Mutex mutex;
  OMC::Condition condition;         ///< broadcast to stop the thread, and when it has been joined
  bool stop = false;                ///< never set back
  bool running = false;             ///< from the thread's creation until it leaves its loop
  int joins = 0;                    ///< how many wait for a thread's end
  std::optional<pthread_t> thread;  ///< whoever joins the thread takes it out
};

/// Never destroyed: the thread may outlive the static objects of a process that exits.
State& state() {
  static State& instance = *new State;
  return instance;
}

struct ThreadArgument {
  ThreadArgument(const CmpiBroker& starter, const CmpiContext& request)
      : broker(starter), context(starter.prepareAttachThread(request)) {}

  const CmpiBroker broker;
  const CmpiPreparedContext context;
};

std::string hostName() {
  char name[80] = "";
  gethostname(name, sizeof name);
  name[sizeof name - 1] = '\0';  // a longer name may come without its end
  return name;
}

CmpiDateTime now() {
  constexpr CMPIUint64 kMicrosecondsPerSecond = 1'000'000;
  return {static_cast<CMPIUint64>(std::time(nullptr)) * kMicrosecondsPerSecond, false};
}

/// One heartbeat. The instance is built anew each time, in memory of its own: a filter that selects
/// properties cuts the delivered instance for good, and a thread that lives for a year must not
/// keep what it makes.
void beat(const ThreadArgument& thread, const std::string& host, CMPIUint32 stamp) {
  const CmpiMemoryMark mark(thread.broker);
  try {
    CmpiInstance heartbeat(CmpiObjectPath(kNameSpace, kClassName));
    heartbeat.setProperty("hostname", host.c_str());
    heartbeat.setProperty("stamp", stamp);
    heartbeat.setProperty("IndicationTime", now());
    thread.broker.deliverIndication(thread.context, kNameSpace, heartbeat);
  } catch (const CmpiStatus&) {
    syslog(LOG_ERR, "Failed to deliver indication\n");
  }
}

void beatUntilStopped(const ThreadArgument& thread) {
  const std::string host = hostName();
  CMPIUint32 stamp = 0;
  const std::lock_guard<OMC::Mutex> lock(state().mutex);
  while (!state().stop) {
    beat(thread, host, stamp++);
    state().condition.timedWait(state().mutex, ORV::deadlineIn(state().intervalSeconds));
  }
  state().running = false;
}

/// With the mutex locked.
void startThread(const CmpiBroker& broker, const CmpiContext& context) {
  auto argument = std::make_unique<ThreadArgument>(broker, context);
  pthread_t thread{};
  if (ORV::startBackgroundThread(thread, heartBeatThread, argument.get()) != 0) {
    syslog(LOG_ERR, kStartFailed);
    throw CmpiStatus(CMPI_RC_ERR_FAILED, kStartFailed);
  }
  argument.release();  // the thread's now
  state().thread = thread;
  state().running = true;
}

/// Joins the thread, if there is one that nobody has joined, with the lock released: the thread
/// needs it in order to end.
void joinThread(std::unique_lock<OMC::Mutex>& lock) {
  if (!state().thread) return;
  const pthread_t thread = *state().thread;
  state().thread.reset();
  ++state().joins;
  lock.unlock();
  pthread_join(thread, nullptr);
  lock.lock();
  --state().joins;
  state().condition.broadcast();
}

}  // namespace

HeartbeatProvider::HeartbeatProvider(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context), CmpiIndicationMI(mbp, context) {}

CmpiStatus HeartbeatProvider::initialize(const CmpiContext& context) {
  readInterval(kConfigurationFile);
  std::unique_lock<OMC::Mutex> lock(state().mutex);
  if (state().running) return CMPI_RC_OK;
  joinThread(lock);  // one that has ended by itself
  if (!state().running) startThread(*broker, context);
  return CMPI_RC_OK;
}

CmpiStatus HeartbeatProvider::cleanup(const CmpiContext&, bool terminating) {
  if (!terminating) return CMPI_RC_NEVER_UNLOAD;
  std::unique_lock<OMC::Mutex> lock(state().mutex);
  state().stop = true;
  state().condition.broadcast();
  joinThread(lock);
  while (state().joins > 0) state().condition.wait(state().mutex);
  return CMPI_RC_OK;
}

CmpiStatus HeartbeatProvider::authorizeFilter(const CmpiContext&, const CmpiSelectExp&, const char*,
                                              const CmpiObjectPath&, const char*) {
  return CMPI_RC_OK;
}

CmpiStatus HeartbeatProvider::mustPoll(const CmpiContext&, const CmpiSelectExp&, const char*,
                                       const CmpiObjectPath&) {
  return CMPI_RC_OK;
}

CmpiStatus HeartbeatProvider::activateFilter(const CmpiContext&, const CmpiSelectExp&, const char*,
                                             const CmpiObjectPath&, CmpiBoolean) {
  return CMPI_RC_OK;
}

CmpiStatus HeartbeatProvider::deActivateFilter(const CmpiContext&, const CmpiSelectExp&,
                                               const char*, const CmpiObjectPath&, CmpiBoolean) {
  return CMPI_RC_OK;
}

CmpiStatus HeartbeatProvider::enableIndications() { return CMPI_RC_OK; }

CmpiStatus HeartbeatProvider::disableIndications() { return CMPI_RC_OK; }

void* heartBeatThread(void* argument) try {
  const std::unique_ptr<ThreadArgument> thread(static_cast<ThreadArgument*>(argument));
  beatUntilStopped(*thread);
  return nullptr;
} catch (...) {
  // Something other than a failed delivery: the thread is over, the process is not.
  const std::lock_guard<OMC::Mutex> lock(state().mutex);
  state().running = false;
  return nullptr;
}

void readInterval(const char* path) {
  std::ifstream file(path);
  if (!file.is_open()) {
    syslog(LOG_ERR, "Open file to read: %s failed, using default: %d seconds", path,
           intervalSeconds());
    return;
  }
  const std::optional<std::int32_t> seconds = scanInterval(file);
  if (!seconds) return;
  if (*seconds >= kMinimumIntervalSeconds) {
    state().intervalSeconds = *seconds;
  } else {
    syslog(LOG_WARNING, "heartbeat_interval (%d) is below minimum value (%d), using the default.",
           *seconds, kMinimumIntervalSeconds);
  }
}

std::int32_t intervalSeconds() { return state().intervalSeconds; }

}  // namespace Heartbeat

ORV_PROVIDER_BASE(Orvane_CIMHeartbeat);
ORV_INDICATION_FACTORY(Orvane_CIMHeartbeat, Heartbeat::HeartbeatProvider)
