#include "health/latched_health_association.h"

#include <mutex>

#include "cmpi/cmpi_reference.h"
#include "framework/factories.h"
#include "framework/text.h"
#include "health/latched_instance.h"
#include "health/monitor_state.h"
#include "health/monitor_threads.h"

namespace OrvLatchedHealth {

namespace {

constexpr char kAssociationClass[] = "Orvane_LatchedHealthAssociation";

/// Path of the element that was latched as this event; absent when there is none or its path cannot
/// be made.
std::optional<CmpiObjectPath> elementOfEvent(const LatchedStore& store, std::uint32_t eventId) {
  const HealthInfo* record = store.findEvent(eventId);
  return record == nullptr ? std::nullopt : elementPath(*record);
}

}  // namespace

OrvLatchedHealthAssociation::OrvLatchedHealthAssociation(const CmpiBroker& mbp,
                                                         const CmpiContext& context)
    : CmpiBaseMI(mbp, context), OMC::SimpleAssociationMI(mbp, context) {}

CmpiStatus OrvLatchedHealthAssociation::cleanup(const CmpiContext& context, bool terminating) {
  if (terminating) stopMonitorThreads();
  return OMC::SimpleAssociationMI::cleanup(context, terminating);
}

bool OrvLatchedHealthAssociation::isUnloadable() const { return false; }

CmpiStatus OrvLatchedHealthAssociation::doReferences(const CmpiContext& /*context*/,
                                                     CmpiResult& result, const CmpiObjectPath& path,
                                                     const char* /*assocClass*/,
                                                     const char* /*resultClass*/,
                                                     const char* /*role*/,
                                                     const char* /*resultRole*/) {
  // Deliberate (contract.md#from-the-element).
  if (!ORV::sameName(ORV::classNameOf(path).c_str(), kLatchedHealthStateClass)) return CMPI_RC_OK;
  std::uint32_t eventId = 0;
  if (!findEventIdKey(path, eventId)) return CmpiStatus(CMPI_RC_ERR_FAILED, "Invalid event id");

  CmpiInstance association(CmpiObjectPath(path.getNameSpace(), kAssociationClass));
  association.setProperty("Antecedent", CmpiData(path));
  {
    MonitorState& state = monitorState();
    const std::lock_guard<OMC::Mutex> lock(state.latchedHealthMutex);
    const std::optional<CmpiObjectPath> element = elementOfEvent(state.store, eventId);
    if (!element) return CmpiStatus(CMPI_RC_ERR_NOT_FOUND, "Requested event id not found");
    leavingOutUncarriable([&] {
      association.setProperty("Dependent", CmpiData(*element));
      result.returnData(association);
    });
  }
  result.returnDone();
  return CMPI_RC_OK;
}

}  // namespace OrvLatchedHealth

ORV_PROVIDER_BASE(Orvane_LatchedHealthAssociation);
ORV_ASSOCIATION_FACTORY(Orvane_LatchedHealthAssociation,
                        OrvLatchedHealth::OrvLatchedHealthAssociation)
