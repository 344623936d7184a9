#pragma once

#include <string>

class CmpiBroker;
class CmpiContext;

namespace OMC {

/// The CIM class of the host's computer-system instance.
std::string getComputerSystemClassName();

/// The Name key of that instance. Neither argument is used for an up-call, so any thread may call
/// with any lock held.
std::string getComputerSystemName(const CmpiContext& context, CmpiBroker* broker);

}  // namespace OMC
