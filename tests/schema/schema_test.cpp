#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/schema/schema_files.h"

namespace orv::broker {
namespace {

using testing::ElementsAre;

std::vector<std::string> keysOf(const ClassDefinition& definition) {
  std::vector<std::string> keys;
  for (const PropertyDefinition& property : definition.properties) {
    if (property.key) keys.push_back(property.name);
  }
  std::sort(keys.begin(), keys.end());
  return keys;
}

// The classes of orvprovider.mof and orvhost.mof themselves.
std::vector<const ClassDefinition*> ourClasses(const ClassRepository& schema) {
  std::vector<const ClassDefinition*> ours;
  for (const ClassDefinition* c : schema.all()) {
    if (c->name.rfind("Orvane_", 0) == 0) ours.push_back(c);
  }
  return ours;
}

bool hasQualifier(const PropertyDefinition& property, const char* name) {
  return std::any_of(property.qualifiers.begin(), property.qualifiers.end(),
                     [&](const QualifierValue& q) { return sameName(q.name, name); });
}

TEST(Schema, LoadsAsOneRepository) { EXPECT_FALSE(ourClasses(ourSchema()).empty()); }

TEST(Schema, EveryBaseFileIncludesWhatItNeeds) {
  const std::string base = std::string(ORV_SOURCE_DIR) + "/schema/base";
  for (const auto& entry : std::filesystem::directory_iterator(base)) {
    if (entry.path().extension() != ".mof") continue;
    ClassRepository alone;
    EXPECT_NO_THROW(MofReader(alone).readFile(entry.path().string())) << entry.path();
  }
}

TEST(Schema, EveryReferenceNamesAKnownClass) {
  const ClassRepository schema = ourSchema();
  for (const ClassDefinition* c : schema.all()) {
    for (const PropertyDefinition& p : c->properties) {
      if ((p.type & ~CMPI_ARRAY) != CMPI_ref) continue;
      EXPECT_NE(schema.find(p.referenceClass), nullptr) << c->name << "." << p.name;
    }
  }
}

// A property that overrides has something to override, and keeps its type.
TEST(Schema, OverridesNameAPropertyOfTheBaseAndKeepItsType) {
  const ClassRepository schema = ourSchema();
  for (const ClassDefinition* c : schema.all()) {
    const ClassDefinition* parent = schema.find(c->superclass);
    for (const PropertyDefinition& p : c->properties) {
      const PropertyDefinition* inherited = parent != nullptr ? parent->property(p.name) : nullptr;
      if (inherited == nullptr) {
        EXPECT_FALSE(hasQualifier(p, "Override")) << c->name << "." << p.name;
      } else if (p.name != "AutoSense") {
        // Deliberate: the port's AutoSense is set as a number, so its class declares a number.
        EXPECT_EQ(p.type, inherited->type) << c->name << "." << p.name;
      }
    }
  }
}

TEST(Schema, AutoSenseIsANumber) {
  EXPECT_EQ(ourSchema().find("Orvane_EthernetPort")->property("AutoSense")->type, CMPI_uint16);
}

TEST(Schema, EveryClassOfOursIsDescribedAndSoIsEveryPropertyItAdds) {
  const ClassRepository schema = ourSchema();
  const auto described = [](const std::vector<QualifierValue>& qualifiers) {
    return std::any_of(qualifiers.begin(), qualifiers.end(), [](const QualifierValue& q) {
      return sameName(q.name, "Description") && !q.values.empty() && !q.values[0].empty();
    });
  };
  for (const ClassDefinition* c : ourClasses(schema)) {
    EXPECT_TRUE(described(c->qualifiers)) << c->name;
    for (const PropertyDefinition& p : c->properties) {
      if (p.originClass != c->name) continue;
      EXPECT_TRUE(described(p.qualifiers)) << c->name << "." << p.name;
    }
  }
}

// Where a number comes from is told with it; fixed values have no source.
TEST(Schema, EveryNumberOfOursWithAUnitNamesItsSource) {
  const ClassRepository schema = ourSchema();
  int numbers = 0;
  for (const ClassDefinition* c : ourClasses(schema)) {
    for (const PropertyDefinition& p : c->properties) {
      if (p.declaringClass != c->name) continue;
      if (!hasQualifier(p, "PUnit") && !hasQualifier(p, "Counter")) continue;
      EXPECT_TRUE(hasQualifier(p, "MappingStrings")) << c->name << "." << p.name;
      ++numbers;
    }
  }
  EXPECT_GT(numbers, 0);
}

TEST(Schema, ValueMapsAndValuesHaveOneLength) {
  const ClassRepository schema = ourSchema();
  for (const ClassDefinition* c : schema.all()) {
    for (const PropertyDefinition& p : c->properties) {
      std::size_t map = 0, values = 0;
      for (const QualifierValue& q : p.qualifiers) {
        if (sameName(q.name, "ValueMap")) map = q.values.size();
        if (sameName(q.name, "Values")) values = q.values.size();
      }
      EXPECT_EQ(map, values) << c->name << "." << p.name;
    }
  }
}

struct ClassKeys {
  const char* name;
  const char* superclass;
  std::vector<std::string> keys;  // sorted
};

const std::vector<std::string> kDeviceKeys = {"CreationClassName", "DeviceID",
                                              "SystemCreationClassName", "SystemName"};
const std::vector<std::string> kEndpointKeys = {"CreationClassName", "Name",
                                                "SystemCreationClassName", "SystemName"};

TEST(Schema, ClassesHaveTheBasesAndKeysThatClientsRelyOn) {
  const ClassRepository schema = ourSchema();
  const ClassKeys rows[] = {
      {"Orvane_EthernetPort", "CIM_EthernetPort", kDeviceKeys},
      {"Orvane_EPDriverSoftwareIdentity", "CIM_SoftwareIdentity", {"InstanceID"}},
      {"Orvane_EPFirmwareSoftwareIdentity", "CIM_SoftwareIdentity", {"InstanceID"}},
      {"Orvane_EPStatisticalInformation", "CIM_StatisticalInformation", {"InstanceID"}},
      {"Orvane_EPCoalesceSettingData", "CIM_SettingData", {"InstanceID"}},
      {"Orvane_EPDriverElementSoftwareIdentity",
       "CIM_ElementSoftwareIdentity",
       {"Antecedent", "Dependent"}},
      {"Orvane_EPFirmwareElementSoftwareIdentity",
       "CIM_ElementSoftwareIdentity",
       {"Antecedent", "Dependent"}},
      {"Orvane_EPStatistics", "CIM_Statistics", {"Element", "Stats"}},
      {"Orvane_EPCoalesceElementSettingData",
       "CIM_ElementSettingData",
       {"ManagedElement", "SettingData"}},
      {"Orvane_KernelIPv4ProtocolEndpoint", "Orvane_KernelIPProtocolEndpoint", kEndpointKeys},
      {"Orvane_KernelIPv6ProtocolEndpoint", "Orvane_KernelIPProtocolEndpoint", kEndpointKeys},
      {"Orvane_KernelIPProtocolEndpoint", "CIM_IPProtocolEndpoint", kEndpointKeys},
      {"Orvane_KernelIPChangedIndication", "CIM_InstModification", {}},
      {"Orvane_CIMHeartbeat", "CIM_ProcessIndication", {}},
      {"Orvane_LatchedHealthState", "CIM_ManagedElement", {"EventId"}},
      {"Orvane_RollupHealthState", "CIM_ManagedElement", {"Name"}},
      {"Orvane_LatchedHealthAssociation", "CIM_Dependency", {"Antecedent", "Dependent"}},
      {"Orvane_HypervisorSoftwareIdentity", "CIM_SoftwareIdentity", {"InstanceID"}},
      {"Orvane_InstalledSoftwareIdentity",
       "CIM_InstalledSoftwareIdentity",
       {"InstalledSoftware", "System"}},
      {"Orvane_Processor", "CIM_Processor", kDeviceKeys},
      {"OMC_UnitaryComputerSystem", "CIM_UnitaryComputerSystem", {"CreationClassName", "Name"}},
      {"Orvane_NumericSensor", "CIM_NumericSensor", kDeviceKeys},
      {"Orvane_PhysicalMemory", "CIM_PhysicalMemory", {"CreationClassName", "Tag"}},
      {"Orvane_PowerSupply", "CIM_PowerSupply", kDeviceKeys},
      {"Orvane_PortController", "CIM_PortController", kDeviceKeys},
      {"Orvane_Controller", "CIM_Controller", kDeviceKeys},
      {"Orvane_Battery", "CIM_Battery", kDeviceKeys},
      {"Orvane_StorageVolume", "CIM_StorageVolume", kDeviceKeys},
      {"Orvane_StorageExtent", "CIM_StorageExtent", kDeviceKeys},
      {"Orvane_DiskDrive", "CIM_DiskDrive", kDeviceKeys},
      {"Orvane_SASSATAPort", "CIM_LogicalPort", kDeviceKeys},
      {"Orvane_StoragePool", "CIM_StoragePool", {"InstanceID"}},
      {"Orvane_SystemDevice", "CIM_SystemDevice", {"GroupComponent", "PartComponent"}},
      {"Orvane_SystemPackaging", "CIM_SystemPackaging", {"Antecedent", "Dependent"}},
      {"Orvane_HostedStoragePool", "CIM_HostedStoragePool", {"GroupComponent", "PartComponent"}},
      {"Orvane_AssociatedSensor", "CIM_AssociatedSensor", {"Antecedent", "Dependent"}},
      {"Orvane_MediaPresent", "CIM_MediaPresent", {"Antecedent", "Dependent"}},
      {"Orvane_PoolComponent", "CIM_ConcreteComponent", {"GroupComponent", "PartComponent"}},
  };
  for (const ClassKeys& row : rows) {
    const ClassDefinition* c = schema.find(row.name);
    ASSERT_NE(c, nullptr) << row.name;
    EXPECT_EQ(c->superclass, row.superclass) << row.name;
    EXPECT_EQ(keysOf(*c), row.keys) << row.name;
    EXPECT_FALSE(c->abstract) << row.name;
  }
}

TEST(Schema, TheProcessorsElementNameIsNoKey) {
  EXPECT_FALSE(ourSchema().find("Orvane_Processor")->property("ElementName")->key);
}

TEST(Schema, TheMisspeltAddressOfEmbeddedEndpointsIsNotDeclared) {
  // Declared, it would stand as an empty property in every endpoint that clients see.
  EXPECT_EQ(ourSchema().find("Orvane_KernelIPv6ProtocolEndpoint")->property("IPv6ddress"), nullptr);
}

TEST(Schema, EmbeddedInstancesAreDeclaredInTheWayThatEveryObjectManagerKnows) {
  const ClassRepository schema = ourSchema();
  const ClassDefinition* changed = schema.find("Orvane_KernelIPChangedIndication");
  EXPECT_TRUE(changed->property("SourceInstance")->embeddedObject);
  EXPECT_TRUE(changed->property("PreviousInstance")->embeddedObject);
  EXPECT_TRUE(changed->indication);
}

TEST(Schema, MonitoredClassesOfTheStandardSchemaAreThere) {
  const ClassRepository schema = ourSchema();
  for (const char* name :
       {"CIM_Sensor", "CIM_PhysicalMemory", "CIM_Processor", "CIM_PowerSupply"}) {
    const ClassDefinition* c = schema.find(name);
    ASSERT_NE(c, nullptr) << name;
    ASSERT_NE(c->property("HealthState"), nullptr) << name;
    EXPECT_EQ(c->property("HealthState")->type, CMPI_uint16) << name;
  }
}

}  // namespace
}  // namespace orv::broker
