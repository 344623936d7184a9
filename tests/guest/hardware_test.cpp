// Disks of emulated hardware that fall ill and recover: what the library of the computer system
// says of them, and what the monitor latches.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/guest/guest.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr const char* kHost = "--schema " ORV_SOURCE_DIR "/schema/host ";
constexpr const char* kSpareWarning = "critical warning: spare below threshold";

class GuestHardwareHealth : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = Guest::reasonAgainst();
    if (!reason.empty()) GTEST_SKIP() << reason;
    GuestHardware hardware;
    hardware.options = {"-blockdev", "driver=null-co,read-zeroes=on,node-name=n0,size=16777216",
                        "-device",   "nvme,serial=S1,drive=n0,id=nvme0",
                        "-blockdev", "driver=null-co,read-zeroes=on,node-name=n1,size=16777216",
                        "-device",   "ide-hd,serial=A1,drive=n1,bus=ide.0"};
    guest_ = std::make_unique<Guest>(hardware);
    guest_->load({"nvme", "ahci", "sd_mod"});
    guest_->run(
        "for i in 1 2 3 4 5 6 7 8 9; do [ -e /dev/nvme0n1 ] && [ -e /dev/sda ] && break; "
        "sleep 1; done");
  }

  json instances(const std::string& className) {
    return guest_->orvcim(kHost + ("instances " + className));
  }
  json disk(const std::string& name) {
    for (const json& instance : instances("Orvane_DiskDrive")) {
      if (instance["properties"]["Name"] == name) return instance["properties"];
    }
    ADD_FAILURE() << name << " is not there";
    return json::object();
  }
  void setCriticalWarning(int bits) {
    guest_->command("qom-set", {{"path", "/machine/peripheral/nvme0"},
                                {"property", "smart_critical_warning"},
                                {"value", bits}});
  }

  std::unique_ptr<Guest> guest_;
};

TEST_F(GuestHardwareHealth, AnNvmeDisksWarningIsToldLatchedAndGoesAgain) {
  EXPECT_EQ(disk("nvme0n1")["HealthState"], 5);
  EXPECT_EQ(disk("nvme0n1")["SerialNumber"], "S1");

  setCriticalWarning(1);
  const json ill = disk("nvme0n1");
  EXPECT_EQ(ill["HealthState"], 20) << ill;
  EXPECT_THAT(ill["StatusDescriptions"].dump(), HasSubstr(kSpareWarning));

  const json health = guest_->orvcim(std::string(kHost) + "health");
  EXPECT_EQ(health["rollup"]["properties"]["HealthState"], 20);
  ASSERT_EQ(health["records"].size(), 1u) << health;
  EXPECT_EQ(health["records"][0]["elementName"], "nvme0n1");
  EXPECT_THAT(health["records"][0]["wrong"].dump(), HasSubstr(kSpareWarning));
  EXPECT_EQ(instances("OMC_UnitaryComputerSystem")[0]["properties"]["HealthState"], 20);

  setCriticalWarning(0);
  EXPECT_EQ(disk("nvme0n1")["HealthState"], 5);
}

TEST_F(GuestHardwareHealth, AnAtaDiskIsAskedForItsSmartStatus) {
  const json ata = disk("sda");
  EXPECT_EQ(ata["HealthState"], 5) << ata;
  EXPECT_EQ(ata["DeviceState"], "running");
  EXPECT_EQ(instances("Orvane_Controller").size(), 2u);
  EXPECT_GE(instances("Orvane_SASSATAPort").size(), 1u);
}

}  // namespace
}  // namespace orv::test
