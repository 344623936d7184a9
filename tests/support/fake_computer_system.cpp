#include "tests/support/fake_computer_system.h"

#include "platform/computer_system.h"

namespace orv::test {

std::atomic<int> systemNamesAsked{0};

}  // namespace orv::test

namespace OMC {

std::string getComputerSystemClassName() { return "OMC_UnitaryComputerSystem"; }

std::string getComputerSystemName(const CmpiContext&, CmpiBroker*) {
  ++orv::test::systemNamesAsked;
  return "host-7";
}

}  // namespace OMC
