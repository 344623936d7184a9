#pragma once

#include <string>

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"

/// What all objects of the library have in common.
namespace ORV {

/// Namespace of what the library does unasked: the indications that it sends, and the classes that
/// it polls.
inline constexpr char kNameSpace[] = "root/cimv2";

/// Value of every SystemCreationClassName key: the class name of the host's computer system, as
/// OMC::getComputerSystemClassName gives it.
std::string getSystemCreationClassName();

/// The keys that tie an object to the host's computer system.
struct ScopingKeys {
  std::string systemCreationClassName;
  std::string systemName;
};

/// Asks the host. Call it once per request.
ScopingKeys scopingKeys(const CmpiContext& context, CmpiBroker* broker);

}  // namespace ORV
