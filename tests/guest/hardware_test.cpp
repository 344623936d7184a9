// Hardware that falls ill and recovers: what the classes say of it, and what the monitor of a
// service makes of it: roll-up, latched records, metrics.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/guest/hardware_guest.h"

namespace orv::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

// HealthState
constexpr int kOk = 5;
constexpr int kDegraded = 10;
constexpr int kMajor = 20;
constexpr int kCritical = 25;
constexpr int kNever = -1;  // of metrics that are not there

/// An element by its class and the key that tells it apart.
struct Element {
  std::string className;
  std::string id;
};

const Element kNvmeDisk = {"Orvane_DiskDrive",
                           "nvme.1b36-5331-51454d55204e564d65204374726c-00000001"};
const Element kMains = {"Orvane_PowerSupply", "AC0"};
const Element kReserve = {"Orvane_Battery", "serial-Reserve_0017"};
const Element kThermalZone = {"Orvane_NumericSensor", "acpitz-acpi-0/temp1"};
const Element kPowerMeter = {"Orvane_NumericSensor", "power_meter-acpi-0/power1"};
const Element kNetworkController = {"Orvane_PortController", "0000:01:00.0"};
const Element kStorageController = {"Orvane_Controller", "0000:03:00.0"};  // of kMirrorDisks[1]
const Element kMirror = {"Orvane_StoragePool", "md0"};
const Element kMember = {"Orvane_StorageExtent", "md0/serial-M0"};

constexpr char kSpareWarning[] = "critical warning: spare below threshold";

class GuestHardwareHealth : public testing::Test {
 protected:
  static void TearDownTestSuite() { guest_.reset(); }
  void SetUp() override {
    const std::string reason = HardwareGuest::reasonAgainst();
    if (!reason.empty()) GTEST_SKIP() << reason;
    if (guest_ == nullptr) guest_ = std::make_unique<HardwareGuest>();
    guest_->makeHealthy();
    if (!guest_->isServed()) guest_->startService();
    ASSERT_TRUE(eventually([&] { return rollup() == kOk; })) << healthMetrics();
  }
  /// What is left of a failure shall not be another test's.
  void TearDown() override {
    if (HasFailure() && guest_ != nullptr && guest_->isServed()) guest_->stopService();
  }

  static bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < end) {
      if (condition()) return true;
    }
    return false;
  }

  // ---- What the service says ----

  /// Properties of an element; null when it is not there.
  static json told(const Element& element) {
    for (const json& instance : guest_->instances(element.className)) {
      const json& properties = instance["properties"];
      for (const char* key : {"DeviceID", "InstanceID", "Tag"}) {
        if (properties.contains(key) && properties[key] == element.id) return properties;
      }
    }
    return nullptr;
  }
  /// Value of the first metric of this name whose labels hold all words.
  static int metric(const std::string& name, const std::vector<std::string>& words = {}) {
    std::istringstream lines(guest_->metrics());
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind(name + "{", 0) != 0 && line.rfind(name + " ", 0) != 0) continue;
      bool all = true;
      for (const std::string& word : words) all &= line.find(word) != std::string::npos;
      if (all) return std::stoi(line.substr(line.rfind(' ') + 1));
    }
    return kNever;
  }
  /// For a failure's message.
  static std::string healthMetrics() {
    std::istringstream lines(guest_->metrics());
    std::string found;
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("orvane_health", 0) == 0 || line.rfind("orvane_latched", 0) == 0) {
        found += line + "\n";
      }
    }
    return found;
  }
  static int rollup() {
    return guest_->instances("Orvane_RollupHealthState").at(0)["properties"]["HealthState"];
  }
  static int latched(const Element& element) {
    return metric("orvane_latched_health_state",
                  {"class=\"" + element.className + "\"", "element=\"" + element.id + "\""});
  }

  static void expectTold(const Element& element, int health, const std::string& words) {
    const json properties = told(element);
    ASSERT_TRUE(properties.is_object()) << guest_->instances(element.className);
    EXPECT_EQ(properties["HealthState"], health) << properties;
    EXPECT_THAT(properties.value("StatusDescriptions", json()).dump(), HasSubstr(words));
  }
  static void expectWell(const Element& element) {
    SCOPED_TRACE(element.id + " well");
    expectTold(element, kOk, "");
  }

  /// Within a poll the roll-up is as bad as the element, which the class shows so, and the monitor
  /// has a record of it.
  static void expectIll(const Element& element, int health, const std::string& words) {
    SCOPED_TRACE(element.id + " ill: " + words);
    EXPECT_TRUE(eventually([&] { return rollup() == health; })) << healthMetrics();
    expectTold(element, health, words);
    EXPECT_EQ(latched(element), health) << healthMetrics();
  }

  /// The element is well again, and so is the host; the record of its illness stays.
  static void expectWellAgain(const Element& element, int wasSeen) {
    SCOPED_TRACE(element.id + " well again");
    EXPECT_TRUE(eventually([&] { return rollup() == kOk; })) << healthMetrics();
    expectTold(element, kOk, "");
    EXPECT_EQ(latched(element), wasSeen) << healthMetrics();
  }

  static std::unique_ptr<HardwareGuest> guest_;
};

std::unique_ptr<HardwareGuest> GuestHardwareHealth::guest_;

// ---- Disks ----

TEST_F(GuestHardwareHealth, AnNvmeDisksWarningIsToldAndLatchedAndGoesAgain) {
  const auto system = [] {
    return guest_->instances("OMC_UnitaryComputerSystem").at(0)["properties"];
  };
  const json disk = told(kNvmeDisk);
  EXPECT_EQ(disk["HealthState"], kOk) << disk;
  EXPECT_EQ(disk["SerialNumber"], "S1");
  EXPECT_EQ(system()["HealthState"], kOk);
  EXPECT_EQ(metric("orvane_health_rollup_state"), kOk);
  EXPECT_EQ(latched(kNvmeDisk), kNever);
  const std::size_t before = guest_->instances("Orvane_LatchedHealthState").size();

  guest_->setNvmeCriticalWarning(1);
  expectIll(kNvmeDisk, kMajor, kSpareWarning);
  EXPECT_EQ(metric("orvane_health_rollup_state"), kMajor);
  EXPECT_EQ(guest_->instances("Orvane_LatchedHealthState").size(), before + 1);
  EXPECT_EQ(system()["HealthState"], kMajor);
  EXPECT_THAT(system()["StatusDescriptions"].dump(),
              HasSubstr(std::string("nvme0n1: ") + kSpareWarning));

  guest_->setNvmeCriticalWarning(0);
  expectWellAgain(kNvmeDisk, kMajor);
  EXPECT_EQ(metric("orvane_health_rollup_state"), kOk);
  EXPECT_EQ(system()["HealthState"], kOk);

  guest_->setNvmeCriticalWarning(4);
  expectIll(kNvmeDisk, kCritical, "critical warning: reliability degraded");
}

TEST_F(GuestHardwareHealth, AnAtaDiskIsAskedForItsSmartStatus) {
  const json disks = guest_->instances("Orvane_DiskDrive");
  const auto ata = std::find_if(disks.begin(), disks.end(), [](const json& disk) {
    return disk["properties"]["ElementName"] == "sda";
  });
  ASSERT_NE(ata, disks.end());
  EXPECT_EQ((*ata)["properties"]["HealthState"], kOk);
  EXPECT_EQ((*ata)["properties"]["SmartPassed"], 1);
  EXPECT_EQ((*ata)["properties"]["DeviceState"], "running");
  EXPECT_EQ(guest_->instances("Orvane_Controller").size(), 4u);  // AHCI, NVMe, two on virtio
  EXPECT_GE(guest_->instances("Orvane_SASSATAPort").size(), 1u);
}

// ---- Power ----

TEST_F(GuestHardwareHealth, ABatteryThatReportsItsHealthIsBelieved) {
  const Element battery = {"Orvane_Battery", "sbs-" + guest_->busNumber() + "-000b"};
  const json well = told(battery);
  EXPECT_EQ(well["HealthState"], kOk) << well;
  EXPECT_EQ(well["EstimatedChargeRemaining"], 100);
  guest_->setSmartBattery(0x03, 0x0080);
  expectIll(battery, kDegraded, "reports \\\"Calibration required\\\"");
  guest_->setSmartBattery(0x03, 0);
  expectWellAgain(battery, kDegraded);
  guest_->setSmartBattery(0x16, 0x0090);  // status: discharged
  guest_->setSmartBattery(0x0d, 1);
  expectIll(battery, kCritical, "charge critical (1 %)");
  guest_->setSmartBattery(0x16, 0x00a0);
  expectWellAgain(battery, kCritical);
}

TEST_F(GuestHardwareHealth, MainsWithoutInputAreDegraded) {
  expectWell(kMains);
  guest_->set(FirmwareValue::kMainsInput, 0);
  expectIll(kMains, kDegraded, "offline: no input");
  guest_->set(FirmwareValue::kMainsInput, 1);
  expectWellAgain(kMains, kDegraded);
}

TEST_F(GuestHardwareHealth, AReserveThatIsUsedUpTurnsFromDegradedToCritical) {
  const json full = told(kReserve);
  EXPECT_EQ(full["HealthState"], kOk) << full;
  EXPECT_EQ(full["EstimatedChargeRemaining"], 100);
  EXPECT_EQ(full["DesignCapacity"], 50000);
  guest_->set(FirmwareValue::kBatteryState, 1);
  guest_->set(FirmwareValue::kBatteryLeft, 30000);
  expectIll(kReserve, kDegraded, "discharging (75 %)");
  guest_->set(FirmwareValue::kBatteryState, 1 | 4);
  guest_->set(FirmwareValue::kBatteryLeft, 1200);
  expectIll(kReserve, kCritical, "charge critical (3 %)");
  guest_->set(FirmwareValue::kBatteryState, 2);
  expectWellAgain(kReserve, kCritical);
  EXPECT_EQ(told(kReserve)["BatteryStatus"], 6);  // charging
}

// ---- Sensors ----

TEST_F(GuestHardwareHealth, AThermalZoneIsCriticalFromItsCriticalTripPoint) {
  const json cool = told(kThermalZone);
  EXPECT_EQ(cool["HealthState"], kOk) << cool;
  EXPECT_EQ(cool["CurrentReading"], 30000);
  EXPECT_EQ(cool["UpperThresholdCritical"], 100000);
  guest_->set(FirmwareValue::kTemperature, 3682);  // above the hot trip point, which no rule knows
  const json hot = told(kThermalZone);
  EXPECT_EQ(hot["HealthState"], kOk) << hot;
  EXPECT_EQ(hot["CurrentReading"], 95000);
  guest_->set(FirmwareValue::kTemperature, 3742);
  expectIll(kThermalZone, kCritical, "101 C, critical from 100 C");
  guest_->set(FirmwareValue::kTemperature, 3032);
  expectWellAgain(kThermalZone, kCritical);
}

TEST_F(GuestHardwareHealth, APowerMeterAboveItsLimitIsCritical) {
  const json meter = told(kPowerMeter);
  EXPECT_EQ(meter["HealthState"], kOk) << meter;
  EXPECT_EQ(meter["CurrentReading"], 300000);
  EXPECT_EQ(meter["UpperThresholdNonCritical"], 500000);
  guest_->set(FirmwareValue::kPower, 600000);
  expectIll(kPowerMeter, kCritical, "alarm of the chip (600 W)");
  guest_->set(FirmwareValue::kPower, 300000);
  expectWellAgain(kPowerMeter, kCritical);
}

TEST_F(GuestHardwareHealth, AChipsLimitsAlarmsAndFaultsAreFollowed) {
  const std::string chip = "lm90-i2c-" + guest_->busNumber() + "-4c/";
  const Element own = {"Orvane_NumericSensor", chip + "temp1"};
  const Element diode = {"Orvane_NumericSensor", chip + "temp2"};
  const json cool = told(own);
  EXPECT_EQ(cool["HealthState"], kOk) << cool;
  EXPECT_EQ(cool["CurrentReading"], 40000);
  EXPECT_EQ(cool["UpperThresholdNonCritical"], 80000);
  EXPECT_EQ(cool["UpperThresholdCritical"], 100000);
  guest_->setThermometer(0x00, 85);
  expectIll(own, kDegraded, "85 C, maximum 80 C");
  guest_->setThermometer(0x00, 104);
  guest_->setThermometer(0x02, 1);  // and the chip's alarm of it
  expectIll(own, kCritical, "104 C, critical from 100 C");
  guest_->setThermometer(0x00, 40);
  guest_->setThermometer(0x02, 0);
  expectWellAgain(own, kCritical);
  guest_->setThermometer(0x02, 4);  // the circuit of the other is open
  expectIll(diode, kMajor, "sensor fault");
  guest_->setThermometer(0x02, 0);
  expectWellAgain(diode, kMajor);
}

// ---- PCI Express ----

TEST_F(GuestHardwareHealth, ErrorsOfAControllersLinkCountFromTheFirstLook) {
  expectWell(kNetworkController);
  guest_->injectCorrectableError(1);
  expectIll(kNetworkController, kDegraded, "1 new correctable errors since start (1 in all)");
  expectWell(kStorageController);
  guest_->injectUncorrectableError(kMirrorDisks[1].device, 0x4000);  // no answer in time
  expectIll(kStorageController, kMajor, "1 new non-fatal errors since start (1 in all)");
  EXPECT_EQ(latched(kNetworkController), kDegraded);

  guest_->stopService();
  guest_->startService();
  EXPECT_TRUE(eventually([&] { return rollup() == kOk; })) << healthMetrics();
  expectWell(kNetworkController);
  const json controller = told(kStorageController);
  EXPECT_EQ(controller["HealthState"], kOk) << controller;
  EXPECT_EQ(controller["NonFatalErrors"], 1);
}

// ---- Arrays ----

TEST_F(GuestHardwareHealth, AMirrorOutlivesADiskThatIsPulled) {
  guest_->stopService();  // an array that is being made is inactive, and would be latched as such
  guest_->makeMirror();
  guest_->startService();
  expectWell(kMirror);
  expectWell(kMember);
  const std::string name = guest_->nameOf(kMirrorDisks[0]);

  guest_->unplug(kMirrorDisks[0]);
  guest_->do_("dd if=/dev/zero of=/dev/md0 bs=4096 count=1 oflag=direct 2>&1");  // it notices
  expectIll(kMember, kCritical, "member is faulty");
  expectTold(kMirror, kDegraded, "array degraded: 1 of 2 members missing");
  EXPECT_EQ(latched(kMirror), kDegraded);
  EXPECT_EQ(told({"Orvane_DiskDrive", "serial-M0"}), nullptr);
  EXPECT_EQ(guest_->instances("Orvane_StorageExtent").size(), 2u);

  guest_->plugIn(kMirrorDisks[0]);
  guest_->replaceInMirror(name, kMirrorDisks[0]);
  expectWellAgain(kMember, kCritical);
  expectWellAgain(kMirror, kDegraded);
  EXPECT_EQ(guest_->instances("Orvane_StorageExtent").size(), 2u);
  guest_->removeMirror();
}

}  // namespace
}  // namespace orv::test
