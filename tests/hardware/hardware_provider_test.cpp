#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tests/hardware/hardware_fixture.h"

namespace orv::test {
namespace {

using broker::Instance;
using broker::ObjectPath;
using broker::Response;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::UnorderedElementsAre;

constexpr const char* kNameSpace = "root/cimv2";
constexpr const char* kNvme = R"({"id": "nvme-1", "name": "nvme0n1", "Model": "Example",
    "CriticalWarning": 1, "AvailableSpare": 3, "AvailableSpareThreshold": 10})";

class Hardware : public testing::Test {
 protected:
  void setHardware(const std::string& members, const std::string& more = "") const {
    host_.write(R"({"systemName": "host-7", "hardware": {)" + members + "}" + more + "}");
  }
  Response names(const std::string& className) {
    return broker_.enumerateInstanceNames(kNameSpace, className);
  }
  Response instances(const std::string& className) {
    return broker_.enumerateInstances(kNameSpace, className);
  }
  Instance only(const std::string& className) { return instances(className).instances.at(0); }

  static ObjectPath devicePath(const std::string& className, const std::string& id) {
    return pathOf(className, {{"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
                              {"SystemName", "host-7"},
                              {"CreationClassName", className},
                              {"DeviceID", id}});
  }
  static ObjectPath systemPath() {
    return pathOf("OMC_UnitaryComputerSystem",
                  {{"CreationClassName", "OMC_UnitaryComputerSystem"}, {"Name", "host-7"}});
  }

  std::vector<std::string> farEnds(const ObjectPath& source, const std::string& assocClass = "",
                                   const std::string& resultClass = "") {
    broker::AssociationFilter filter;
    if (!assocClass.empty()) filter.assocClass = assocClass;
    if (!resultClass.empty()) filter.resultClass = resultClass;
    const Response response = broker_.associatorNames(source, filter);
    EXPECT_EQ(response.rc, CMPI_RC_OK);
    std::vector<std::string> ends;
    for (const ObjectPath& path : response.paths) {
      for (const char* key : {"DeviceID", "Tag", "InstanceID", "Name"}) {
        if (const auto* value = path.key(key)) ends.push_back(path.className + " " + value->text());
      }
    }
    return ends;
  }

  SimulatedHostFile host_{R"({"systemName": "host-7"})"};
  broker::Broker broker_{hardwareProviders()};
};

TEST_F(Hardware, AHostWithoutHardwareAnswersEveryClassWithNothing) {
  for (const auto& section : hostRegistration()) {
    if (section.className == "OMC_UnitaryComputerSystem") continue;
    const Response response = instances(section.className);
    EXPECT_EQ(response.rc, CMPI_RC_OK) << section.className;
    EXPECT_THAT(response.instances, IsEmpty()) << section.className;
    EXPECT_EQ(names(section.className).rc, CMPI_RC_OK) << section.className;
  }
}

TEST_F(Hardware, ADiskTellsWhatIsWrongInWordsAndNumbers) {
  setHardware(std::string(R"("disks": [)") + kNvme + "]");
  const Instance disk = only("Orvane_DiskDrive");
  EXPECT_EQ(healthOf(disk), 20u);
  EXPECT_THAT(textsOf(disk, "StatusDescriptions"),
              ElementsAre("critical warning: spare below threshold (3 %)"));
  EXPECT_EQ(disk.property("ElementName")->text(), "nvme0n1");
  EXPECT_EQ(disk.property("Model")->text(), "Example");
  EXPECT_EQ(disk.property("AvailableSpare")->toText(), "3");
  EXPECT_TRUE(disk.property("SmartPassed") == nullptr || disk.property("SmartPassed")->null);
}

TEST_F(Hardware, EveryKeyOfEveryClassIsAText) {
  setHardware(R"("sensors": [{"id": "s", "SensorType": 2}], "memoryModules": [{"id": "m"}],
      "powerSupplies": [{"id": "p"}], "batteries": [{"id": "b"}], "disks": [{"id": "d"}],
      "storageControllers": [{"id": "c"}], "networkControllers": [{"id": "n"}],
      "storagePorts": [{"id": "t"}], "pools": [{"id": "a"}], "volumes": [{"id": "v"}],
      "extents": [{"id": "e", "pool": "a"}])");
  std::set<std::string> seen;
  for (const std::string& className : kPolledClasses) {
    const Response response = instances(className);
    for (const Instance& instance : response.instances) {
      seen.insert(instance.path.className);
      EXPECT_GT(instance.path.keys.size(), 0u) << className;
      for (const auto& key : instance.path.keys) {
        EXPECT_EQ(key.value.type, CMPI_string) << className << "." << key.name;
        EXPECT_FALSE(key.value.null) << className << "." << key.name;
      }
      EXPECT_EQ(healthOf(instance), 5u) << className;
    }
  }
  EXPECT_EQ(seen, elementClasses());
}

TEST_F(Hardware, ASingleInstanceIsTheOneThatWasEnumerated) {
  setHardware(std::string(R"("disks": [{"id": "d", "name": "sda"}, )") + kNvme + "]");
  const Response one = broker_.getInstance(devicePath("Orvane_DiskDrive", "nvme-1"));
  ASSERT_EQ(one.rc, CMPI_RC_OK);
  EXPECT_EQ(healthOf(one.instances.at(0)), 20u);
  EXPECT_EQ(broker_.getInstance(devicePath("Orvane_DiskDrive", "other")).rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(broker_.getInstance(devicePath("Orvane_Battery", "nvme-1")).rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Hardware, AnotherSystemsDeviceIsNotFound) {
  setHardware(std::string(R"("disks": [)") + kNvme + "]");
  ObjectPath path = devicePath("Orvane_DiskDrive", "nvme-1");
  path.keys[1].value = broker::Value::ofString("host-8");
  EXPECT_EQ(broker_.getInstance(path).rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Hardware, ElementsOfOneIdentityAreToldApart) {
  setHardware(R"("disks": [{"id": "serial-0", "name": "sda"}, {"id": "serial-0", "name": "sdb"}])");
  std::vector<std::string> ids;
  for (const ObjectPath& path : names("Orvane_DiskDrive").paths) {
    ids.push_back(path.key("DeviceID")->text());
  }
  EXPECT_THAT(ids, ElementsAre("serial-0", "serial-0#2"));
  const Response second = broker_.getInstance(devicePath("Orvane_DiskDrive", "serial-0#2"));
  ASSERT_EQ(second.rc, CMPI_RC_OK);
  EXPECT_EQ(second.instances.at(0).property("ElementName")->text(), "sdb");
}

// Whatever its id is, an element that is asked for alone is the one that was enumerated.
TEST_F(Hardware, EveryIdIsItsOwnAndLeadsToItsElement) {
  setHardware(R"("disks": [{"id": "disk#1", "DeviceState": "offline"}, {"id": "d"},
      {"id": "d#2", "SmartPassed": 0}, {"id": "d", "DeviceState": "dead"}, {"id": "#"},
      {"id": "#", "CriticalWarning": 4}, {"id": "d#2", "DeviceState": "blocked"}, {"id": "d#"},
      {"id": "#3", "FailurePrediction": "f"}, {"id": "\u00e9 \"/#x", "PendingSectors": 1}])");
  const std::vector<Instance> all = instances("Orvane_DiskDrive").instances;
  ASSERT_EQ(all.size(), 10u);
  std::set<std::string> ids;
  for (const Instance& disk : all) {
    const std::string id = disk.path.key("DeviceID")->text();
    EXPECT_TRUE(ids.insert(id).second) << id;
    const Response one = broker_.getInstance(devicePath("Orvane_DiskDrive", id));
    ASSERT_EQ(one.rc, CMPI_RC_OK) << id;
    EXPECT_EQ(one.instances.at(0), disk) << id;
  }
  EXPECT_EQ(healthOf(all[0]), 25u);
  EXPECT_EQ(all[3].path.key("DeviceID")->text(), "d#3");
  EXPECT_EQ(all[6].path.key("DeviceID")->text(), "d#2#2");
}

TEST_F(Hardware, ElementsOfOneIdentityAreCountedApart) {
  const auto setErrors = [&](int first, int second) {
    setHardware(R"("disks": [{"id": "counted-apart", "MediaErrors": )" + std::to_string(first) +
                R"(}, {"id": "counted-apart", "MediaErrors": )" + std::to_string(second) + "}]");
  };
  setErrors(0, 7);
  for (const Instance& disk : instances("Orvane_DiskDrive").instances) {
    EXPECT_EQ(healthOf(disk), 5u) << disk.path.toText();
  }
  setErrors(0, 8);
  EXPECT_EQ(healthOf(instances("Orvane_DiskDrive").instances.at(0)), 5u);
  EXPECT_THAT(textsOf(instances("Orvane_DiskDrive").instances.at(1), "StatusDescriptions"),
              ElementsAre("1 new media errors since start (8 in all)"));
}

TEST_F(Hardware, WhatTheHostRefusesIsUnknownWithTheReason) {
  setHardware(R"("disks": [{"id": "d", "name": "sda", "refused": "in standby, not asked"}])");
  const Instance disk = only("Orvane_DiskDrive");
  EXPECT_EQ(healthOf(disk), 0u);
  EXPECT_THAT(textsOf(disk, "StatusDescriptions"), ElementsAre("in standby, not asked"));
}

TEST_F(Hardware, AnEmptyBatteryBayIsNoBattery) {
  setHardware(R"("batteries": [{"id": "BAT0", "present": 0}, {"id": "BAT1", "present": 1}])");
  EXPECT_EQ(names("Orvane_Battery").paths.size(), 1u);
}

TEST_F(Hardware, APropertyListLeavesKeysAndWhatItNames) {
  setHardware(std::string(R"("disks": [)") + kNvme + "]");
  const Response response = broker_.enumerateInstances(kNameSpace, "Orvane_DiskDrive",
                                                       std::vector<std::string>{"HealthState"});
  const Instance& disk = response.instances.at(0);
  EXPECT_EQ(healthOf(disk), 20u);
  EXPECT_EQ(disk.property("Model"), nullptr);
  EXPECT_EQ(disk.path.key("DeviceID")->text(), "nvme-1");
}

TEST_F(Hardware, AFaultOfTheHostIsAStatus) {
  host_.write(R"({"hardware": {"throw": "other"}})");
  for (const char* className : {"Orvane_DiskDrive", "OMC_UnitaryComputerSystem"}) {
    EXPECT_EQ(instances(className).rc, CMPI_RC_ERR_FAILED) << className;
  }
}

// Every published property is declared, with the type in which it is set.
TEST_F(Hardware, PropertiesAreThoseOfTheSchema) {
  host_.write(R"({"systemName": "host-7", "hardware": {
    "system": {"vendor": "V", "product": "P", "serialNumber": "1", "operatingSystem": "O"},
    "sensors": [{"id": "s", "refused": "r", "SensorType": 2, "CurrentReading": 1,
      "LowerThresholdNonCritical": 1, "UpperThresholdNonCritical": 1, "LowerThresholdCritical": 1,
      "UpperThresholdCritical": 1}],
    "memoryModules": [{"id": "m", "Manufacturer": "a", "SerialNumber": "a", "PartNumber": "a",
      "BankLabel": "a", "Capacity": 1, "MemoryType": 1, "FormFactor": 1, "TotalWidth": 1,
      "DataWidth": 1, "TransferRate": 1, "CorrectableErrors": 1, "UncorrectableErrors": 1}],
    "powerSupplies": [{"id": "p", "SupplyType": "a", "ReportedHealth": "a", "Online": 1}],
    "batteries": [{"id": "b", "ReportedStatus": "a", "ReportedHealth": "a", "CapacityLevel": "a",
      "Manufacturer": "a", "Model": "a", "SerialNumber": "a", "EstimatedChargeRemaining": 1,
      "RechargeCount": 1, "DesignCapacity": 1, "FullChargeCapacity": 1, "DesignVoltage": 1}],
    "disks": [{"id": "d", "name": "n", "Model": "a", "SerialNumber": "a", "FirmwareVersion": "a",
      "DeviceState": "a", "FailurePrediction": "a", "MaxMediaSize": 1, "CriticalWarning": 1,
      "AvailableSpare": 1, "AvailableSpareThreshold": 1, "PercentageUsed": 1, "SmartPassed": 1,
      "Temperature": 1, "MediaErrors": 1, "BadSectors": 1, "PendingSectors": 1,
      "PowerOnHours": 1}],
    "storageControllers": [{"id": "c", "Driver": "a", "LinkSpeed": "a", "PCIVendorID": 1,
      "PCIDeviceID": 1, "LinkWidth": 1, "MaxLinkWidth": 1, "CorrectableErrors": 1,
      "NonFatalErrors": 1, "FatalErrors": 1}],
    "networkControllers": [{"id": "n", "Driver": "a", "LinkSpeed": "a", "PCIVendorID": 1,
      "PCIDeviceID": 1, "LinkWidth": 1, "MaxLinkWidth": 1, "CorrectableErrors": 1,
      "NonFatalErrors": 1, "FatalErrors": 1}],
    "storagePorts": [{"id": "t", "LinkState": "a", "Speed": 1, "InvalidDwordCount": 1,
      "RunningDisparityErrorCount": 1, "LossOfDwordSyncCount": 1, "PhyResetProblemCount": 1}],
    "pools": [{"id": "a", "name": "md0", "Level": "a", "ArrayState": "a", "SyncAction": "a",
      "MemberCount": 1, "MissingMembers": 0, "TotalManagedSpace": 1}],
    "volumes": [{"id": "v", "name": "v", "disk": "d", "FileSystemType": "a", "MountPoint": "a",
      "BlockSize": 1, "NumberOfBlocks": 1, "FileSystemErrors": 1}],
    "extents": [{"id": "e", "name": "e", "pool": "a", "disk": "d", "MemberState": "a",
      "BlockSize": 1, "NumberOfBlocks": 1, "CorrectedErrors": 1}]}})");
  const auto classes = hostClasses();
  for (const auto& section : hostRegistration()) {
    const Response response = instances(section.className);
    ASSERT_THAT(response.instances, testing::Not(IsEmpty())) << section.className;
    const broker::ClassDefinition* definition = classes->find(section.className);
    for (const std::string& name : response.instances[0].setOrder) {
      const broker::PropertyDefinition* declared = definition->property(name);
      ASSERT_NE(declared, nullptr) << section.className << "." << name;
      EXPECT_EQ(declared->name, name) << section.className;
      EXPECT_EQ(declared->type, response.instances[0].property(name)->type)
          << section.className << "." << name;
    }
    // Every property that a class of ours adds is set from a host that tells everything.
    for (const broker::PropertyDefinition& property : definition->properties) {
      if (property.originClass != section.className) continue;
      EXPECT_THAT(response.instances[0].setOrder, testing::Contains(property.name))
          << section.className;
    }
  }
}

// ---- The computer system ----

TEST_F(Hardware, TheSystemIsAsHealthyAsItsWorstElement) {
  setHardware(R"("sensors": [{"name": "fan", "SensorType": 5, "CurrentReading": 0,
      "LowerThresholdNonCritical": 600}], "disks": [)" +
              std::string(kNvme) + "]");
  const Instance system = only("OMC_UnitaryComputerSystem");
  EXPECT_EQ(healthOf(system), 20u);
  EXPECT_THAT(textsOf(system, "StatusDescriptions"),
              ElementsAre("nvme0n1: critical warning: spare below threshold (3 %)"));
}

TEST_F(Hardware, ASystemWithoutTroublesIsOk) {
  setHardware(R"("system": {"vendor": "Orvane", "product": "R7", "operatingSystem": "Example 1"},
      "disks": [{"id": "d", "refused": "asleep"}])");
  const Instance system = only("OMC_UnitaryComputerSystem");
  EXPECT_EQ(healthOf(system), 5u);
  EXPECT_EQ(system.property("EnabledState")->toText(), "2");
  EXPECT_EQ(system.property("Caption")->text(), "R7, Example 1");
  EXPECT_THAT(textsOf(system, "OtherIdentifyingInfo"), ElementsAre("Orvane", "R7", "Example 1"));
  EXPECT_THAT(textsOf(system, "IdentifyingDescriptions"),
              ElementsAre("Vendor", "Product", "Operating system"));
}

TEST_F(Hardware, OnlyThisSystemIsFound) {
  EXPECT_EQ(broker_.getInstance(systemPath()).rc, CMPI_RC_OK);
  ObjectPath other = systemPath();
  other.keys[1].value = broker::Value::ofString("host-8");
  EXPECT_EQ(broker_.getInstance(other).rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Hardware, ANullNameIsThatOfASystemWithoutOne) {
  ObjectPath path = systemPath();
  path.keys[1].value = broker::Value::ofNull(CMPI_string);
  EXPECT_EQ(broker_.getInstance(path).rc, CMPI_RC_ERR_NOT_FOUND);
  host_.write(R"({"systemName": ""})");
  EXPECT_EQ(broker_.getInstance(path).rc, CMPI_RC_OK);
  path.keys[1].value = broker::Value::ofString("");
  EXPECT_EQ(broker_.getInstance(path).rc, CMPI_RC_OK);
  path.keys[1].value = broker::Value::ofUnsigned(CMPI_uint32, 7);
  EXPECT_EQ(broker_.getInstance(path).rc, CMPI_RC_ERR_NOT_FOUND);
}

// ---- Associations ----

class HardwareAssociations : public Hardware {
 protected:
  HardwareAssociations() {
    setHardware(R"("sensors": [{"id": "s1", "SensorType": 2, "monitored": "d1"},
        {"id": "s2", "SensorType": 5}], "memoryModules": [{"id": "m1"}], "disks": [{"id": "d1"}],
        "pools": [{"id": "a1"}], "extents": [{"id": "e1", "pool": "a1", "disk": "d1"}],
        "volumes": [{"id": "v1", "disk": "d1"}, {"id": "v2"}])");
  }
};

TEST_F(HardwareAssociations, LeadFromTheSystemToEverythingInIt) {
  EXPECT_THAT(farEnds(systemPath()),
              UnorderedElementsAre("Orvane_NumericSensor s1", "Orvane_NumericSensor s2",
                                   "Orvane_StorageVolume v1", "Orvane_StorageVolume v2",
                                   "Orvane_StorageExtent e1", "Orvane_DiskDrive d1",
                                   "Orvane_PhysicalMemory m1", "Orvane_StoragePool a1",
                                   "Orvane_NumericSensor s2" /* it watches the system, too */));
}

TEST_F(HardwareAssociations, LeadBackToTheSystem) {
  const std::string system = "OMC_UnitaryComputerSystem host-7";
  EXPECT_THAT(farEnds(devicePath("Orvane_DiskDrive", "d1"), "CIM_SystemDevice"),
              ElementsAre(system));
  EXPECT_THAT(farEnds(pathOf("Orvane_PhysicalMemory",
                             {{"CreationClassName", "Orvane_PhysicalMemory"}, {"Tag", "m1"}})),
              ElementsAre(system));
  EXPECT_THAT(
      farEnds(pathOf("Orvane_StoragePool", {{"InstanceID", "a1"}}), "CIM_HostedStoragePool"),
      ElementsAre(system));
}

TEST_F(HardwareAssociations, RelateSensorsDisksAndArrays) {
  EXPECT_THAT(farEnds(devicePath("Orvane_NumericSensor", "s1"), "CIM_AssociatedSensor"),
              ElementsAre("Orvane_DiskDrive d1"));
  EXPECT_THAT(farEnds(devicePath("Orvane_NumericSensor", "s2"), "CIM_AssociatedSensor"),
              ElementsAre("OMC_UnitaryComputerSystem host-7"));
  EXPECT_THAT(farEnds(devicePath("Orvane_DiskDrive", "d1"), "CIM_MediaPresent"),
              UnorderedElementsAre("Orvane_StorageExtent e1", "Orvane_StorageVolume v1"));
  EXPECT_THAT(
      farEnds(pathOf("Orvane_StoragePool", {{"InstanceID", "a1"}}), "CIM_ConcreteComponent"),
      ElementsAre("Orvane_StorageExtent e1"));
}

TEST_F(HardwareAssociations, RespectResultClassAndRoles) {
  EXPECT_THAT(farEnds(systemPath(), "", "CIM_DiskDrive"), ElementsAre("Orvane_DiskDrive d1"));
  broker::AssociationFilter filter;
  filter.role = "PartComponent";
  EXPECT_THAT(broker_.associatorNames(systemPath(), filter).paths, IsEmpty());
  filter.role = "GroupComponent";
  filter.resultRole = "PartComponent";
  EXPECT_EQ(broker_.associatorNames(systemPath(), filter).paths.size(), 7u);
}

TEST_F(HardwareAssociations, UnknownObjectsHaveNone) {
  EXPECT_THAT(farEnds(devicePath("Orvane_DiskDrive", "d9")), IsEmpty());
  EXPECT_THAT(farEnds(pathOf("Orvane_RollupHealthState", {{"Name", "x"}})), IsEmpty());
}

// Where nothing of the hardware can be an end, its fault is nobody's answer.
TEST_F(HardwareAssociations, LookOnlyAtWhatCanBeAnEnd) {
  host_.write(R"({"systemName": "host-7", "hardware": {"throw": "other"}})");
  broker::AssociationFilter onlyPorts;
  onlyPorts.resultClass = "Orvane_EthernetPort";
  EXPECT_EQ(broker_.associatorNames(systemPath()).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(broker_.associatorNames(systemPath(), onlyPorts).rc, CMPI_RC_OK);
  EXPECT_EQ(broker_.associatorNames(devicePath("Orvane_DiskDrive", "d1")).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(broker_.associatorNames(devicePath("Orvane_EthernetPort", "nic0")).rc, CMPI_RC_OK);
  EXPECT_EQ(broker_.associatorNames(pathOf("Orvane_RollupHealthState")).rc, CMPI_RC_OK);
}

TEST_F(HardwareAssociations, FetchTheFarEnds) {
  broker::AssociationFilter filter;
  filter.resultClass = "CIM_DiskDrive";
  const Response response = broker_.associators(systemPath(), filter);
  ASSERT_EQ(response.instances.size(), 1u);
  EXPECT_EQ(response.instances[0].property("DeviceID")->text(), "d1");
}

TEST_F(HardwareAssociations, AreInstancesOfTheirOwn) {
  for (const auto& section : hostRegistration()) {
    if (!section.association) continue;
    const Response all = instances(section.className);
    EXPECT_EQ(all.rc, CMPI_RC_OK);
    EXPECT_EQ(names(section.className).paths.size(), all.instances.size());
    ASSERT_THAT(all.instances, testing::Not(IsEmpty())) << section.className;
    for (const ObjectPath& path : names(section.className).paths) {
      EXPECT_EQ(broker_.getInstance(path).rc, CMPI_RC_OK) << path.toText();
    }
  }
}

}  // namespace
}  // namespace orv::test
