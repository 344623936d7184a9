#pragma once

#include <exception>

#include "cmpi/cmpi_base_mi.h"
#include "cmpi/cmpi_status.h"

/// The answer for an exception that is not a CmpiStatus: status 1 with its text.
inline CMPIStatus failedWith(const char* text) noexcept {
  return CmpiStatus(CMPI_RC_ERR_FAILED, text).status();
}

/// The one place where C++ meets the object manager's C frames: runs an operation of the provider
/// behind an MI record and turns whatever leaves it into a status. An exception that unwinds into a
/// C broker ends its process.
///
/// A provider that lacks the interface answers CMPI_RC_ERR_NOT_SUPPORTED. The cast also finds an
/// interface that is a private base: a down-cast from the virtual base looks only at the path from
/// the interface to it.
template <typename MI, typename Operation>
CMPIStatus dispatch(void* handle, Operation&& operation) noexcept {
  try {
    auto* provider = dynamic_cast<MI*>(static_cast<CmpiBaseMI*>(handle));
    if (provider == nullptr) return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
    return operation(*provider).status();
  } catch (const CmpiStatus& status) {
    return status.status();
  } catch (const std::exception& exception) {
    return failedWith(exception.what());
  } catch (...) {
    return failedWith("unknown exception");
  }
}
