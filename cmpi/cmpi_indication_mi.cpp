#include "cmpi/cmpi_indication_mi.h"

#include "cmpi/cmpi_dispatch.h"

CmpiIndicationMI::CmpiIndicationMI(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context) {}

CmpiIndicationMI::~CmpiIndicationMI() = default;

CmpiStatus CmpiIndicationMI::authorizeFilter(const CmpiContext&, const CmpiSelectExp&, const char*,
                                             const CmpiObjectPath&, const char*) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiIndicationMI::mustPoll(const CmpiContext&, const CmpiSelectExp&, const char*,
                                      const CmpiObjectPath&) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiIndicationMI::activateFilter(const CmpiContext&, const CmpiSelectExp&, const char*,
                                            const CmpiObjectPath&, CmpiBoolean) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiIndicationMI::deActivateFilter(const CmpiContext&, const CmpiSelectExp&, const char*,
                                              const CmpiObjectPath&, CmpiBoolean) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiIndicationMI::enableIndications() { return CMPI_RC_ERR_NOT_SUPPORTED; }

CmpiStatus CmpiIndicationMI::disableIndications() { return CMPI_RC_ERR_NOT_SUPPORTED; }

namespace {

CMPIStatus driveEnableIndications(CMPIIndicationMI* mi, const CMPIContext*) {
  return dispatch<CmpiIndicationMI>(
      mi->hdl, [](CmpiIndicationMI& provider) { return provider.enableIndications(); });
}

CMPIStatus driveDisableIndications(CMPIIndicationMI* mi, const CMPIContext*) {
  return dispatch<CmpiIndicationMI>(
      mi->hdl, [](CmpiIndicationMI& provider) { return provider.disableIndications(); });
}

}  // namespace

CMPIIndicationMIFT CmpiIndicationMI::functionTable(const char* miName) {
  using MI = CmpiIndicationMI;
  return {CMPIVersion200,
          CMPIVersion200,
          miName,
          driveCleanup,
          drive<MI, &MI::authorizeFilter>,
          drive<MI, &MI::mustPoll>,
          drive<MI, &MI::activateFilter>,
          drive<MI, &MI::deActivateFilter>,
          driveEnableIndications,
          driveDisableIndications};
}
