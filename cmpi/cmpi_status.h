#pragma once

#include "cmpi/abi/cmpi_tables.h"

/// The outcome of an operation, and the exception that the binding throws for every status but OK.
///
/// The text belongs to the broker's memory for the thread: it dies with the request or with the
/// memory mark inside which it was made.
class CmpiStatus {
 public:
  CmpiStatus(CMPIrc rc = CMPI_RC_OK)
      : status_{rc, nullptr} {}  // NOLINT(google-explicit-constructor)
  explicit CmpiStatus(const CMPIStatus& status) : status_(status) {}
  /// Copies the text into a broker string. The status has no text when `text` is null or the broker
  /// cannot make the string.
  CmpiStatus(CMPIrc rc, const char* text);

  CMPIrc rc() const { return status_.rc; }
  /// The text; null when there is none.
  const char* msg() const;
  CMPIStatus status() const { return status_; }

 private:
  CMPIStatus status_;
};

/// Throws unless the status is OK.
inline void throwUnlessOk(const CMPIStatus& status) {
  if (status.rc != CMPI_RC_OK) throw CmpiStatus(status);
}
