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

// The C interface passes the language last; the operation takes it before the query.
CMPIStatus driveExecQuery(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* rslt,
                          const CMPIObjectPath* path, const char* query, const char* language) {
  return drive<CmpiInstanceMI, &CmpiInstanceMI::execQuery>(mi, context, rslt, path, language,
                                                           query);
}

}  // namespace

CMPIInstanceMIFT CmpiInstanceMI::functionTable(const char* miName) {
  using MI = CmpiInstanceMI;
  return {CMPIVersion200,
          CMPIVersion200,
          miName,
          driveCleanup,
          drive<MI, &MI::enumInstanceNames>,
          drive<MI, &MI::enumInstances>,
          drive<MI, &MI::getInstance>,
          drive<MI, &MI::createInstance>,
          drive<MI, &MI::setInstance>,
          drive<MI, &MI::deleteInstance>,
          driveExecQuery};
}
