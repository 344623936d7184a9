#pragma once

#include "framework/simple_association_mi.h"

namespace OrvLatchedHealth {

/// Serves Orvane_LatchedHealthAssociation: from a latched record to the element that it concerns,
/// not back. Waits while a monitor cycle runs.
class OrvLatchedHealthAssociation : public virtual OMC::SimpleAssociationMI {
 public:
  OrvLatchedHealthAssociation(const CmpiBroker& mbp, const CmpiContext& context);

  /// Terminating: ends the monitor threads, since an object manager may call the cleanup of this
  /// object and of no other of the module.
  CmpiStatus cleanup(const CmpiContext& context, bool terminating) override;
  bool isUnloadable() const override;

 protected:
  CmpiStatus doReferences(const CmpiContext& context, CmpiResult& result,
                          const CmpiObjectPath& path, const char* assocClass,
                          const char* resultClass, const char* role,
                          const char* resultRole) override;
};

}  // namespace OrvLatchedHealth
