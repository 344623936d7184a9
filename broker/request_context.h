#pragma once

#include <string>

#include "broker/registration.h"
#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

struct BrokerState;

/// The context of a request, in the calling thread's memory: CMPIInvocationFlags, CMPIPrincipal
/// (null without authentication) and CMPISessionId.
CMPIContext* makeRequestContext(BrokerState& broker, const std::string& provider, CMPIFlags flags);

/// Whether a section serves a namespace.
bool servesNamespace(const RegistrationSection& section, const std::string& nameSpace);

}  // namespace orv::broker
