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

CMPIAssociationMIFT CmpiAssociationMI::functionTable(const char* miName) {
  using MI = CmpiAssociationMI;
  return {CMPIVersion200,
          CMPIVersion200,
          miName,
          driveCleanup,
          drive<MI, &MI::associators>,
          drive<MI, &MI::associatorNames>,
          drive<MI, &MI::references>,
          drive<MI, &MI::referenceNames>};
}
