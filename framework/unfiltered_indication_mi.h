#pragma once

#include "cmpi/cmpi_indication_mi.h"

namespace ORV {

/// Indication provider that sends whether or not anyone listens: it accepts every filter, and
/// leaves filtering to the object manager.
class UnfilteredIndicationMI : public CmpiIndicationMI {
 public:
  UnfilteredIndicationMI(const CmpiBroker& mbp, const CmpiContext& context);

  CmpiStatus authorizeFilter(const CmpiContext& context, const CmpiSelectExp& filter,
                             const char* className, const CmpiObjectPath& path,
                             const char* owner) override;
  CmpiStatus mustPoll(const CmpiContext& context, const CmpiSelectExp& filter,
                      const char* className, const CmpiObjectPath& path) override;
  CmpiStatus activateFilter(const CmpiContext& context, const CmpiSelectExp& filter,
                            const char* className, const CmpiObjectPath& path,
                            CmpiBoolean firstActivation) override;
  CmpiStatus deActivateFilter(const CmpiContext& context, const CmpiSelectExp& filter,
                              const char* className, const CmpiObjectPath& path,
                              CmpiBoolean lastActivation) override;
};

}  // namespace ORV
