#pragma once

#include "cmpi/abi/cmpi_tables.h"

/// Outcome of an operation, and the exception that the binding throws for every status other than
/// OK.
///
/// The text belongs to the broker's memory for the thread: it dies with the request or with the
/// memory mark inside which it was made.
class CmpiStatus {
 public:
  CmpiStatus(CMPIrc rc = CMPI_RC_OK)
      : status_{rc, nullptr} {}  // NOLINT(google-explicit-constructor)
  explicit CmpiStatus(const CMPIStatus& status) : status_(status) {}
  /// The text is copied into a broker string; left out when the broker cannot make one or `text` is
  /// null.
  CmpiStatus(CMPIrc rc, const char* text);

  CMPIrc rc() const { return status_.rc; }
  /// Null when there is none.
  const char* msg() const;
  CMPIStatus status() const { return status_; }

 private:
  CMPIStatus status_;
};

/// Throws unless the status is OK.
inline void throwUnlessOk(const CMPIStatus& status) {
  if (status.rc != CMPI_RC_OK) throw CmpiStatus(status);
}
