#include "cmpi/cmpi_association_mi.h"

#include "cmpi/cmpi_dispatch.h"

CmpiAssociationMI::CmpiAssociationMI(const CmpiBroker& mbp, const CmpiContext& context)
    : CmpiBaseMI(mbp, context) {}

CmpiAssociationMI::~CmpiAssociationMI() = default;

CmpiStatus CmpiAssociationMI::associators(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                          const char*, const char*, const char*, const char*,
                                          const char**) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiAssociationMI::associatorNames(const CmpiContext&, CmpiResult&,
                                              const CmpiObjectPath&, const char*, const char*,
                                              const char*, const char*) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiAssociationMI::references(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                         const char*, const char*, const char**) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

CmpiStatus CmpiAssociationMI::referenceNames(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                             const char*, const char*) {
  return CMPI_RC_ERR_NOT_SUPPORTED;
}

namespace {

CMPIStatus driveCleanup(CMPIAssociationMI* mi, const CMPIContext* context,
                        CMPIBoolean terminating) {
  return CmpiBaseMI::driveBaseCleanup(mi->hdl, context, terminating);
}

CMPIStatus driveAssociators(CMPIAssociationMI* mi, const CMPIContext* context,
                            const CMPIResult* rslt, const CMPIObjectPath* path,
                            const char* assocClass, const char* resultClass, const char* role,
                            const char* resultRole, const char** properties) {
  return dispatch<CmpiAssociationMI>(mi->hdl, [&](CmpiAssociationMI& provider) {
    CmpiResult result(rslt);
    return provider.associators(CmpiContext(context), result, CmpiObjectPath(path), assocClass,
                                resultClass, role, resultRole, properties);
  });
}

CMPIStatus driveAssociatorNames(CMPIAssociationMI* mi, const CMPIContext* context,
                                const CMPIResult* rslt, const CMPIObjectPath* path,
                                const char* assocClass, const char* resultClass, const char* role,
                                const char* resultRole) {
  return dispatch<CmpiAssociationMI>(mi->hdl, [&](CmpiAssociationMI& provider) {
    CmpiResult result(rslt);
    return provider.associatorNames(CmpiContext(context), result, CmpiObjectPath(path), assocClass,
                                    resultClass, role, resultRole);
  });
}

CMPIStatus driveReferences(CMPIAssociationMI* mi, const CMPIContext* context,
                           const CMPIResult* rslt, const CMPIObjectPath* path,
                           const char* resultClass, const char* role, const char** properties) {
  return dispatch<CmpiAssociationMI>(mi->hdl, [&](CmpiAssociationMI& provider) {
    CmpiResult result(rslt);
    return provider.references(CmpiContext(context), result, CmpiObjectPath(path), resultClass,
                               role, properties);
  });
}

CMPIStatus driveReferenceNames(CMPIAssociationMI* mi, const CMPIContext* context,
                               const CMPIResult* rslt, const CMPIObjectPath* path,
                               const char* resultClass, const char* role) {
  return dispatch<CmpiAssociationMI>(mi->hdl, [&](CmpiAssociationMI& provider) {
    CmpiResult result(rslt);
    return provider.referenceNames(CmpiContext(context), result, CmpiObjectPath(path), resultClass,
                                   role);
  });
}

}  // namespace

CMPIAssociationMIFT CmpiAssociationMI::functionTable(const char* miName) {
  return {CMPIVersion200,   CMPIVersion200,       miName,          driveCleanup,
          driveAssociators, driveAssociatorNames, driveReferences, driveReferenceNames};
}
