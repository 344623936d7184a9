#pragma once

#include "cmpi/abi/cmpi_tables.h"
#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_provider_base.h"
#include "cmpi/cmpi_status.h"

/// The part that every provider has: virtual base of the management-interface classes.
///
/// Provider objects are never deleted by the binding: the object manager keeps management-interface
/// records that point at them, and this library stays loaded.
class CmpiBaseMI {
 public:
  CmpiBaseMI(const CmpiBroker& mbp, const CmpiContext& context);
  virtual ~CmpiBaseMI();
  CmpiBaseMI(const CmpiBaseMI&) = delete;
  CmpiBaseMI& operator=(const CmpiBaseMI&) = delete;

  /// Called once, by the first factory call of the provider's name. Default: OK.
  virtual CmpiStatus initialize(const CmpiContext& context);

  /// The object manager asks whether it may unload (`terminating` false) or announces its end. The
  /// returned status is the answer. Default: OK.
  virtual CmpiStatus cleanup(const CmpiContext& context, bool terminating);

  /// A provider that returns false is never unloaded: an OK to a cleanup that is not terminating
  /// becomes CMPI_RC_NEVER_UNLOAD.
  virtual bool isUnloadable() const;

  /// Stores the base and makes this provider's broker the process-wide one.
  void setProviderBase(CmpiProviderBase* base);
  CmpiProviderBase* getProviderBase() const { return base_; }

  /// The cleanup slot of every kind of management interface; `mi` is the handle of the MI record.
  static CMPIStatus driveBaseCleanup(void* mi, const CMPIContext* context, CMPIBoolean terminating);

 private:
  CmpiBroker ownBroker_;
  CmpiProviderBase* base_ = nullptr;

 protected:
  CmpiBroker* const broker = &ownBroker_;
};
