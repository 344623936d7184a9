// The health monitor of the one library on the hardware of the other: a fault that comes and goes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hardware/hardware_fixture.h"
#include "tests/health/health_fixture.h"

namespace orv::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HardwareLatch : public HealthTest {
 protected:
  HardwareLatch() : HealthTest(hardwareProviders()) { setDisk(""); }

  void setDisk(const std::string& facts) {
    host_.write(
        R"({"systemName": "host-7", "hardware": {"disks": [{"id": "nvme-1", "name": "nvme0n1")" +
        facts + "}]}}");
  }
  std::vector<std::string> latched() const {
    std::vector<std::string> records;
    for (const auto& record : store_.healthList()) {
      records.push_back(std::string(record->className) + " " + std::to_string(record->healthState));
    }
    return records;
  }

  SimulatedHostFile host_{"{}"};
};

TEST_F(HardwareLatch, AWarningThatGoesAwayLeavesItsRecordAndNotTheRollup) {
  EXPECT_EQ(poll(), 5);
  EXPECT_THAT(latched(), IsEmpty());

  setDisk(R"(, "CriticalWarning": 1)");
  EXPECT_EQ(poll(), 20);
  EXPECT_THAT(latched(), ElementsAre("Orvane_DiskDrive 20"));

  setDisk("");
  EXPECT_EQ(poll(), 5);
  EXPECT_THAT(latched(), ElementsAre("Orvane_DiskDrive 20"));

  setDisk(R"(, "CriticalWarning": 4)");
  EXPECT_EQ(poll(), 25);
  EXPECT_THAT(latched(), ElementsAre("Orvane_DiskDrive 25"));
}

TEST_F(HardwareLatch, EveryKindOfElementCanBeLatched) {
  host_.write(R"({"hardware": {"sensors": [{"id": "s", "refused": "r"}],
      "memoryModules": [{"id": "m", "refused": "r"}], "powerSupplies": [{"id": "p", "refused": "r"}],
      "batteries": [{"id": "b", "refused": "r"}], "disks": [{"id": "d", "refused": "r"}],
      "storageControllers": [{"id": "c", "refused": "r"}],
      "networkControllers": [{"id": "n", "refused": "r"}],
      "storagePorts": [{"id": "t", "refused": "r"}], "pools": [{"id": "a", "refused": "r"}],
      "volumes": [{"id": "v", "refused": "r"}], "extents": [{"id": "e", "refused": "r"}]}})");
  EXPECT_EQ(poll(), 0);
  std::set<std::string> classes;
  for (const auto& record : store_.healthList()) classes.insert(record->className);
  EXPECT_EQ(classes, elementClasses());
}

}  // namespace
}  // namespace orv::test
