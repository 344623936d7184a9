// The library itself on trees of our own making, mounted over /sys in a mount namespace.

#include "tests/hardware/recorded_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdio>

namespace orv::test {
namespace {

using broker::Instance;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RecordedHost : public RecordedTree {
 protected:
  /// A chip of hardware monitoring with temperatures.
  void chip(unsigned number, const std::string& name, unsigned sensors, int milliCelsius) {
    const std::string path = "devices/virtual/hwmon/hwmon" + std::to_string(number);
    tree_.device("hwmon", "hwmon" + std::to_string(number),
                 "virtual/hwmon/hwmon" + std::to_string(number));
    tree_.file(path + "/name", name + "\n");
    for (unsigned i = 1; i <= sensors; ++i) {
      const std::string prefix = path + "/temp" + std::to_string(i);
      tree_.file(prefix + "_input", std::to_string(milliCelsius) + "\n");
      tree_.file(prefix + "_max", "80000\n").file(prefix + "_crit", "95000\n");
      tree_.file(prefix + "_label", "T" + std::to_string(i) + "\n");
    }
  }
};

TEST_F(RecordedHost, AnEmptyTreeHasNoHardware) {
  mountTree();
  for (const auto& section :
       broker::readRegistrationFile(ORV_SOURCE_DIR "/schema/host/orvhost.reg")) {
    if (section.provider != "OrvaneHostHardware") continue;
    EXPECT_THAT(instances(section.className), IsEmpty()) << section.className;
  }
  EXPECT_EQ(instances("OMC_UnitaryComputerSystem").size(), 1u);
}

TEST_F(RecordedHost, SensorsFollowTheirReadings) {
  chip(0, "coretemp", 2, 40000);
  mountTree();
  auto sensors = instances("Orvane_NumericSensor");
  ASSERT_EQ(sensors.size(), 2u);
  EXPECT_EQ(healthOf(sensors[0]), 5u);
  EXPECT_EQ(sensors[0].property("CurrentReading")->toText(), "40000");
  EXPECT_EQ(sensors[0].property("DeviceID")->text(), "coretemp-virtual-0/temp1");
  EXPECT_EQ(sensors[0].property("ElementName")->text(), "coretemp-virtual-0 T1");

  tree_.file("devices/virtual/hwmon/hwmon0/temp1_input", "81500\n");
  tree_.file("devices/virtual/hwmon/hwmon0/temp2_input", "99000\n");
  sensors = instances("Orvane_NumericSensor");
  EXPECT_EQ(healthOf(sensors[0]), 10u);
  EXPECT_THAT(wordsOf(sensors[0]), HasSubstr("81.5 C, maximum 80 C"));
  EXPECT_EQ(healthOf(sensors[1]), 25u);
}

TEST_F(RecordedHost, ASensorThatCannotBeReadIsUnknown) {
  chip(0, "coretemp", 1, 40000);
  mountTree();
  for (const char* text : {"hot\n", ""}) {
    tree_.file("devices/virtual/hwmon/hwmon0/temp1_input", text);
    const auto sensors = instances("Orvane_NumericSensor");
    ASSERT_EQ(sensors.size(), 1u);
    EXPECT_EQ(healthOf(sensors[0]), 0u) << text;
    EXPECT_THAT(wordsOf(sensors[0]), HasSubstr("not read: ")) << text;
  }
}

TEST_F(RecordedHost, AChipThatComesLaterIsSeen) {
  chip(0, "coretemp", 1, 40000);
  mountTree();
  EXPECT_EQ(instances("Orvane_NumericSensor").size(), 1u);
  chip(1, "nct6775", 3, 30000);
  EXPECT_EQ(instances("Orvane_NumericSensor").size(), 4u);
  tree_.remove("class/hwmon/hwmon1");
  EXPECT_EQ(instances("Orvane_NumericSensor").size(), 1u);
}

// A disk of which only udev knows an identity is the same one for its temperature sensor.
TEST_F(RecordedHost, ADisksSensorMonitorsTheDiskThatUdevKnows) {
  const std::string target = "pci0000:00/0000:00:1f.2/ata9/host8/target8:0:0/8:0:0:0";
  const std::string disk = target + "/block/sdz";
  const std::string monitor = target + "/hwmon/hwmon0";
  tree_.blockDevice("sdz", disk, "65:144", 8);
  tree_.relativeLink("devices/" + disk + "/device", "devices/" + target);
  tree_.relativeLink("devices/" + disk + "/subsystem", "class/block");
  tree_.file("devices/" + disk + "/uevent", "MAJOR=65\nMINOR=144\nDEVNAME=sdz\nDEVTYPE=disk\n");
  tree_.relativeLink("devices/" + target + "/subsystem", "bus/scsi");
  tree_.device("hwmon", "hwmon0", monitor);
  tree_.relativeLink("devices/" + monitor + "/device", "devices/" + target);
  tree_.file("devices/" + monitor + "/name", "drivetemp\n");
  tree_.file("devices/" + monitor + "/temp1_input", "30000\n");
  tree_.relativeLink("numbers/block/65:144", "devices/" + disk);
  tree_.file("run/udev/data/b65:144", "I:1\nE:ID_SERIAL=Example_0001\n");
  mountTree();
  const Mounted numbers(tree_.root() + "/numbers", "/sys/dev");
  const Mounted run(tree_.root() + "/run", "/run");

  const auto disks = instances("Orvane_DiskDrive");
  ASSERT_EQ(disks.size(), 1u);
  EXPECT_EQ(disks[0].property("DeviceID")->text(), "serial-Example_0001");
  const auto relations = instances("Orvane_AssociatedSensor");
  ASSERT_EQ(relations.size(), 1u);
  const broker::ObjectPath& monitored = relations[0].property("Dependent")->reference();
  EXPECT_EQ(monitored.className, "Orvane_DiskDrive") << monitored.toText();
  EXPECT_EQ(monitored, disks[0].path);
}

TEST_F(RecordedHost, FaultsReachTheSystem) {
  tree_.scsiDisk("sda", "8:0", "SEAGATE", "offline");
  tree_.file("class/power_supply/AC/type", "Mains\n").file("class/power_supply/AC/online", "0\n");
  mountTree();
  const auto disks = instances("Orvane_DiskDrive");
  ASSERT_EQ(disks.size(), 1u);
  EXPECT_EQ(healthOf(disks[0]), 25u);
  EXPECT_EQ(healthOf(instances("Orvane_PowerSupply").at(0)), 10u);
  const Instance system = instances("OMC_UnitaryComputerSystem").at(0);
  EXPECT_EQ(healthOf(system), 25u);
  EXPECT_THAT(wordsOf(system), HasSubstr("sda: device is offline"));
}

TEST_F(RecordedHost, ADegradedArrayAndItsFaultyMemberAreTold) {
  tree_.scsiDisk("sda", "8:0", "SEAGATE");
  tree_.scsiDisk("sdb", "8:16", "SEAGATE");
  tree_.array("md0", "raid1", 2, 1, {{"sda", "in_sync"}, {"sdb", "faulty"}});
  mountTree();
  EXPECT_EQ(healthOf(instances("Orvane_StoragePool").at(0)), 10u);
  const auto members = instances("Orvane_StorageExtent");
  ASSERT_EQ(members.size(), 2u);
  EXPECT_EQ(healthOf(members[0]), 5u);
  EXPECT_EQ(healthOf(members[1]), 25u);
}

TEST_F(RecordedHost, NewErrorsDegradeOldOnesDoNot) {
  const std::string function = "bus/pci/devices/0000:00:1f.2/";
  tree_.file(function + "class", "0x010601\n");
  tree_.file(function + "aer_dev_correctable", "TOTAL_ERR_COR 7\n");
  mountTree();
  EXPECT_EQ(healthOf(instances("Orvane_Controller").at(0)), 5u);
  tree_.file(function + "aer_dev_correctable", "TOTAL_ERR_COR 9\n");
  const Instance controller = instances("Orvane_Controller").at(0);
  EXPECT_EQ(healthOf(controller), 10u);
  EXPECT_THAT(wordsOf(controller), HasSubstr("2 new correctable errors since start (9 in all)"));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(ORV_COVERAGE)
TEST_F(RecordedHost, OneCycleOfALargeHostTakesLessThan50MillisecondsOfProcessorTime) {
  for (unsigned i = 0; i < 8; ++i) tree_.nvmeDisk(i);
  for (unsigned i = 0; i < 8; ++i) {
    const std::string letter(1, static_cast<char>('a' + i));
    tree_.scsiDisk("sd" + letter, "8:" + std::to_string(16 * i), "ATA");
  }
  for (unsigned i = 0; i < 8; ++i) chip(i, "chip" + std::to_string(i), 8, 40000);
  for (unsigned i = 0; i < 16; ++i) {
    const std::string module = "devices/system/edac/mc/mc0/dimm" + std::to_string(i) + "/";
    tree_.file(module + "dimm_ce_count", "0\n").file(module + "dimm_ue_count", "0\n");
  }
  mountTree();
  const auto cycle = [&] {
    std::size_t elements = 0;
    for (const char* className :
         {"CIM_Sensor", "CIM_PhysicalMemory", "CIM_PowerSupply", "Orvane_PortController",
          "Orvane_Controller", "Orvane_Battery", "Orvane_StorageVolume", "Orvane_StorageExtent",
          "Orvane_DiskDrive", "Orvane_SASSATAPort", "Orvane_StoragePool"}) {
      elements += instances(className).size();
    }
    return elements;
  };
  const auto processorSeconds = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  };
  ASSERT_EQ(cycle(), 16u + 64u + 16u);
  constexpr int kCycles = 10;
  const double before = processorSeconds();
  for (int i = 0; i < kCycles; ++i) cycle();
  const double one = (processorSeconds() - before) / kCycles;
  std::printf("one cycle: %.1f ms of processor time\n", one * 1e3);
  EXPECT_LT(one, 0.050);
}
#endif

}  // namespace
}  // namespace orv::test
