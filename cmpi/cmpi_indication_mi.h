#pragma once

#include "cmpi/cmpi_base_mi.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_select_exp.h"

/// Indication provider. Every operation answers CMPI_RC_ERR_NOT_SUPPORTED unless it is overridden.
class CmpiIndicationMI : public virtual CmpiBaseMI {
 public:
  CmpiIndicationMI(const CmpiBroker& mbp, const CmpiContext& context);
  ~CmpiIndicationMI() override;

  /// `owner` is null when the object manager does not authenticate.
  virtual CmpiStatus authorizeFilter(const CmpiContext& context, const CmpiSelectExp& filter,
                                     const char* className, const CmpiObjectPath& path,
                                     const char* owner);
  /// Asked whether the object manager has to poll for the indications; sfcb ignores the answer.
  virtual CmpiStatus mustPoll(const CmpiContext& context, const CmpiSelectExp& filter,
                              const char* className, const CmpiObjectPath& path);
  /// `firstActivation`: no filter for the class was active before, which sfcb says always.
  virtual CmpiStatus activateFilter(const CmpiContext& context, const CmpiSelectExp& filter,
                                    const char* className, const CmpiObjectPath& path,
                                    CmpiBoolean firstActivation);
  /// `lastActivation`: no filter for the class remains active, which sfcb says always.
  virtual CmpiStatus deActivateFilter(const CmpiContext& context, const CmpiSelectExp& filter,
                                      const char* className, const CmpiObjectPath& path,
                                      CmpiBoolean lastActivation);
  /// The provider may deliver indications from now on, until disableIndications is called.
  virtual CmpiStatus enableIndications();
  virtual CmpiStatus disableIndications();

  /// The function table for a factory, with every slot filled.
  static CMPIIndicationMIFT functionTable(const char* miName);
};
