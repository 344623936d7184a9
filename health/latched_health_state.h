#pragma once

#include "cmpi/cmpi_instance_mi.h"
#include "framework/unfiltered_indication_mi.h"

namespace OrvLatchedHealth {

/// Serves Orvane_LatchedHealthState, one instance per latched record, and Orvane_RollupHealthState,
/// one instance; both are read-only. Is also the indication provider of
/// Orvane_KernelIPChangedIndication.
///
/// There is one object for each of these two roles. They share the module's state (monitor_state.h)
/// and have none of their own. Requests for latched records wait while a monitor cycle runs.
class OrvLatchedHealthState : public CmpiInstanceMI, private ORV::UnfilteredIndicationMI {
 public:
  OrvLatchedHealthState(const CmpiBroker& mbp, const CmpiContext& context);

  CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path) override;
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;
  CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char** properties) override;

  /// Starts the monitor threads unless they run.
  CmpiStatus initialize(const CmpiContext& context) override;
  /// Terminating: ends the monitor threads, for good. Otherwise: CMPI_RC_NEVER_UNLOAD.
  CmpiStatus cleanup(const CmpiContext& context, bool terminating) override;
  bool isUnloadable() const override;

  using ORV::UnfilteredIndicationMI::activateFilter;
  using ORV::UnfilteredIndicationMI::authorizeFilter;
  using ORV::UnfilteredIndicationMI::deActivateFilter;
  using ORV::UnfilteredIndicationMI::mustPoll;
  CmpiStatus enableIndications() override;
  CmpiStatus disableIndications() override;
};

}  // namespace OrvLatchedHealth
