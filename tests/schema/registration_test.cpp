#include "broker/registration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "tests/schema/schema_files.h"

namespace orv::broker {
namespace {

std::vector<RegistrationSection> ourRegistration() {
  return readRegistrationFile(std::string(ORV_SOURCE_DIR) + "/schema/orvprovider.reg");
}

TEST(OurRegistration, EverySectionLoadsTheLibraryIntoOneProcessForGood) {
  for (const RegistrationSection& section : ourRegistration()) {
    EXPECT_EQ(section.location, "orvprovider") << section.className;
    EXPECT_THAT(section.namespaces, testing::ElementsAre("root/cimv2")) << section.className;
    EXPECT_EQ(section.group, "orvane") << section.className;
    EXPECT_TRUE(section.unloadNever) << section.className;
  }
}

TEST(OurRegistration, EveryClassIsInTheSchemaAsTheKindThatItIsRegisteredAs) {
  const ClassRepository schema = ourSchema();
  for (const RegistrationSection& section : ourRegistration()) {
    const ClassDefinition* c = schema.find(section.className);
    ASSERT_NE(c, nullptr) << section.className;
    EXPECT_EQ(c->association, section.association) << section.className;
    EXPECT_EQ(c->indication, section.indication) << section.className;
  }
}

TEST(OurRegistration, AClassHasOneSection) {
  std::set<std::string> seen;
  for (const RegistrationSection& section : ourRegistration()) {
    EXPECT_TRUE(seen.insert(section.className).second) << section.className;
  }
}

TEST(OurRegistration, OnlyLeavesAreRegistered) {
  const ClassRepository schema = ourSchema();
  for (const RegistrationSection& section : ourRegistration()) {
    EXPECT_TRUE(schema.subclasses(section.className, true).empty()) << section.className;
  }
}

TEST(OurRegistration, AsksForExactlyTheLibrarysFactories) {
  std::set<std::string> factories;
  for (const RegistrationSection& section : ourRegistration()) {
    if (section.instance) factories.insert(section.provider + "_Create_InstanceMI");
    if (section.association) factories.insert(section.provider + "_Create_AssociationMI");
    if (section.indication) factories.insert(section.provider + "_Create_IndicationMI");
    EXPECT_FALSE(section.method) << section.className;
  }
  EXPECT_THAT(
      factories,
      testing::UnorderedElementsAre(
          "EthernetPortProvider_Create_InstanceMI", "EthernetPortProvider_Create_AssociationMI",
          "KernelIPProtocolEndpointProvider_Create_InstanceMI",
          "Orvane_CIMHeartbeat_Create_IndicationMI", "Orvane_LatchedHealthState_Create_InstanceMI",
          "Orvane_LatchedHealthAssociation_Create_AssociationMI",
          "Orvane_KernelIPChangedIndication_Create_IndicationMI",
          "HypervisorSoftwareIdentity_Create_InstanceMI",
          "OrvaneProcessorProvider_Create_InstanceMI",
          "OrvaneInstalledSoftwareIdentity_Create_InstanceMI",
          "OrvaneInstalledSoftwareIdentity_Create_AssociationMI"));
}

// ---- The second library ----

TEST(HostRegistration, EverySectionLoadsTheLibraryIntoAProcessOfItsOwnForGood) {
  const ClassRepository schema = ourSchema();
  const auto sections =
      readRegistrationFile(std::string(ORV_SOURCE_DIR) + "/schema/host/orvhost.reg");
  std::set<std::string> seen;
  for (const RegistrationSection& section : sections) {
    EXPECT_TRUE(seen.insert(section.className).second) << section.className;
    EXPECT_EQ(section.location, "orvhost") << section.className;
    EXPECT_EQ(section.group, "orvane") << section.className;
    EXPECT_TRUE(section.unloadNever) << section.className;
    EXPECT_TRUE(section.instance) << section.className;
    const ClassDefinition* c = schema.find(section.className);
    ASSERT_NE(c, nullptr) << section.className;
    EXPECT_EQ(c->association, section.association) << section.className;
    EXPECT_TRUE(schema.subclasses(section.className, true).empty()) << section.className;
  }
}

TEST(BothRegistrations, LeaveOutNoClassOfOurs) {
  std::set<std::string> registered;
  for (const char* file : {"/schema/orvprovider.reg", "/schema/host/orvhost.reg"}) {
    for (const auto& section : readRegistrationFile(std::string(ORV_SOURCE_DIR) + file)) {
      registered.insert(section.className);
    }
  }
  EXPECT_EQ(registered.count("OMC_UnitaryComputerSystem"), 1u);
  const ClassRepository schema = ourSchema();
  for (const ClassDefinition* c : schema.all()) {
    const bool leaf = schema.subclasses(c->name, true).empty();
    if (c->name.rfind("Orvane_", 0) != 0 || !leaf) continue;
    EXPECT_EQ(registered.count(c->name), 1u) << c->name;
  }
}

}  // namespace
}  // namespace orv::broker
