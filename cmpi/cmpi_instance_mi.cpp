#include "cmpi/cmpi_instance_mi.h"

#include "cmpi/cmpi_dispatch.h"

CmpiInstanceMI::CmpiInstanceMI(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context) {}

CmpiInstanceMI::~CmpiInstanceMI() = default;

CmpiStatus CmpiInstanceMI::enumInstanceNames(const CmpiContext&, CmpiResult&,
                                             const CmpiObjectPath&) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::enumInstances(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                         const char**) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::getInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                       const char**) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::createInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                          const CmpiInstance&) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::setInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                       const CmpiInstance&, const char**) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::deleteInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiInstanceMI::execQuery(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                     const char*, const char*) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

namespace {

CMPIStatus driveCleanup(CMPIInstanceMI* mi, const CMPIContext* context, CMPIBoolean terminating) {
  return CmpiBaseMI::driveBaseCleanup(mi->hdl, context, terminating);
}

CMPIStatus driveEnumInstanceNames(CMPIInstanceMI* mi, const CMPIContext* context,
                                  const CMPIResult* rslt, const CMPIObjectPath* path) {
  return dispatch<CmpiInstanceMI>(mi->hdl, [&](CmpiInstanceMI& provider) {
    CmpiResult result(rslt);
    return provider.enumInstanceNames(CmpiContext(context), result, CmpiObjectPath(path));
  });
}

CMPIStatus driveEnumInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                              const CMPIResult* rslt, const CMPIObjectPath* path,
                              const char** properties) {
  return dispatch<CmpiInstanceMI>(mi->hdl, [&](CmpiInstanceMI& provider) {
    CmpiResult result(rslt);
    return provider.enumInstances(CmpiContext(context), result, CmpiObjectPath(path), properties);
  });
}

CMPIStatus driveGetInstance(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* rslt,
                            const CMPIObjectPath* path, const char** properties) {
  return dispatch<CmpiInstanceMI>(mi->hdl, [&](CmpiInstanceMI& provider) {
    CmpiResult result(rslt);
    return provider.getInstance(CmpiContext(context), result, CmpiObjectPath(path), properties);
  });
}

CMPIStatus driveCreateInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                               const CMPIResult* rslt, const CMPIObjectPath* path,
                               const CMPIInstance* instance) {
  return dispatch<CmpiInstanceMI>(mi->hdl, [&](CmpiInstanceMI& provider) {
    CmpiResult result(rslt);
    return provider.createInstance(CmpiContext(context), result, CmpiObjectPath(path),
                                   CmpiInstance(instance));
  });
}

CMPIStatus driveSetInstance(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* rslt,
                            const CMPIObjectPath* path, const CMPIInstance* instance,
                            const char** properties) {
  return dispatch<CmpiInstanceMI>(mi->hdl, [&](CmpiInstanceMI& provider) {
    CmpiResult result(rslt);
    return provider.setInstance(CmpiContext(context), result, CmpiObjectPath(path),
                                CmpiInstance(instance), properties);
  });
}

CMPIStatus driveDeleteInstance(CMPIInstanceMI* mi, const CMPIContext* context,
                               const CMPIResult* rslt, const CMPIObjectPath* path) {
  return dispatch<CmpiInstanceMI>(mi->hdl, [&](CmpiInstanceMI& provider) {
    CmpiResult result(rslt);
    return provider.deleteInstance(CmpiContext(context), result, CmpiObjectPath(path));
  });
}

CMPIStatus driveExecQuery(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* rslt,
                          const CMPIObjectPath* path, const char* query, const char* language) {
  return dispatch<CmpiInstanceMI>(mi->hdl, [&](CmpiInstanceMI& provider) {
    CmpiResult result(rslt);
    return provider.execQuery(CmpiContext(context), result, CmpiObjectPath(path), language, query);
  });
}

}  // namespace

CMPIInstanceMIFT CmpiInstanceMI::functionTable(const char* miName) {
  return {CMPIVersion200,         CMPIVersion200,      miName,           driveCleanup,
          driveEnumInstanceNames, driveEnumInstances,  driveGetInstance, driveCreateInstance,
          driveSetInstance,       driveDeleteInstance, driveExecQuery};
}
