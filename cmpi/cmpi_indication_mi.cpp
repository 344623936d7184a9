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

CMPIStatus driveCleanup(CMPIIndicationMI* mi, const CMPIContext* context, CMPIBoolean terminating) {
  return CmpiBaseMI::driveBaseCleanup(mi->hdl, context, terminating);
}

CMPIStatus driveAuthorizeFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                                const CMPISelectExp* filter, const char* className,
                                const CMPIObjectPath* path, const char* owner) {
  return dispatch<CmpiIndicationMI>(mi->hdl, [&](CmpiIndicationMI& provider) {
    return provider.authorizeFilter(CmpiContext(context), CmpiSelectExp(filter), className,
                                    CmpiObjectPath(path), owner);
  });
}

CMPIStatus driveMustPoll(CMPIIndicationMI* mi, const CMPIContext* context,
                         const CMPISelectExp* filter, const char* className,
                         const CMPIObjectPath* path) {
  return dispatch<CmpiIndicationMI>(mi->hdl, [&](CmpiIndicationMI& provider) {
    return provider.mustPoll(CmpiContext(context), CmpiSelectExp(filter), className,
                             CmpiObjectPath(path));
  });
}

CMPIStatus driveActivateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                               const CMPISelectExp* filter, const char* className,
                               const CMPIObjectPath* path, CMPIBoolean firstActivation) {
  return dispatch<CmpiIndicationMI>(mi->hdl, [&](CmpiIndicationMI& provider) {
    return provider.activateFilter(CmpiContext(context), CmpiSelectExp(filter), className,
                                   CmpiObjectPath(path), firstActivation);
  });
}

CMPIStatus driveDeActivateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                                 const CMPISelectExp* filter, const char* className,
                                 const CMPIObjectPath* path, CMPIBoolean lastActivation) {
  return dispatch<CmpiIndicationMI>(mi->hdl, [&](CmpiIndicationMI& provider) {
    return provider.deActivateFilter(CmpiContext(context), CmpiSelectExp(filter), className,
                                     CmpiObjectPath(path), lastActivation);
  });
}

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
  return {CMPIVersion200,         CMPIVersion200,        miName,
          driveCleanup,           driveAuthorizeFilter,  driveMustPoll,
          driveActivateFilter,    driveDeActivateFilter, driveEnableIndications,
          driveDisableIndications};
}
