#include "framework/scoping_keys.h"

#include "platform/computer_system.h"

namespace ORV {

std::string getSystemCreationClassName() { return OMC::getComputerSystemClassName(); }

ScopingKeys scopingKeys(const CmpiContext& context, CmpiBroker* broker) {
  return {getSystemCreationClassName(), OMC::getComputerSystemName(context, broker)};
}

}  // namespace ORV
