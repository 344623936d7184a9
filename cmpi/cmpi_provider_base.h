#pragma once

#include <atomic>

#include "cmpi/abi/cmpi_tables.h"

class CmpiBaseMI;

/// One provider name: its single provider object and how often its factories were called.
///
/// Starts empty when the library is loaded, is never emptied again. The object manager calls a
/// name's factories one at a time; the members are atomic all the same, since names registered for
/// several classes may meet.
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
  /// Copies the five members of the record; a copy that is in use stays valid for the life of the
  /// process.
  static void setBroker(const CMPIBroker* broker);

 private:
  std::atomic<CmpiBaseMI*> object_{nullptr};
  std::atomic<int> useCount_{0};
};

/// The process-wide record for a constructor that cannot do without it.
///
/// Fails: CmpiStatus with CMPI_RC_ERR_FAILED before the first factory call.
const CMPIBroker* requireBroker();
