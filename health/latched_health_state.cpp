#include "health/latched_health_state.h"

#include <mutex>

#include "framework/factories.h"
#include "framework/text.h"
#include "health/latched_instance.h"
#include "health/monitor_state.h"
#include "health/monitor_threads.h"

namespace OrvLatchedHealth {

namespace {

constexpr char kRollupClass[] = "Orvane_RollupHealthState";
constexpr char kRollupName[] = "Orvane Rollup Health State";
constexpr char kInvalidClass[] = "invalid class name";
constexpr char kFailedToGet[] = "failed to get instances";

bool isLatched(const CmpiObjectPath& path) {
  return ORV::sameName(ORV::classNameOf(path).c_str(), kLatchedHealthStateClass);
}

bool isRollup(const CmpiObjectPath& path) {
  return ORV::sameName(ORV::classNameOf(path).c_str(), kRollupClass);
}

/// The record's path in the request's namespace, with the class as the request spells it.
CmpiObjectPath latchedPath(const CmpiObjectPath& request, const HealthInfo& record) {
  CmpiObjectPath path(request.getNameSpace(), ORV::classNameOf(request).c_str());
  path.setKey("EventId", CmpiData(EventIdText(record.eventId).text));
  return path;
}

CmpiStatus returnRollup(CmpiResult& result, const CmpiObjectPath& path, const char** properties) {
  CmpiInstance instance(path);
  instance.setPropertyFilter(properties);
  instance.setProperty("Name", CmpiData(kRollupName));
  instance.setProperty("HealthState", CmpiData(CMPIUint16{monitorState().rollupHealthState}));
  result.returnData(instance);
  result.returnDone();
  return CMPI_RC_OK;
}

CmpiStatus returnRollupName(CmpiResult& result, const CmpiObjectPath& request) {
  CmpiObjectPath path(request.getNameSpace(), kRollupClass);
  path.setKey("Name", CmpiData(kRollupName));
  result.returnData(path);
  result.returnDone();
  return CMPI_RC_OK;
}

/// Calls `returnRecord` for each record. Deliberate (contract.md#empty-store).
template <typename ReturnRecord>
CmpiStatus returnRecords(CmpiResult& result, ReturnRecord&& returnRecord) {
  MonitorState& state = monitorState();
  const std::lock_guard<OMC::Mutex> lock(state.latchedHealthMutex);
  for (const auto& record : state.store.healthList()) returnRecord(*record);
  if (!state.store.healthList().empty()) result.returnDone();
  return CMPI_RC_OK;
}

}  // namespace

OrvLatchedHealthState::OrvLatchedHealthState(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context),
      CmpiInstanceMI(mbp, context),
      ORV::UnfilteredIndicationMI(mbp, context) {}

CmpiStatus OrvLatchedHealthState::enumInstanceNames(const CmpiContext& /*context*/,
                                                    CmpiResult& result,
                                                    const CmpiObjectPath& path) {
  if (isRollup(path)) return returnRollupName(result, path);
  if (!isLatched(path)) return CmpiStatus(CMPI_RC_ERR_FAILED, kInvalidClass);
  return returnRecords(
      result, [&](const HealthInfo& record) { result.returnData(latchedPath(path, record)); });
}

CmpiStatus OrvLatchedHealthState::enumInstances(const CmpiContext& /*context*/, CmpiResult& result,
                                                const CmpiObjectPath& path,
                                                const char** properties) {
  if (isRollup(path)) return returnRollup(result, path, properties);
  if (!isLatched(path)) return CmpiStatus(CMPI_RC_ERR_FAILED, kInvalidClass);
  return returnRecords(result, [&](const HealthInfo& record) {
    fillLatchedInstance(path, properties, record, result);
  });
}

CmpiStatus OrvLatchedHealthState::getInstance(const CmpiContext& /*context*/, CmpiResult& result,
                                              const CmpiObjectPath& path, const char** properties) {
  if (isRollup(path)) return returnRollup(result, path, properties);
  // Deliberate (contract.md#health-other-class).
  if (!isLatched(path)) return CmpiStatus(CMPI_RC_ERR_NOT_FOUND, kInvalidClass);
  std::uint32_t eventId = 0;
  if (!findEventIdKey(path, eventId)) return CmpiStatus(CMPI_RC_ERR_FAILED, kFailedToGet);

  MonitorState& state = monitorState();
  const std::lock_guard<OMC::Mutex> lock(state.latchedHealthMutex);
  const HealthInfo* record = state.store.findEvent(eventId);
  if (record == nullptr) return CmpiStatus(CMPI_RC_ERR_FAILED, kFailedToGet);
  fillLatchedInstance(path, properties, *record, result);
  result.returnDone();
  return CMPI_RC_OK;
}

CmpiStatus OrvLatchedHealthState::initialize(const CmpiContext& context) {
  startMonitorThreads(*broker, context);
  return CMPI_RC_OK;
}

CmpiStatus OrvLatchedHealthState::cleanup(const CmpiContext& /*context*/, bool terminating) {
  if (!terminating) return CMPI_RC_NEVER_UNLOAD;
  stopMonitorThreads();
  return CMPI_RC_OK;
}

bool OrvLatchedHealthState::isUnloadable() const { return false; }

CmpiStatus OrvLatchedHealthState::enableIndications() {
  monitorState().kernelIpIndication.enableIndication();
  return CMPI_RC_OK;
}

CmpiStatus OrvLatchedHealthState::disableIndications() {
  monitorState().kernelIpIndication.disableIndication();
  return CMPI_RC_OK;
}

}  // namespace OrvLatchedHealth

ORV_PROVIDER_BASE(Orvane_LatchedHealthState);
ORV_INSTANCE_FACTORY(Orvane_LatchedHealthState, OrvLatchedHealth::OrvLatchedHealthState)

// A second object, for the indications.
ORV_PROVIDER_BASE(Orvane_KernelIPChangedIndication);
ORV_INDICATION_FACTORY(Orvane_KernelIPChangedIndication, OrvLatchedHealth::OrvLatchedHealthState)
