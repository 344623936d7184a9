#pragma once

#include "broker/broker.h"
#include "broker/provider_call.h"
#include "cmpi/abi/cmpi_tables.h"

/// Requests of providers to the broker. Answered in the calling thread, with the caller's context;
/// what the asked provider makes stays in the calling thread's memory as the caller's own objects
/// do.
namespace orv::broker {

CMPIEnumeration* upCallEnumeration(Operation operation, const CMPIContext* context,
                                   const CMPIObjectPath* path, const CallArguments& arguments,
                                   CMPIStatus* out);

CMPIInstance* upCallGetInstance(const CMPIContext* context, const CMPIObjectPath* path,
                                const char** properties, CMPIStatus* out);

/// createInstance answers the new path, or null.
CMPIObjectPath* upCallCreate(const CMPIContext* context, const CMPIObjectPath* path,
                             const CMPIInstance* instance, CMPIStatus* out);

/// modifyInstance and deleteInstance.
CMPIStatus upCallChange(Operation operation, const CMPIContext* context, const CMPIObjectPath* path,
                        const CallArguments& arguments);

}  // namespace orv::broker
