#include "platform/computer_system.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include "cmpi/cmpi_context.h"

namespace LinuxHost {
namespace {

TEST(ComputerSystem, IsNamedAfterTheHost) {
  utsname kernel{};
  ASSERT_EQ(uname(&kernel), 0);
  EXPECT_EQ(OMC::getComputerSystemName(CmpiContext(nullptr), nullptr), kernel.nodename);
}

TEST(ComputerSystem, HasTheClassOfAWholeComputer) {
  EXPECT_EQ(OMC::getComputerSystemClassName(), "OMC_UnitaryComputerSystem");
}

}  // namespace
}  // namespace LinuxHost
