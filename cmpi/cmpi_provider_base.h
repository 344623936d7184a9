#pragma once

#include <atomic>

#include "cmpi/abi/cmpi_tables.h"

class CmpiBaseMI;

/// One provider name: its only provider object, and how often its factories were called.
///
/// Empty when the library is loaded, and never emptied again. The object manager calls the
/// factories of a name one at a time. The members are atomic all the same, in case factories of a
/// name that is registered for several classes are called at once.
class CmpiProviderBase {
 public:
  constexpr CmpiProviderBase() = default;
  CmpiProviderBase(const CmpiProviderBase&) = delete;
  CmpiProviderBase& operator=(const CmpiProviderBase&) = delete;

  /// Null before the first successful factory call.
  CmpiBaseMI* getBaseMI() const { return object_.load(); }
  void setBaseMI(CmpiBaseMI* object) { object_.store(object); }

  void incUseCount() { ++useCount_; }
  int useCount() const { return useCount_.load(); }

  /// The process-wide broker record, which every constructor of a broker object reads; null before
  /// the first factory call.
  static const CMPIBroker* getBroker();
  /// Makes a copy of the record the process-wide one; null changes nothing. A copy stays valid for
  /// the life of the process.
  ///
  /// Fails: std::bad_alloc.
  static void setBroker(const CMPIBroker* broker);

 private:
  std::atomic<CmpiBaseMI*> object_{nullptr};
  std::atomic<int> useCount_{0};
};

/// The process-wide record, for a constructor that needs one.
///
/// Fails: CmpiStatus with CMPI_RC_ERR_FAILED before the first factory call.
const CMPIBroker* requireBroker();
