#pragma once

#include "cmpi/cmpi_object.h"

inline constexpr CMPIUint64 kMicrosecondsPerSecond = 1'000'000;

/// A point in time or an interval, made by the broker; copies share it.
class CmpiDateTime : public CmpiObject {
 public:
  /// Microseconds since the epoch, or of the interval.
  ///
  /// Fails: CmpiStatus of the broker.
  CmpiDateTime(CMPIUint64 microseconds, bool interval);
  /// The time `seconds` after the epoch.
  static CmpiDateTime ofSeconds(CMPIUint64 seconds) {
    return {seconds * kMicrosecondsPerSecond, /*interval=*/false};
  }
  explicit CmpiDateTime(const CMPIDateTime* enc) : CmpiObject(enc) {}

  CMPIDateTime* getEnc() const { return static_cast<CMPIDateTime*>(enc_); }
};
