#include <gtest/gtest.h>

#include "tests/software/software_fixture.h"

namespace {

// In a program of its own: the provider object keeps the name that it finds when it is made.
TEST_F(SoftwareTest, SystemNameIsCutTo127Characters) {
  const std::string longName(200, 'n');
  host_.write(R"({"systemName": ")" + longName + R"(", "systemClassName": ")" +
              std::string(200, 'c') + R"("})");
  const Response response = broker_.enumerateInstanceNames(kNameSpace, kInstalledClass);
  ASSERT_EQ(response.paths.size(), 1U);
  const ObjectPath& system = response.paths[0].key("System")->reference();
  EXPECT_EQ(system.className, "OMC_UnitaryComputerSystem");
  EXPECT_EQ(system.key("Name")->text(), std::string(127, 'n'));
  EXPECT_EQ(system.key("CreationClassName")->text(), std::string(127, 'c'));
}

}  // namespace
