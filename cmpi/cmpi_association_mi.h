#pragma once

#include "cmpi/cmpi_base_mi.h"
#include "cmpi/cmpi_result.h"

/// Association provider. Every operation answers CMPI_RC_ERR_NOT_SUPPORTED unless it is overridden.
///
/// Class and role filters are null or empty when the client gave none; `properties` is a
/// null-terminated list, or null for all.
class CmpiAssociationMI : public virtual CmpiBaseMI {
 public:
  CmpiAssociationMI(const CmpiBroker& mbp, const CmpiContext& context);
  ~CmpiAssociationMI() override;

  virtual CmpiStatus associators(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const char* assocClass,
                                 const char* resultClass, const char* role, const char* resultRole,
                                 const char** properties);
  virtual CmpiStatus associatorNames(const CmpiContext& context, CmpiResult& result,
                                     const CmpiObjectPath& path, const char* assocClass,
                                     const char* resultClass, const char* role,
                                     const char* resultRole);
  /// `resultClass` names the association class here and in referenceNames.
  virtual CmpiStatus references(const CmpiContext& context, CmpiResult& result,
                                const CmpiObjectPath& path, const char* resultClass,
                                const char* role, const char** properties);
  virtual CmpiStatus referenceNames(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path, const char* resultClass,
                                    const char* role);

  /// The function table for a factory, with every slot filled.
  static CMPIAssociationMIFT functionTable(const char* miName);
};
