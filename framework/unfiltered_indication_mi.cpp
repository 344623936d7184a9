#include "framework/unfiltered_indication_mi.h"

namespace ORV {

UnfilteredIndicationMI::UnfilteredIndicationMI(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context), CmpiIndicationMI(mbp, context) {}

CmpiStatus UnfilteredIndicationMI::authorizeFilter(const CmpiContext&, const CmpiSelectExp&,
                                                   const char*, const CmpiObjectPath&,
                                                   const char*) {
  return CMPI_RC_OK;
}

CmpiStatus UnfilteredIndicationMI::mustPoll(const CmpiContext&, const CmpiSelectExp&, const char*,
                                            const CmpiObjectPath&) {
  return CMPI_RC_OK;
}

CmpiStatus UnfilteredIndicationMI::activateFilter(const CmpiContext&, const CmpiSelectExp&,
                                                  const char*, const CmpiObjectPath&, CmpiBoolean) {
  return CMPI_RC_OK;
}

CmpiStatus UnfilteredIndicationMI::deActivateFilter(const CmpiContext&, const CmpiSelectExp&,
                                                    const char*, const CmpiObjectPath&,
                                                    CmpiBoolean) {
  return CMPI_RC_OK;
}

}  // namespace ORV
