// The readers on made-up trees: healthy, each fault, absent, malformed, huge.

#include "platform/linux/hardware/readers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <system_error>

#include "tests/platform/linux/hardware/hardware_tree.h"

namespace LinuxHost {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const UdevLookup kNoUdev = [](const std::string&) { return UdevProperties(); };
const Hardware::Query kIdentities{false, ""};

class Readers : public testing::Test {
 protected:
  BlockDevices devices(const UdevLookup& udev = kNoUdev) const { return {tree_.paths(), udev}; }
  std::vector<Hardware::Disk> disks(const Hardware::Query& query = {}) {
    return readDisks(tree_.paths(), devices(), query, workers_);
  }
  std::vector<Hardware::StoragePort> storagePorts(const Hardware::Query& query = {}) {
    return readStoragePorts(tree_.paths(), query, workers_);
  }
  std::vector<Hardware::Extent> extents(const BlockDevices& devices) {
    return readExtents(devices, members_);
  }

  HardwareTree tree_;
  DeviceWorkers workers_;
  KnownMembers members_;
};

TEST_F(Readers, AHostWithoutHardwareHasNone) {
  EXPECT_THAT(disks(), IsEmpty());
  EXPECT_THAT(storagePorts(), IsEmpty());
  EXPECT_THAT(readMemoryModules(tree_.paths()), IsEmpty());
  EXPECT_THAT(readPowerSupplies(tree_.paths()), IsEmpty());
  EXPECT_THAT(readBatteries(tree_.paths()), IsEmpty());
  EXPECT_THAT(readPciFunctions(tree_.paths(), 1), IsEmpty());
  EXPECT_THAT(readPools(devices()), IsEmpty());
  EXPECT_THAT(extents(devices()), IsEmpty());
  EXPECT_THAT(readVolumes(tree_.paths(), devices()), IsEmpty());
}

// ---- The system ----

TEST_F(Readers, TheSystemIsWhatDmiTells) {
  tree_.file("class/dmi/id/sys_vendor", "Orvane\n").file("class/dmi/id/product_name", " R7 \n");
  tree_.file("class/dmi/id/bios_vendor", "B\n").file("class/dmi/id/bios_version", "2\n");
  const Hardware::System system = readSystem(tree_.paths());
  EXPECT_EQ(system.vendor, "Orvane");
  EXPECT_EQ(system.product, "R7");
  EXPECT_EQ(system.firmware, "B 2");
  EXPECT_EQ(system.serialNumber, "");
  EXPECT_NE(system.kernelRelease, "");
}

// ---- Memory ----

std::string memoryTable(const std::string& locator) {
  std::string fields(0x22 - 4, '\0');
  fields[0x0D - 4] = 0x40;  // 16384 MB
  fields[0x10 - 4] = 1;
  return std::string("\x11\x22\x00\x11", 4) + fields + locator + std::string(2, '\0');
}

TEST_F(Readers, ModulesComeFromTheFirmwareAndCountersFromTheKernel) {
  tree_.file("firmware/dmi/tables/DMI", memoryTable("DIMM_A1") + memoryTable("DIMM_A10"));
  const std::string controller = "devices/system/edac/mc/mc0/";
  tree_.file(controller + "dimm0/dimm_label", "CPU0 DIMM_A1\n");
  tree_.file(controller + "dimm0/dimm_ce_count", "3\n")
      .file(controller + "dimm0/dimm_ue_count", "0\n");
  tree_.file(controller + "dimm1/dimm_label", "mc#0chan#1slot#0\n");
  tree_.file(controller + "dimm1/dimm_ce_count", "9\n");
  const auto modules = readMemoryModules(tree_.paths());
  ASSERT_EQ(modules.size(), 3u);
  EXPECT_EQ(modules[0].id, "smbios-0x1100");
  EXPECT_EQ(modules[0].name, "DIMM_A1");
  EXPECT_EQ(modules[0].correctableErrors, 3u);
  EXPECT_EQ(modules[0].uncorrectableErrors, 0u);
  EXPECT_EQ(modules[1].name, "DIMM_A10");
  EXPECT_EQ(modules[1].correctableErrors, std::nullopt);
  EXPECT_EQ(modules[2].id, "edac-mc0-dimm1");
  EXPECT_EQ(modules[2].correctableErrors, 9u);
  EXPECT_EQ(modules[2].capacity, std::nullopt);  // counted once, in the firmware's table
}

TEST_F(Readers, ErrorsOfNoKnownModuleAreNotLost) {
  const std::string controller = "devices/system/edac/mc/mc0/";
  tree_.file(controller + "ue_noinfo_count", "0\n").file(controller + "ce_noinfo_count", "0\n");
  EXPECT_THAT(readMemoryModules(tree_.paths()), IsEmpty());
  tree_.file(controller + "ue_noinfo_count", "1\n");
  const auto modules = readMemoryModules(tree_.paths());
  ASSERT_EQ(modules.size(), 1u);
  EXPECT_EQ(modules[0].uncorrectableErrors, 1u);
}

TEST_F(Readers, AMemoryTableThatMayNotBeReadSaysSo) {
  tree_.directory("firmware/dmi/tables/DMI");  // reading a directory fails, for the superuser too
  const auto modules = readMemoryModules(tree_.paths());
  ASSERT_EQ(modules.size(), 1u);
  EXPECT_EQ(modules[0].id, "SMBIOS");
  EXPECT_THAT(modules[0].refused, HasSubstr("memory table not read: Is a directory"));
}

TEST_F(Readers, MalformedMemoryIsReadAsFarAsItGoes) {
  tree_.file("firmware/dmi/tables/DMI", memoryTable("DIMM_A1") + std::string(50, '\xff'));
  tree_.file("devices/system/edac/mc/mc0/dimm0/dimm_ce_count", "many\n");
  const auto modules = readMemoryModules(tree_.paths());
  ASSERT_EQ(modules.size(), 2u);
  EXPECT_EQ(modules[1].correctableErrors, std::nullopt);
}

// ---- Power ----

TEST_F(Readers, SuppliesAndBatteriesAreToldApart) {
  const std::string power = "class/power_supply/";
  tree_.file(power + "AC/type", "Mains\n").file(power + "AC/online", "0\n");
  tree_.file(power + "BAT0/type", "Battery\n").file(power + "BAT0/status", "Discharging\n");
  tree_.file(power + "BAT0/capacity_level", "Low\n").file(power + "BAT0/capacity", "9\n");
  tree_.file(power + "BAT0/model_name", "M\n").file(power + "BAT0/serial_number", "17\n");
  tree_.file(power + "BAT0/charge_full_design", "2000000\n");
  tree_.file(power + "BAT0/voltage_min_design", "11100000\n");
  tree_.file(power + "mouse/type", "Battery\n").file(power + "mouse/scope", "Device\n");
  const auto supplies = readPowerSupplies(tree_.paths());
  ASSERT_EQ(supplies.size(), 1u);
  EXPECT_EQ(supplies[0].id, "AC");
  EXPECT_EQ(supplies[0].type, "Mains");
  EXPECT_EQ(supplies[0].online, 0);
  const auto batteries = readBatteries(tree_.paths());
  ASSERT_EQ(batteries.size(), 1u);
  EXPECT_EQ(batteries[0].id, "serial-M_17");
  EXPECT_EQ(batteries[0].status, "Discharging");
  EXPECT_EQ(batteries[0].capacityLevel, "Low");
  EXPECT_EQ(batteries[0].charge, 9);
  EXPECT_EQ(batteries[0].designCapacity, 22200u);
  EXPECT_EQ(batteries[0].designVoltage, 11100u);
}

TEST_F(Readers, MalformedAndHugePowerTextsAreAbsent) {
  const std::string power = "class/power_supply/BAT0/";
  tree_.file(power + "type", "Battery\n").file(power + "capacity", std::string(1 << 20, '9'));
  tree_.file(power + "status", std::string(1 << 20, 'x')).file(power + "cycle_count", "-1\n");
  tree_.file(power + "energy_full", "18446744073709551615\n");
  const auto batteries = readBatteries(tree_.paths());
  ASSERT_EQ(batteries.size(), 1u);
  EXPECT_EQ(batteries[0].charge, std::nullopt);
  EXPECT_EQ(batteries[0].cycles, std::nullopt);
  EXPECT_EQ(batteries[0].fullCapacity, std::nullopt);
  EXPECT_EQ(batteries[0].status.size(), 256u);
}

// ---- Controllers ----

TEST_F(Readers, ControllersAreThoseOfTheirClass) {
  const std::string pci = "bus/pci/devices/";
  tree_.file(pci + "0000:00:1f.2/class", "0x010601\n")
      .file(pci + "0000:00:1f.2/vendor", "0x8086\n");
  tree_.file(pci + "0000:00:1f.2/aer_dev_correctable", "RxErr 2\nTOTAL_ERR_COR 2\n");
  tree_.file(pci + "0000:00:1f.2/aer_dev_fatal", "Undefined 0\nTOTAL_ERR_FATAL 1\n");
  tree_.file(pci + "0000:00:1f.2/current_link_width", "0\n");
  tree_.file(pci + "0000:00:1f.2/max_link_width", "4\n");
  tree_.file(pci + "0000:03:00.0/class", "0x020000\n");
  tree_.file(pci + "0000:04:00.0/class", "0x030000\n");
  tree_.file(pci + "0000:05:00.0/class", "storage\n");
  const auto storage = readPciFunctions(tree_.paths(), 1);
  ASSERT_EQ(storage.size(), 1u);
  EXPECT_EQ(storage[0].id, "0000:00:1f.2");
  EXPECT_EQ(storage[0].vendorId, 0x8086);
  EXPECT_EQ(storage[0].correctableErrors, 2u);
  EXPECT_EQ(storage[0].nonFatalErrors, std::nullopt);
  EXPECT_EQ(storage[0].fatalErrors, 1u);
  EXPECT_EQ(storage[0].linkWidth, 0);
  EXPECT_EQ(storage[0].maxLinkWidth, 4);
  EXPECT_EQ(readPciFunctions(tree_.paths(), 2).size(), 1u);
}

TEST_F(Readers, TheLinkOfASuspendedFunctionIsNotAskedFor) {
  const std::string function = "bus/pci/devices/0000:00:1f.2/";
  tree_.file(function + "class", "0x010601\n").file(function + "current_link_width", "4\n");
  tree_.file(function + "power/runtime_status", "suspended\n");
  EXPECT_EQ(readPciFunctions(tree_.paths(), 1).at(0).linkWidth, std::nullopt);
}

// ---- Ports ----

TEST_F(Readers, ASataPortTellsLinkAndDevice) {
  const std::string port = "pci0000:00/0000:00:1f.2/ata1/";
  tree_.device("ata_port", "ata1", port + "ata_port/ata1");
  tree_.file("devices/" + port + "ata_port/ata1/port_no", "1\n");
  tree_.file("devices/" + port + "link1/ata_link/link1/sata_spd", "6.0 Gbps\n");
  tree_.file("devices/" + port + "link1/dev1.0/ata_device/dev1.0/class", "ata\n");
  auto ports = storagePorts();
  ASSERT_EQ(ports.size(), 1u);
  EXPECT_EQ(ports[0].id, "0000:00:1f.2/port1");
  EXPECT_EQ(ports[0].speed, 6'000'000'000u);
  EXPECT_EQ(ports[0].deviceAttached, 1);
  tree_.file("devices/" + port + "link1/ata_link/link1/sata_spd", "<unknown>\n");
  tree_.file("devices/" + port + "link1/dev1.0/ata_device/dev1.0/class", "none\n");
  ports = storagePorts();
  EXPECT_EQ(ports[0].speed, std::nullopt);
  EXPECT_EQ(ports[0].deviceAttached, 0);
}

TEST_F(Readers, ASasPhyTellsLinkAndCounters) {
  const std::string phy = "pci0000:00/host0/phy-0:3/sas_phy/phy-0:3";
  tree_.device("sas_phy", "phy-0:3", phy);
  tree_.file("devices/" + phy + "/sas_address", "0x5000c50012345678\n");
  tree_.file("devices/" + phy + "/phy_identifier", "3\n");
  tree_.file("devices/" + phy + "/negotiated_linkrate", "12.0 Gbit\n");
  tree_.file("devices/" + phy + "/invalid_dword_count", "5\n");
  const auto ports = storagePorts();
  ASSERT_EQ(ports.size(), 1u);
  EXPECT_EQ(ports[0].id, "sas-0x5000c50012345678/phy3");
  EXPECT_EQ(ports[0].speed, 12'000'000'000u);
  EXPECT_EQ(ports[0].invalidDwords, 5u);
  EXPECT_EQ(storagePorts(kIdentities)[0].invalidDwords, std::nullopt);
}

// ---- Disks ----

TEST_F(Readers, DisksAreKnownByWhatTheHardwareSays) {
  tree_.nvmeDisk(0);
  tree_.scsiDisk("sda", "8:0", "SEAGATE");
  tree_.blockDevice("loop0", "virtual/block/loop0", "7:0", 8);
  const auto found = disks(kIdentities);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].id, "eui.0000000000000000");
  EXPECT_EQ(found[0].name, "nvme0n1");
  EXPECT_EQ(found[0].model, "Example NVMe");
  EXPECT_EQ(found[0].serialNumber, "S0");
  EXPECT_EQ(found[0].state, "live");
  EXPECT_EQ(found[0].size, 1048u);
  EXPECT_EQ(found[1].id, "naa.5000c500sda");
  EXPECT_EQ(found[1].state, "running");
}

TEST_F(Readers, AnIdentityOutlivesTheKernelsName) {
  tree_.scsiDisk("sda", "8:0", "SEAGATE");
  const std::string id = disks(kIdentities).at(0).id;
  tree_.remove("class/block/sda");
  tree_.device("block", "sdz", "pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/sda/block/sda");
  EXPECT_EQ(disks(kIdentities).at(0).id, id);
  EXPECT_EQ(disks(kIdentities).at(0).name, "sdz");
}

TEST_F(Readers, WithoutAnIdentityUdevsNotesAndThenTheNameCount) {
  tree_.blockDevice("vda", "pci0000:00/virtio0/block/vda", "254:0", 8);
  tree_.relativeLink("devices/pci0000:00/virtio0/block/vda/device", "devices/pci0000:00/virtio0");
  EXPECT_EQ(disks(kIdentities).at(0).id, "vda");
  const BlockDevices noted = devices([](const std::string& number) {
    return number == "254:0" ? UdevProperties{{"ID_PATH", "pci-0000:00:04.0"}} : UdevProperties();
  });
  EXPECT_EQ(noted.byName("vda")->id, "path-pci-0000:00:04.0");
}

TEST_F(Readers, ADeviceThatIsNotThereIsARefusal) {
  tree_.nvmeDisk(0);
  tree_.scsiDisk("sda", "8:0", "SEAGATE");
  tree_.scsiDisk("sdb", "8:16", "ATA");
  for (const Hardware::Disk& disk : disks()) {
    EXPECT_EQ(disk.refused, "SMART not read: No such file or directory") << disk.name;
  }
}

TEST_F(Readers, WhatIsNoSuchDeviceTellsNothingAndRefusesNothing) {
  tree_.nvmeDisk(0);
  tree_.scsiDisk("sda", "8:0", "SEAGATE");
  tree_.file("dev/nvme0", "").file("dev/sda", "");
  for (const Hardware::Disk& disk : disks()) EXPECT_EQ(disk.refused, "") << disk.name;
}

TEST_F(Readers, ASuspendedDiskIsNotOpened) {
  tree_.nvmeDisk(0);
  tree_.scsiDisk("sda", "8:0", "ATA");
  tree_.file("devices/pci0000:00/0000:01:00.0/power/runtime_status", "suspended\n");
  tree_.file("devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/sda/power/runtime_status",
             "suspended\n");
  for (const Hardware::Disk& disk : disks()) EXPECT_EQ(disk.refused, kAsleep) << disk.name;
  EXPECT_EQ(workers_.threads(), 0u);
}

TEST_F(Readers, ADiskThatIsOfflineIsNotAsked) {
  tree_.scsiDisk("sda", "8:0", "SEAGATE", "offline");
  tree_.nvmeDisk(0, "dead");
  for (const Hardware::Disk& disk : disks()) EXPECT_EQ(disk.refused, "") << disk.name;
  EXPECT_EQ(disks()[1].state, "offline");
  EXPECT_EQ(disks()[0].state, "dead");
}

TEST_F(Readers, OnlyTheDiskThatIsWantedIsAsked) {
  tree_.scsiDisk("sda", "8:0", "SEAGATE");
  tree_.nvmeDisk(0);
  const auto found = disks({true, "naa.5000c500sda"});
  EXPECT_EQ(found[0].refused, "");
  EXPECT_NE(found[1].refused, "");
}

TEST_F(Readers, AVirtioDiskTellsItsStatus) {
  tree_.blockDevice("vda", "pci0000:00/virtio0/block/vda", "254:0", 8);
  tree_.relativeLink("devices/pci0000:00/virtio0/block/vda/device", "devices/pci0000:00/virtio0");
  const std::pair<const char*, const char*> rows[] = {{"0x0000000f\n", "running"},
                                                      {"0x0000004f\n", "needs reset"},
                                                      {"0x00000080\n", "failed"},
                                                      {"on fire\n", ""}};
  for (const auto& [text, state] : rows) {
    tree_.file("devices/pci0000:00/virtio0/status", text);
    EXPECT_EQ(disks().at(0).state, state) << text;
  }
}

TEST_F(Readers, MalformedDisksHaveWhatCanBeRead) {
  tree_.scsiDisk("sda", "8:0", "SEAGATE");
  const std::string disk = "devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/sda/";
  tree_.file(disk + "wwid", std::string(1 << 20, '"')).file(disk + "block/sda/size", "big\n");
  const auto found = disks(kIdentities);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].id, std::string(200, '_'));
  EXPECT_EQ(found[0].size, std::nullopt);
  EXPECT_THAT(udevProperties("8"), IsEmpty());
  EXPECT_THAT(udevProperties("x:y"), IsEmpty());
}

// ---- Arrays and volumes ----

class ArrayReaders : public Readers {
 protected:
  ArrayReaders() {
    tree_.scsiDisk("sda", "8:0", "SEAGATE");
    tree_.scsiDisk("sdb", "8:16", "SEAGATE");
    tree_.partition("sda", "sda1", "8:1");
    tree_.array("md0", "raid1", 2, 1, {{"sda1", "in_sync"}, {"sdb", "faulty"}});
  }
  static UdevProperties notes(const std::string& number) {
    if (number == "9:0") return {{"MD_UUID", "a1:b2"}};
    if (number == "8:1") return {{"ID_PART_ENTRY_UUID", "0001"}, {"ID_FS_UUID", "f1"}};
    return {};
  }
};

TEST_F(ArrayReaders, AnArrayTellsStateAndMissingMembers) {
  const auto pools = readPools(devices(notes));
  ASSERT_EQ(pools.size(), 1u);
  EXPECT_EQ(pools[0].id, "md-a1:b2");
  EXPECT_EQ(pools[0].name, "md0");
  EXPECT_EQ(pools[0].level, "raid1");
  EXPECT_EQ(pools[0].state, "clean");
  EXPECT_EQ(pools[0].disks, 2u);
  EXPECT_EQ(pools[0].missing, 1u);
  EXPECT_EQ(pools[0].size, 8192u * 512);
}

TEST_F(ArrayReaders, ARaid10TellsItsCopies) {
  const std::string md = "devices/virtual/block/md0/md/";
  const auto copies = [&] { return readPools(devices(notes)).at(0).copies; };
  tree_.file(md + "layout", "259\n");
  EXPECT_EQ(copies(), std::nullopt);  // of raid1
  tree_.file(md + "level", "raid10\n");
  EXPECT_EQ(copies(), 3u);  // n3
  tree_.file(md + "layout", "514\n");
  EXPECT_EQ(copies(), 4u);  // n2 f2
  for (const char* text : {"", "near\n", "259 (258)\n", "-1\n"}) {
    tree_.file(md + "layout", text);
    EXPECT_EQ(copies(), std::nullopt) << text;
  }
}

TEST_F(ArrayReaders, MembersTellStateArrayAndDisk) {
  const auto members = extents(devices(notes));
  ASSERT_EQ(members.size(), 2u);
  EXPECT_EQ(members[0].id, "md-a1:b2/partuuid-0001");
  EXPECT_EQ(members[0].pool, "md-a1:b2");
  EXPECT_EQ(members[0].disk, "naa.5000c500sda");
  EXPECT_EQ(members[0].state, "in_sync");
  EXPECT_EQ(members[1].state, "faulty");
  EXPECT_EQ(members[1].disk, "naa.5000c500sdb");
}

TEST_F(ArrayReaders, AMemberWhoseDiskIsPulledKeepsItsIdentity) {
  const std::string id = extents(devices(notes)).at(1).id;
  EXPECT_EQ(id, "md-a1:b2/naa.5000c500sdb");
  tree_.remove("class/block/sdb");
  for (int look = 1; look <= 2; ++look) {
    const auto members = extents(devices(notes));
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[1].id, id) << look;
    EXPECT_EQ(members[1].state, "faulty");
    EXPECT_EQ(members[1].disk, "");
  }
  KnownMembers none;  // as in a process that starts later
  EXPECT_EQ(readExtents(devices(notes), none).at(1).id, "md-a1:b2/sdb");
}

TEST_F(ArrayReaders, AMemberThatTheArrayNoLongerListsIsForgotten) {
  extents(devices(notes));
  const std::string member = "devices/virtual/block/md0/md/dev-sdb";
  tree_.remove(member);
  EXPECT_EQ(extents(devices(notes)).size(), 1u);
  tree_.remove("class/block/sdb");
  tree_.file(member + "/state", "spare\n");
  EXPECT_EQ(extents(devices(notes)).at(1).id, "md-a1:b2/sdb");
}

TEST_F(ArrayReaders, AMountedFileSystemIsAVolume) {
  tree_.file("mountinfo",
             "1 0 8:1 / /srv rw,relatime - ext4 /dev/sda1 ro,errors=remount-ro\n"
             "2 0 0:5 / /proc rw - proc proc rw\n");
  tree_.file("fs/ext4/sda1/errors_count", "4\n");
  const auto volumes = readVolumes(tree_.paths(), devices(notes));
  ASSERT_EQ(volumes.size(), 1u);
  EXPECT_EQ(volumes[0].id, "fs-f1");
  EXPECT_EQ(volumes[0].disk, "naa.5000c500sda");
  EXPECT_EQ(volumes[0].fileSystem, "ext4");
  EXPECT_EQ(volumes[0].mountPoint, "/srv");
  EXPECT_EQ(volumes[0].errors, 4u);
  EXPECT_EQ(volumes[0].blocks, 2048u);
  EXPECT_TRUE(volumes[0].readOnlyRemount);
}

TEST_F(ArrayReaders, AFileSystemThatWasMountedReadOnlyIsNoFault) {
  tree_.file("mountinfo", "1 0 8:1 / /srv ro - ext4 /dev/sda1 ro\n");
  EXPECT_FALSE(readVolumes(tree_.paths(), devices(notes)).at(0).readOnlyRemount);
  tree_.file("mountinfo", "1 0 8:1 / /srv rw - ext4 /dev/sda1 rw\n");
  EXPECT_FALSE(readVolumes(tree_.paths(), devices(notes)).at(0).readOnlyRemount);
}

// btrfs shows a number of its own; its source names the device in one of several ways.
TEST_F(ArrayReaders, AMountedBtrfsIsAVolumeOfItsDevice) {
  tree_.blockDevice("dm-0", "virtual/block/dm-0", "253:0", 16);
  tree_.file("devices/virtual/block/dm-0/dm/uuid", "CRYPT-abc\n");
  tree_.file("devices/virtual/block/dm-0/dm/name", "vg-my root\n");
  tree_.relativeLink("dev/mapper/linked", "dev/dm-0");
  const std::pair<const char*, const char*> rows[] = {
      {"/dev/sda1", "fs-f1"},
      {"/dev/dm-0", "CRYPT-abc"},
      {"/dev/mapper/linked", "CRYPT-abc"},
      {"/dev/mapper/vg-my\\040root", "CRYPT-abc"},
  };
  for (const auto& [source, id] : rows) {
    tree_.file("mountinfo", "1 0 0:42 /@ /srv rw - btrfs " + std::string(source) +
                                " ro,subvol=/@\n2 0 0:42 /@home /home rw - btrfs " + source +
                                " ro,subvol=/@home\n");
    const auto volumes = readVolumes(tree_.paths(), devices(notes));
    ASSERT_EQ(volumes.size(), 1u) << source;
    EXPECT_EQ(volumes[0].id, id);
    EXPECT_EQ(volumes[0].fileSystem, "btrfs");
    EXPECT_EQ(volumes[0].mountPoint, "/srv");
    EXPECT_TRUE(volumes[0].readOnlyRemount);
  }
}

TEST_F(ArrayReaders, OnlyOfBtrfsTheSourceCounts) {
  tree_.file("mountinfo",
             "1 0 0:5 / /a rw - tmpfs /dev/sda1 rw\n2 0 9:9 / /b rw - btrfs /dev/sda1 rw\n"
             "3 0 0:6 / /c rw - btrfs sda1 rw\n4 0 0:7 / /d rw - btrfs /dev/sdx rw\n");
  EXPECT_THAT(readVolumes(tree_.paths(), devices(notes)), IsEmpty());
}

TEST_F(ArrayReaders, EveryMountCountsHoweverManyThereAre) {
  constexpr std::size_t kBound = 16 * 1024 * 1024;
  const std::string other =
      "1 0 0:5 / /var/lib/containers/" + std::string(30, 'x') + " rw - tmpfs t rw\n";
  const std::string last = "2 0 8:1 / /srv rw - ext4 /dev/sda1 rw";
  std::string mounts;
  while (mounts.size() < kBound - 2 * other.size()) mounts += other;
  tree_.file("mountinfo", mounts + last + "\n");
  ASSERT_EQ(readVolumes(tree_.paths(), devices(notes)).size(), 1u);
  EXPECT_EQ(readVolumes(tree_.paths(), devices(notes))[0].mountPoint, "/srv");
  tree_.file("mountinfo", last);  // the kernel ends each line: this one is cut
  EXPECT_THAT(readVolumes(tree_.paths(), devices(notes)), IsEmpty());
}

TEST_F(ArrayReaders, ALogicalVolumeIsAVolumeMountedOrNot) {
  tree_.blockDevice("dm-0", "virtual/block/dm-0", "253:0", 16);
  tree_.file("devices/virtual/block/dm-0/dm/uuid", "LVM-abc\n");
  tree_.file("devices/virtual/block/dm-0/dm/name", "vg-root\n");
  tree_.file("devices/virtual/block/dm-0/dm/suspended", "1\n");
  tree_.blockDevice("dm-1", "virtual/block/dm-1", "253:1", 16);
  tree_.file("devices/virtual/block/dm-1/dm/uuid", "CRYPT-abc\n");
  const auto volumes = readVolumes(tree_.paths(), devices());
  ASSERT_EQ(volumes.size(), 1u);
  EXPECT_EQ(volumes[0].id, "LVM-abc");
  EXPECT_EQ(volumes[0].name, "vg-root");
  EXPECT_TRUE(volumes[0].suspended);
}

// A host without descriptors would look like one without hardware.
TEST_F(Readers, WithoutDescriptorsNothingIsSaidOfTheHardware) {
#ifdef __SANITIZE_ADDRESS__
  // It probes memory through a pipe, and calls every type that it meets for the first time wrong
  // when it gets none.
  GTEST_SKIP() << "the undefined-behaviour sanitizer beside it needs descriptors of its own";
#endif
  tree_.nvmeDisk(0);
  tree_.file("class/power_supply/AC/type", "Mains\n");
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 3;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_THROW(disks(), std::system_error);
  EXPECT_THROW(readPowerSupplies(tree_.paths()), std::system_error);
  EXPECT_THROW(readMemoryModules(tree_.paths()), std::system_error);
  EXPECT_THROW(readPciFunctions(tree_.paths(), 1), std::system_error);
  EXPECT_THROW(storagePorts(), std::system_error);
  EXPECT_THROW(readSensors(tree_.paths(), kNoUdev, {}, workers_), std::system_error);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(readPowerSupplies(tree_.paths()).size(), 1u);
}

TEST_F(Readers, OneFunctionOrSupplyIsLookedUpByItsName) {
  const std::string pci = "bus/pci/devices/";
  tree_.file(pci + "0000:00:1f.2/class", "0x010601\n")
      .file(pci + "0000:01:00.0/class", "0x010802\n");
  tree_.file("class/power_supply/AC/type", "Mains\n").file("class/power_supply/UPS/type", "UPS\n");
  const auto found = readPciFunctions(tree_.paths(), 1, {true, "0000:01:00.0"});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].id, "0000:01:00.0");
  EXPECT_EQ(readPowerSupplies(tree_.paths(), {true, "UPS"}).size(), 1u);
  EXPECT_THAT(readPciFunctions(tree_.paths(), 1, {true, "0000:09:00.0"}), IsEmpty());
}

TEST_F(Readers, AHugeHostIsRead) {
  std::string mounts;
  for (int i = 0; i < 5000; ++i) mounts += "1 0 0:" + std::to_string(i) + " / /m rw - tmpfs t rw\n";
  tree_.file("mountinfo", mounts);
  const std::string pci = "bus/pci/devices/";
  for (int i = 0; i < 300; ++i) {
    tree_.file(pci + "0000:" + std::to_string(i) + "/class", "0x010000\n");
  }
  EXPECT_EQ(readPciFunctions(tree_.paths(), 1).size(), 300u);
  EXPECT_THAT(readVolumes(tree_.paths(), devices()), IsEmpty());
}

}  // namespace
}  // namespace LinuxHost
