#pragma once

#include "broker/broker.h"
#include "broker/provider_call.h"
#include "cmpi/abi/cmpi_tables.h"

/// Requests of providers to the broker. They run in the calling thread, with the caller's context.
/// What the called provider makes stays in the calling thread's memory, like the caller's own
/// objects.
namespace orv::broker {

CMPIEnumeration* upCallEnumeration(Operation operation, const CMPIContext* context,
                                   const CMPIObjectPath* path, const CallArguments& arguments,
                                   CMPIStatus* out);

CMPIInstance* upCallGetInstance(const CMPIContext* context, const CMPIObjectPath* path,
                                const char** properties, CMPIStatus* out);

/// createInstance: returns the new path, or null.
CMPIObjectPath* upCallCreate(const CMPIContext* context, const CMPIObjectPath* path,
                             const CMPIInstance* instance, CMPIStatus* out);

/// modifyInstance and deleteInstance.
CMPIStatus upCallChange(Operation operation, const CMPIContext* context, const CMPIObjectPath* path,
                        const CallArguments& arguments);

}  // namespace orv::broker
