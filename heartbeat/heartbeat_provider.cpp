#include "heartbeat/heartbeat_provider.h"

#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <mutex>
#include <new>
#include <optional>
#include <sstream>
#include <string>

#include "cmpi/cmpi_date_time.h"
#include "cmpi/cmpi_memory_mark.h"
#include "framework/background_thread.h"
#include "framework/factories.h"
#include "framework/locks.h"
#include "framework/scoping_keys.h"
#include "framework/text_file.h"
#include "heartbeat/interval_config.h"

namespace Heartbeat {
namespace {

using ORV::kNameSpace;

constexpr char kConfigurationFile[] = "/etc/sfcb/sfcb.cfg";
constexpr char kClassName[] = "Orvane_CIMHeartbeat";
constexpr char kStartFailed[] = "Failed to start heartbeat indication thread";
constexpr char kDeliveryFailed[] = "Failed to deliver indication\n";
constexpr char kStillDelivering[] =
    "The broker does not return from the delivery of a heartbeat; not waiting for it any longer\n";
constexpr std::int32_t kDefaultIntervalSeconds = 300;
constexpr std::int32_t kMinimumIntervalSeconds = 30;

struct State {
  std::atomic<std::int32_t> intervalSeconds{kDefaultIntervalSeconds};

  /// Guards the sender. The thread holds it all the time, also during a delivery, except while it
  /// waits. No lock is taken before it; the broker takes its own while it is held.
  OMC::Mutex mutex;
  OMC::Condition condition;
  ORV::ThreadGroup threads{mutex, condition};
  ORV::BackgroundThread sender{threads};
};

/// Never destroyed: the thread may outlive the static objects of a process that exits.
State& state() {
  static State& instance = *new State;
  return instance;
}

std::string hostName() {
  char name[80] = "";
  gethostname(name, sizeof name);
  name[sizeof name - 1] = '\0';  // a longer name may come without a NUL
  return name;
}

CmpiDateTime now() { return CmpiDateTime::ofSeconds(static_cast<CMPIUint64>(std::time(nullptr))); }

/// One heartbeat. The instance is built anew each time, in memory of its own: a filter that selects
/// properties removes the others from the delivered instance for good, and a thread that lives for
/// a year must not keep what it makes.
void beat(const ORV::ThreadTools& thread, const std::string& host, CMPIUint32 stamp) {
  const CmpiMemoryMark mark(thread.broker);
  try {
    CmpiInstance heartbeat(CmpiObjectPath(kNameSpace, kClassName));
    heartbeat.setProperty("hostname", host.c_str());
    heartbeat.setProperty("stamp", stamp);
    heartbeat.setProperty("IndicationTime", now());
    thread.broker.deliverIndication(thread.context, kNameSpace, heartbeat);
  } catch (const CmpiStatus&) {
    syslog(LOG_ERR, kDeliveryFailed);
  } catch (const std::bad_alloc&) {
    syslog(LOG_ERR, kDeliveryFailed);
  }
}

}  // namespace

ORV::ThreadWork heartBeatThread() {
  ORV::ThreadWork work;
  work.cycle = [host = hostName(), stamp = CMPIUint32{0}](const ORV::ThreadTools& thread) mutable {
    beat(thread, host, stamp++);
  };
  work.period = [] { return std::chrono::seconds(state().intervalSeconds); };
  work.delivers = true;
  return work;
}

HeartbeatProvider::HeartbeatProvider(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context), ORV::UnfilteredIndicationMI(mbp, context) {}

CmpiStatus HeartbeatProvider::initialize(const CmpiContext& context) {
  readInterval(kConfigurationFile);
  const std::lock_guard<OMC::Mutex> lock(state().mutex);
  if (state().sender.start(*broker, context, heartBeatThread())) return CMPI_RC_OK;
  syslog(LOG_ERR, kStartFailed);
  throw CmpiStatus(CMPI_RC_ERR_FAILED, kStartFailed);
}

CmpiStatus HeartbeatProvider::cleanup(const CmpiContext&, bool terminating) {
  if (!terminating) return CMPI_RC_NEVER_UNLOAD;
  if (!state().threads.stop()) syslog(LOG_ERR, kStillDelivering);
  return CMPI_RC_OK;
}

CmpiStatus HeartbeatProvider::enableIndications() { return CMPI_RC_OK; }

CmpiStatus HeartbeatProvider::disableIndications() { return CMPI_RC_OK; }

void readInterval(const char* path) {
  const std::optional<std::string> text = ORV::readTextFile(path);
  if (!text) {
    syslog(LOG_ERR, "Open file to read: %s failed, using default: %d seconds", path,
           intervalSeconds());
    return;
  }
  std::istringstream file(*text);
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
