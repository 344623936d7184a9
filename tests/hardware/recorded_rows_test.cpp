// Each kind of hardware on a recorded tree: healthy, each fault, absent, malformed, huge.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/hardware/recorded_tree.h"

namespace orv::test {
namespace {

using broker::Instance;
using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;

using Texts = std::map<std::string, std::string>;  // of files, by their path below the directory

/// One file of a healthy element becomes this, and what is to be said then.
struct Fault {
  const char* file;
  std::string text;
  unsigned health;
  std::string words;
};

/// One element of a class: the directory of its files, what leads there, and what can befall it.
struct Kind {
  const char* name;
  const char* className;
  std::string directory;
  void (*lead)(LinuxHost::HardwareTree& tree);
  Texts healthy;
  std::vector<Fault> faults;
  std::string link = "";  ///< the file of which every text but a speed is a link that is down
};

constexpr unsigned kUnknown = 0;
constexpr unsigned kOk = 5;

void leadNowhere(LinuxHost::HardwareTree&) {}

void leadToChip(LinuxHost::HardwareTree& tree) {
  tree.device("hwmon", "hwmon0", "virtual/hwmon/hwmon0");
}

// ---- What is wrong with which ----

/// What kernels report of supplies and batteries alike.
std::vector<Fault> reported(std::vector<Fault> others) {
  const std::pair<const char*, unsigned> words[] = {{"Dead", 25},
                                                    {"Unspecified failure", 20},
                                                    {"Overheat", 20},
                                                    {"Over voltage", 20},
                                                    {"Over current", 20},
                                                    {"Watchdog timer expire", 15},
                                                    {"Safety timer expire", 15},
                                                    {"Hot", 10},
                                                    {"Cold", 10},
                                                    {"Calibration required", 10}};
  for (const auto& [word, health] : words) {
    others.push_back(
        {"health", std::string(word) + "\n", health, std::string("reports \\\"") + word});
  }
  return others;
}

Kind controller(const char* name, const char* className, const char* address, const char* code) {
  return {name,
          className,
          std::string("bus/pci/devices/") + address,
          leadNowhere,
          {{"class", code},
           {"vendor", "0x8086\n"},
           {"aer_dev_correctable", "RxErr 0\nTOTAL_ERR_COR 0\n"},
           {"aer_dev_nonfatal", "TLP 0\nTOTAL_ERR_NONFATAL 0\n"},
           {"aer_dev_fatal", "DLP 0\nTOTAL_ERR_FATAL 0\n"},
           {"current_link_width", "4\n"},
           {"max_link_width", "4\n"}},
          {{"aer_dev_fatal", "TOTAL_ERR_FATAL 1\n", 25, "1 new fatal errors since start"},
           {"current_link_width", "0\n", 20, "PCI link down"},
           {"aer_dev_nonfatal", "TOTAL_ERR_NONFATAL 2\n", 20, "2 new non-fatal errors"},
           {"aer_dev_correctable", "TOTAL_ERR_COR 3\n", 10, "3 new correctable errors"}}};
}

/// An array of two, of which the test looks at the array or at its first member.
void leadToArray(LinuxHost::HardwareTree& tree) {
  tree.scsiDisk("sdy", "65:128", "SEAGATE");
  tree.scsiDisk("sdz", "65:144", "SEAGATE");
  tree.array("md7", "raid1", 2, 0, {{"sdy", "in_sync"}, {"sdz", "in_sync"}});
}

const std::string kPhy = "devices/pci0000:00/host0/phy-0:3/sas_phy/phy-0:3";
const std::string kAtaPort = "devices/pci0000:00/0000:00:1f.2/ata1";
const std::string kVirtio = "devices/pci0000:00/virtio9";
const std::string kVolume = "devices/virtual/block/dm-77";

std::vector<Kind> kinds() {
  return {
      {"Temperature",
       "Orvane_NumericSensor",
       "devices/virtual/hwmon/hwmon0",
       leadToChip,
       {{"name", "nct6775\n"},
        {"temp1_input", "40000\n"},
        {"temp1_min", "5000\n"},
        {"temp1_max", "80000\n"},
        {"temp1_lcrit", "-5000\n"},
        {"temp1_crit", "95000\n"},
        {"temp1_alarm", "0\n"},
        {"temp1_max_alarm", "0\n"},
        {"temp1_fault", "0\n"}},
       {{"temp1_input", "95000\n", 25, "95 C, critical from 95 C"},
        {"temp1_input", "-5000\n", 25, "-5 C, critical down from -5 C"},
        {"temp1_alarm", "1\n", 25, "alarm of the chip (40 C)"},
        {"temp1_fault", "1\n", 20, "sensor fault"},
        {"temp1_input", "81500\n", 10, "81.5 C, maximum 80 C"},
        {"temp1_input", "4000\n", 10, "4 C, minimum 5 C"},
        {"temp1_max_alarm", "1\n", 10, "limit alarm of the chip"}}},
      {"Voltage",
       "Orvane_NumericSensor",
       "devices/virtual/hwmon/hwmon0",
       leadToChip,
       {{"name", "nct6775\n"},
        {"in0_input", "12096\n"},
        {"in0_min", "11000\n"},
        {"in0_max", "13000\n"},
        {"in0_crit", "14000\n"},
        {"in0_alarm", "0\n"}},
       {{"in0_input", "14000\n", 25, "14 V, critical from 14 V"},
        {"in0_alarm", "1\n", 25, "alarm of the chip (12.096 V)"},
        {"in0_input", "10900\n", 10, "10.9 V, minimum 11 V"}}},
      {"Fan",
       "Orvane_NumericSensor",
       "devices/virtual/hwmon/hwmon0",
       leadToChip,
       {{"name", "nct6775\n"},
        {"fan1_input", "1200\n"},
        {"fan1_min", "300\n"},
        {"fan1_alarm", "0\n"},
        {"fan1_fault", "0\n"}},
       {{"fan1_alarm", "1\n", 25, "alarm of the chip (1200 rpm)"},
        {"fan1_fault", "1\n", 20, "sensor fault"},
        {"fan1_input", "0\n", 10, "0 rpm, minimum 300 rpm"}}},
      {"Current",
       "Orvane_NumericSensor",
       "devices/virtual/hwmon/hwmon0",
       leadToChip,
       {{"name", "ina3221\n"}, {"curr1_input", "1500\n"}, {"curr1_max", "2000\n"}},
       {{"curr1_input", "2100\n", 10, "2.1 A, maximum 2 A"}}},
      // What a meter is limited to counts where it has no maximum.
      {"Power",
       "Orvane_NumericSensor",
       "devices/virtual/hwmon/hwmon0",
       leadToChip,
       {{"name", "power_meter\n"},
        {"power1_average", "300000000\n"},
        {"power1_cap", "500000000\n"}},
       {{"power1_average", "600000000\n", 10, "600 W, maximum 500 W"}}},
      {"MemoryModule",
       "Orvane_PhysicalMemory",
       "devices/system/edac/mc/mc0/dimm0",
       leadNowhere,
       {{"dimm_label", "DIMM_A1\n"},
        {"dimm_ce_count", "0\n"},
        {"dimm_ue_count", "0\n"},
        {"size", "16384\n"}},
       {{"dimm_ue_count", "1\n", 25, "1 uncorrectable errors"},
        {"dimm_ce_count", "2\n", 10, "2 new correctable errors since start"}}},
      {"PowerSupply",
       "Orvane_PowerSupply",
       "class/power_supply/AC",
       leadNowhere,
       {{"type", "Mains\n"}, {"online", "1\n"}, {"health", "Good\n"}},
       reported({{"online", "0\n", 10, "offline: no input"}})},
      {"Battery",
       "Orvane_Battery",
       "class/power_supply/BAT0",
       leadNowhere,
       {{"type", "Battery\n"},
        {"present", "1\n"},
        {"status", "Full\n"},
        {"health", "Good\n"},
        {"capacity_level", "Full\n"},
        {"capacity", "100\n"},
        {"model_name", "M\n"},
        {"serial_number", "17\n"},
        {"cycle_count", "3\n"},
        {"energy_full", "40000000\n"},
        {"voltage_min_design", "12000000\n"}},
       reported({{"capacity_level", "Critical\n", 25, "charge critical (100 %)"},
                 {"capacity_level", "Low\n", 10, "charge low (100 %)"},
                 {"status", "Discharging\n", 10, "discharging (100 %)"}})},
      {"Disk",
       "Orvane_DiskDrive",
       kVirtio,
       [](LinuxHost::HardwareTree& tree) {
         tree.blockDevice("vdz", "pci0000:00/virtio9/block/vdz", "240:400", 8);
         tree.relativeLink(kVirtio + "/block/vdz/device", kVirtio);
       },
       {{"status", "0x0000000f\n"},
        {"block/vdz/serial", "S9\n"},
        {"block/vdz/size", "4096\n"},
        {"block/vdz/dev", "240:400\n"}},
       {{"status", "0x0000004f\n", 25, "device is needs reset"},
        {"status", "0x0000008f\n", 25, "device is failed"}}},
      controller("StorageController", "Orvane_Controller", "0000:00:1e.2", "0x010601\n"),
      controller("NetworkController", "Orvane_PortController", "0000:00:1e.6", "0x020000\n"),
      {"SataPort",
       "Orvane_SASSATAPort",
       kAtaPort,
       [](LinuxHost::HardwareTree& tree) {
         tree.relativeLink("class/ata_port/ata1", kAtaPort + "/ata_port/ata1");
       },
       {{"ata_port/ata1/port_no", "1\n"},
        {"link1/ata_link/link1/sata_spd", "6.0 Gbps\n"},
        {"link1/dev1.0/ata_device/dev1.0/class", "ata\n"}},
       {{"link1/ata_link/link1/sata_spd", "<unknown>\n", 20, "link down"}},
       "link1/ata_link/link1/sata_spd"},
      {"SasPhy",
       "Orvane_SASSATAPort",
       kPhy,
       [](LinuxHost::HardwareTree& tree) { tree.relativeLink("class/sas_phy/phy-0:3", kPhy); },
       {{"sas_address", "0x5000c50012345678\n"},
        {"phy_identifier", "3\n"},
        {"negotiated_linkrate", "12.0 Gbit\n"},
        {"invalid_dword_count", "0\n"},
        {"running_disparity_error_count", "0\n"},
        {"loss_of_dword_sync_count", "0\n"},
        {"phy_reset_problem_count", "0\n"}},
       {{"negotiated_linkrate", "Link Rate Failed\n", 20, "link rate failed"},
        {"negotiated_linkrate", "Unknown\n", 20, "link down"},
        {"invalid_dword_count", "5\n", 10, "5 new invalid dwords"},
        {"running_disparity_error_count", "6\n", 10, "6 new disparity errors"},
        {"loss_of_dword_sync_count", "7\n", 10, "7 new losses of synchronisation"},
        {"phy_reset_problem_count", "8\n", 10, "8 new reset problems"}},
       "negotiated_linkrate"},
      {"Array",
       "Orvane_StoragePool",
       "devices/virtual/block/md7/md",
       leadToArray,
       {{"array_state", "clean\n"},
        {"level", "raid1\n"},
        {"raid_disks", "2\n"},
        {"degraded", "0\n"},
        {"sync_action", "idle\n"}},
       {{"array_state", "broken\n", 25, "array is broken"},
        {"array_state", "inactive\n", 25, "array is inactive"},
        {"degraded", "2\n", 25, "array failed: 2 of 2 members missing"},
        {"degraded", "1\n", 10, "array degraded: 1 of 2 members missing"}}},
      {"ArrayMember",
       "Orvane_StorageExtent",
       "devices/virtual/block/md7/md/dev-sdy",
       leadToArray,
       {{"state", "in_sync\n"}, {"errors", "0\n"}},
       {{"state", "faulty\n", 25, "member is faulty"},
        {"state", "in_sync,blocked\n", 20, "member is blocked"},
        {"state", "in_sync,write_error\n", 10, "write errors"},
        {"state", "in_sync,want_replacement\n", 10, "replacement wanted"},
        {"errors", "4\n", 10, "4 new corrected read errors since start"}}},
      {"LogicalVolume",
       "Orvane_StorageVolume",
       kVolume,
       [](LinuxHost::HardwareTree& tree) {
         tree.blockDevice("dm-77", "virtual/block/dm-77", "253:77", 16);
       },
       {{"dm/uuid", "LVM-abc\n"},
        {"dm/name", "vg-root\n"},
        {"dm/suspended", "0\n"},
        {"size", "16\n"}},
       {{"dm/suspended", "1\n", 10, "suspended: requests wait"}}},
  };
}

class RecordedKinds : public RecordedTree, public testing::WithParamInterface<Kind> {
 protected:
  void SetUp() override {
    RecordedTree::SetUp();
    if (IsSkipped()) return;
    GetParam().lead(tree_);
    makeHealthy();
    mountTree();
  }

  void write(const std::string& file, const std::string& text) {
    tree_.file(GetParam().directory + "/" + file, text);
  }
  void makeHealthy() {
    for (const auto& [file, text] : GetParam().healthy) write(file, text);
  }

  /// The element that the files are of, first of its class.
  Instance element() {
    const std::vector<Instance> all = instances(GetParam().className);
    EXPECT_FALSE(all.empty());
    return all.empty() ? Instance() : all.front();
  }

  /// Whatever cannot be read makes nothing ill: it is absent, or the element is unknown.
  void expectNothingIll(const std::string& what) {
    for (const Instance& instance : instances(GetParam().className)) {
      EXPECT_THAT(healthOf(instance), AnyOf(kOk, kUnknown)) << what << ": " << wordsOf(instance);
    }
    EXPECT_EQ(instances("OMC_UnitaryComputerSystem").size(), 1u) << what;
  }
};

TEST_P(RecordedKinds, AreOkWhenNothingIsWrong) {
  EXPECT_EQ(healthOf(element()), kOk) << wordsOf(element());
  EXPECT_EQ(wordsOf(element()), "");
}

TEST_P(RecordedKinds, AreAsIllAsEachFaultMakesThemAndRecover) {
  EXPECT_EQ(healthOf(element()), kOk);
  for (const Fault& fault : GetParam().faults) {
    SCOPED_TRACE(std::string(fault.file) + " = " + fault.text);
    write(fault.file, fault.text);
    EXPECT_EQ(healthOf(element()), fault.health);
    EXPECT_THAT(wordsOf(element()), HasSubstr(fault.words));
    makeHealthy();
    EXPECT_EQ(healthOf(element()), kOk) << wordsOf(element());
  }
}

TEST_P(RecordedKinds, AreOkOrUnknownWithoutOneOfTheirFiles) {
  for (const auto& [file, text] : GetParam().healthy) {
    tree_.remove(GetParam().directory + "/" + file);
    expectNothingIll("without " + file);
    makeHealthy();
  }
  EXPECT_EQ(healthOf(element()), kOk);
}

TEST_P(RecordedKinds, MakeNothingIllWhenTheirDirectoryGoes) {
  tree_.remove(GetParam().directory);
  expectNothingIll("without a directory");
}

TEST_P(RecordedKinds, AreOkOrUnknownWithMalformedTexts) {
  const std::string malformed[] = {"", "\n", "none of these\n", std::string("\0\xff\xfe\n", 4),
                                   "-\n"};
  for (const auto& [file, healthy] : GetParam().healthy) {
    if (file == GetParam().link) continue;
    for (const std::string& text : malformed) {
      write(file, text);
      expectNothingIll(file + " = " + text);
    }
    makeHealthy();
  }
  EXPECT_EQ(healthOf(element()), kOk);
}

TEST_P(RecordedKinds, AreOkOrUnknownWithHugeTexts) {
  for (const auto& [file, healthy] : GetParam().healthy) {
    if (file == GetParam().link) continue;
    write(file, std::string(1 << 20, 'x'));
    expectNothingIll("huge " + file);
    makeHealthy();
  }
  EXPECT_EQ(healthOf(element()), kOk);
}

INSTANTIATE_TEST_SUITE_P(Table, RecordedKinds, testing::ValuesIn(kinds()),
                         [](const auto& tested) { return std::string(tested.param.name); });

// ---- What is not one file of sysfs ----

TEST_F(RecordedTree, AFileSystemThatBecameReadOnlyOrHasErrorsIsMajor) {
  const std::string place = tree_.root() + "/place";
  tree_.directory("place");
  ASSERT_EQ(mount("tmpfs", place.c_str(), "tmpfs", 0, nullptr), 0) << std::strerror(errno);
  struct stat status {};
  ASSERT_EQ(stat(place.c_str(), &status), 0);
  // A disk with the number of the file system, so that it is the one that is mounted there.
  tree_.blockDevice(
      "sdy1", "virtual/block/sdy1",
      std::to_string(major(status.st_dev)) + ":" + std::to_string(minor(status.st_dev)), 16);
  tree_.file("fs/ext4/sdy1/errors_count", "0\n");
  mountTree();
  const auto volume = [&] { return instances("Orvane_StorageVolume").at(0); };
  EXPECT_EQ(volume().property("MountPoint")->text(), place);
  EXPECT_EQ(healthOf(volume()), kOk);

  tree_.file("fs/ext4/sdy1/errors_count", "3\n");
  EXPECT_EQ(healthOf(volume()), 20u);
  EXPECT_THAT(wordsOf(volume()), HasSubstr("3 file system errors"));
  tree_.file("fs/ext4/sdy1/errors_count", std::string(1 << 20, '9'));
  EXPECT_EQ(healthOf(volume()), kOk);

  // The file system becomes read-only, the mount stays as it was: what an error does.
  ASSERT_EQ(mount(nullptr, place.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  ASSERT_EQ(mount(nullptr, place.c_str(), nullptr, MS_REMOUNT | MS_BIND, nullptr), 0);
  EXPECT_EQ(healthOf(volume()), 20u);
  EXPECT_THAT(wordsOf(volume()), HasSubstr("became read-only"));
  umount(place.c_str());
  EXPECT_THAT(instances("Orvane_StorageVolume"), IsEmpty());
}

TEST_F(RecordedTree, AMemoryTableIsReadAsFarAsItGoes) {
  const auto module = [](const std::string& locator) {
    std::string fields(0x22 - 4, '\0');
    fields[0x0D - 4] = 0x40;  // 16384 MB
    fields[0x10 - 4] = 1;
    return std::string("\x11\x22\x00\x11", 4) + fields + locator + std::string(2, '\0');
  };
  const std::string table = "firmware/dmi/tables/DMI";
  tree_.file(table, module("DIMM_A1"));
  mountTree();
  EXPECT_EQ(healthOf(instances("Orvane_PhysicalMemory").at(0)), kOk);
  tree_.file(table, module("DIMM_A1") + std::string(50, '\xff'));
  EXPECT_EQ(instances("Orvane_PhysicalMemory").size(), 1u);
  tree_.file(table, std::string(1 << 20, '\x11'));
  instances("Orvane_PhysicalMemory");
  tree_.file(table, "");
  EXPECT_THAT(instances("Orvane_PhysicalMemory"), IsEmpty());
}

TEST_F(RecordedTree, TheSystemIsThereWhateverItsFirmwareSays) {
  const std::string identity = "devices/virtual/dmi/id/";
  tree_.relativeLink("class/dmi/id", "devices/virtual/dmi/id");
  tree_.file(identity + "product_name", "R7\n");
  mountTree();
  const auto caption = [&] {
    return instances("OMC_UnitaryComputerSystem").at(0).property("Caption")->text();
  };
  EXPECT_THAT(caption(), HasSubstr("R7, "));
  for (const std::string& text :
       {std::string(), std::string("\xff\xfe\n"), std::string(1 << 20, 'x')}) {
    tree_.file(identity + "product_name", text);
    EXPECT_LE(caption().size(), 64u);
    EXPECT_EQ(healthOf(instances("OMC_UnitaryComputerSystem").at(0)), kOk);
  }
}

/// Elements by the hundred are all there.
TEST_F(RecordedTree, AHugeHostIsToldWhole) {
  constexpr unsigned kMany = 100;
  for (unsigned i = 0; i < kMany; ++i) {
    const std::string number = std::to_string(i);
    tree_.file("class/power_supply/AC" + number + "/type", "Mains\n");
    tree_.file("class/power_supply/BAT" + number + "/type", "Battery\n");
    tree_.file("devices/system/edac/mc/mc0/dimm" + number + "/dimm_ce_count", "0\n");
    tree_.file("bus/pci/devices/0001:" + number + "/class", "0x010802\n");
    tree_.file("bus/pci/devices/0002:" + number + "/class", "0x020000\n");
    tree_.blockDevice("dm-" + number, "virtual/block/dm-" + number, "253:" + number, 16);
    tree_.file("devices/virtual/block/dm-" + number + "/dm/uuid", "LVM-" + number + "\n");
    tree_.array("md" + number, "raid1", 2, 0, {{"sdy", "in_sync"}, {"sdz", "in_sync"}});
    const std::string phy = "phy-0:" + number;
    tree_.device("sas_phy", phy, "pci0000:00/host0/" + phy + "/sas_phy/" + phy);
    tree_.file("devices/pci0000:00/host0/" + phy + "/sas_phy/" + phy + "/phy_identifier", number);
    const std::string chip = "virtual/hwmon/hwmon" + number;
    tree_.device("hwmon", "hwmon" + number, chip);
    tree_.file("devices/" + chip + "/name", "chip" + number + "\n");
    tree_.file("devices/" + chip + "/temp1_input", "40000\n");
    const std::string disk = "pci0000:00/virtio" + number;
    tree_.blockDevice("vd" + number, disk + "/block/vd" + number, "240:" + number, 8);
    tree_.relativeLink("devices/" + disk + "/block/vd" + number + "/device", "devices/" + disk);
  }
  mountTree();
  for (const char* className :
       {"Orvane_PowerSupply", "Orvane_Battery", "Orvane_PhysicalMemory", "Orvane_Controller",
        "Orvane_PortController", "Orvane_StorageVolume", "Orvane_StoragePool", "Orvane_SASSATAPort",
        "Orvane_NumericSensor", "Orvane_DiskDrive"}) {
    EXPECT_EQ(instances(className).size(), kMany) << className;
  }
  EXPECT_EQ(instances("Orvane_StorageExtent").size(), 2 * kMany);
}

}  // namespace
}  // namespace orv::test
