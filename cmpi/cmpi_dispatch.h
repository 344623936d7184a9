#pragma once

#include <exception>

#include "cmpi/cmpi_base_mi.h"
#include "cmpi/cmpi_context.h"
#include "cmpi/cmpi_instance.h"
#include "cmpi/cmpi_object_path.h"
#include "cmpi/cmpi_result.h"
#include "cmpi/cmpi_select_exp.h"
#include "cmpi/cmpi_status.h"

/// The answer for an exception that is not a CmpiStatus: status 1 with its text.
inline CMPIStatus failedWith(const char* text) noexcept {
  return CmpiStatus(CMPI_RC_ERR_FAILED, text).status();
}

/// The one place where C++ meets the object manager's C frames: runs an operation of the provider
/// behind an MI record, and turns whatever is thrown into a status. An exception that unwinds into
/// a C broker ends the process.
///
/// A provider without the interface answers CMPI_RC_ERR_NOT_SUPPORTED. An interface that the
/// provider derives from privately is found too: the cast from the virtual base asks only whether
/// the interface itself derives from it publicly.
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

/// The argument that an operation of a provider gets for one of the C interface.
struct ReceivedResult {
  CmpiResult result;
  operator CmpiResult&() { return result; }  // NOLINT(google-explicit-constructor)
};
inline CmpiContext received(const CMPIContext* context) { return CmpiContext(context); }
inline ReceivedResult received(const CMPIResult* result) { return {CmpiResult(result)}; }
inline CmpiObjectPath received(const CMPIObjectPath* path) { return CmpiObjectPath(path); }
inline CmpiInstance received(const CMPIInstance* instance) { return CmpiInstance(instance); }
inline CmpiSelectExp received(const CMPISelectExp* filter) { return CmpiSelectExp(filter); }
inline const char* received(const char* text) { return text; }
inline const char** received(const char** texts) { return texts; }
inline CMPIBoolean received(CMPIBoolean flag) { return flag; }

/// The slot of a function table that calls `operation` with its arguments in their order.
template <typename MI, auto operation, typename Record, typename... Arguments>
CMPIStatus drive(Record* mi, Arguments... arguments) {
  return dispatch<MI>(mi->hdl,
                      [&](MI& provider) { return (provider.*operation)(received(arguments)...); });
}

/// The cleanup slot of any function table.
template <typename Record>
CMPIStatus driveCleanup(Record* mi, const CMPIContext* context, CMPIBoolean terminating) {
  return CmpiBaseMI::driveBaseCleanup(mi->hdl, context, terminating);
}
