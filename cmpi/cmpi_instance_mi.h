#pragma once

#include "cmpi/cmpi_base_mi.h"
#include "cmpi/cmpi_result.h"

/// Instance provider. Every operation answers CMPI_RC_ERR_NOT_SUPPORTED unless it is overridden.
///
/// `properties` is a null-terminated list, or null for all.
class CmpiInstanceMI : public virtual CmpiBaseMI {
 public:
  CmpiInstanceMI(const CmpiBroker& mbp, const CmpiContext& context);
  ~CmpiInstanceMI() override;

  virtual CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                                       const CmpiObjectPath& path);
  virtual CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                                   const CmpiObjectPath& path, const char** properties);
  virtual CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const char** properties);
  virtual CmpiStatus createInstance(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path, const CmpiInstance& instance);
  virtual CmpiStatus setInstance(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const CmpiInstance& instance,
                                 const char** properties);
  virtual CmpiStatus deleteInstance(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path);
  virtual CmpiStatus execQuery(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path, const char* language, const char* query);

  /// The function table for a factory, with every slot filled.
  static CMPIInstanceMIFT functionTable(const char* miName);
};
