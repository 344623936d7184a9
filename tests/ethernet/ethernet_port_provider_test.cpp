#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/nodemgr_exception.h"
#include "tests/ethernet/ethernet_fixture.h"

namespace EthernetProvider {
namespace {

using orv::broker::ObjectPath;
using orv::broker::Value;
using orv::test::HostFault;
using orv::test::objectPath;
using orv::test::PortFacts;
using orv::test::portNamed;
using testing::ElementsAre;
using testing::IsEmpty;

class EthernetProviderTest : public EthernetTest {
 protected:
  EthernetProviderTest() { network_.ports = {portNamed("nic0"), portNamed("nic1")}; }

  ObjectPath associationPathOf(const PortAssociation& row, const std::string& deviceName) {
    ObjectPath path = objectPath(row.className);
    path.keys.push_back({row.portRole, Value::ofReference(portPathOf(deviceName))});
    path.keys.push_back(
        {row.satelliteRole, Value::ofReference(satellitePathOf(row.satelliteClass, deviceName))});
    return path;
  }

  /// A path that names the device for a request of one instance of the class.
  ObjectPath pathOf(const std::string& className, const std::string& deviceName) {
    for (const PortAssociation& row : portAssociations()) {
      if (className == row.className) return associationPathOf(row, deviceName);
    }
    return className == "Orvane_EthernetPort" ? portPathOf(deviceName)
                                              : satellitePathOf(className, deviceName);
  }

  void expectAllReleased() {
    EXPECT_EQ(network_.alivePorts, 0);
    EXPECT_EQ(network_.aliveNetworkInfos, 0);
  }
};

TEST_F(EthernetProviderTest, NamesOfPortsCarryFourKeys) {
  const Answer answer = enumNames(objectPath("Orvane_EthernetPort"));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.message, std::nullopt);
  EXPECT_THAT(answer.paths, ElementsAre(portPathOf("nic0"), portPathOf("nic1")));
  EXPECT_EQ(answer.doneCount, 1);
}

TEST_F(EthernetProviderTest, NamesOfSatellitesCarryTheirInstanceId) {
  for (const PortAssociation& row : portAssociations()) {
    const char* const className = row.satelliteClass;
    const Answer answer = enumNames(objectPath(className));
    EXPECT_EQ(answer.rc, CMPI_RC_OK);
    EXPECT_THAT(answer.paths, ElementsAre(satellitePathOf(className, "nic0"),
                                          satellitePathOf(className, "nic1")));
    EXPECT_EQ(answer.doneCount, 1);
  }
}

TEST_F(EthernetProviderTest, NamesOfAssociationsCarryBothReferences) {
  for (const PortAssociation& row : portAssociations()) {
    const Answer answer = enumNames(objectPath(row.className));
    EXPECT_EQ(answer.rc, CMPI_RC_OK);
    EXPECT_THAT(answer.paths,
                ElementsAre(associationPathOf(row, "nic0"), associationPathOf(row, "nic1")));
    EXPECT_EQ(answer.doneCount, 1);
  }
}

TEST_F(EthernetProviderTest, PathsAreInTheRequestsNamespaceReferencesIncluded) {
  const Answer answer = enumNames(objectPath("Orvane_EPStatistics", {}, "root/elsewhere"));
  ASSERT_EQ(answer.paths.size(), 2u);
  EXPECT_EQ(answer.paths[0].nameSpace, "root/elsewhere");
  EXPECT_EQ(answer.paths[0].key("Element")->reference().nameSpace, "root/elsewhere");
  EXPECT_EQ(answer.paths[0].key("Stats")->reference().nameSpace, "root/elsewhere");
}

TEST_F(EthernetProviderTest, ClassNamesCountWithoutRegardToCase) {
  for (std::string name : allClasses()) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    EXPECT_EQ(enumNames(objectPath(name)).paths.size(), 2u) << name;
    EXPECT_EQ(enumInstances(objectPath(name)).instances.size(), 2u) << name;
  }
  EXPECT_EQ(getInstance(objectPath("ORVANE_ETHERNETPORT", {{"DeviceID", "nic0"}})).instances.size(),
            1u);
}

TEST_F(EthernetProviderTest, ClassThatIsNotServedIsInvalidWithoutMessageOrDone) {
  for (const char* name : {"CIM_EthernetPort", "Orvane_Processor", "Orvane_EthernetPortX", ""}) {
    for (const Answer& answer : {enumNames(objectPath(name)), enumInstances(objectPath(name))}) {
      EXPECT_EQ(answer.rc, CMPI_RC_ERR_INVALID_CLASS) << name;
      EXPECT_EQ(answer.message, std::nullopt);
      EXPECT_EQ(answer.doneCount, 0);
      EXPECT_THAT(answer.instances, IsEmpty());
      EXPECT_THAT(answer.paths, IsEmpty());
    }
  }
  expectAllReleased();
}

TEST_F(EthernetProviderTest, HostWithoutPortsSucceedsEmptyForAnyClass) {
  network_.ports.clear();
  std::vector<std::string> classes = allClasses();
  classes.insert(classes.end(), {"CIM_NotServed", ""});
  for (const std::string& name : classes) {
    for (const Answer& answer : {enumNames(objectPath(name)), enumInstances(objectPath(name))}) {
      EXPECT_EQ(answer.rc, CMPI_RC_OK) << name;
      EXPECT_EQ(answer.doneCount, 1) << name;
      EXPECT_THAT(answer.instances, IsEmpty());
      EXPECT_THAT(answer.paths, IsEmpty());
    }
  }
}

TEST_F(EthernetProviderTest, HostWithoutPortsGetsNothingOfAnyClass) {
  network_.ports.clear();
  for (const ObjectPath& path : {portPathOf("nic0"), objectPath("CIM_NotServed"), objectPath("")}) {
    const Answer answer = getInstance(path);
    EXPECT_EQ(answer.rc, CMPI_RC_OK) << path.className;
    EXPECT_EQ(answer.message, std::nullopt) << path.className;
    EXPECT_EQ(answer.doneCount, 1) << path.className;
    EXPECT_THAT(answer.instances, IsEmpty()) << path.className;
  }
  expectAllReleased();
}

TEST_F(EthernetProviderTest, InstanceOfAPortThatIsNotThereIsOkAndEmpty) {
  for (const std::string& name : allClasses()) {
    const Answer answer = getInstance(pathOf(name, "nic9"));
    EXPECT_EQ(answer.rc, CMPI_RC_OK) << name;
    EXPECT_EQ(answer.message, std::nullopt) << name;
    EXPECT_EQ(answer.doneCount, 1) << name;
    EXPECT_THAT(answer.instances, IsEmpty()) << name;
  }
}

TEST_F(EthernetProviderTest, PortInstancesHaveTheirKeysFirst) {
  const Answer answer = enumInstances(objectPath("Orvane_EthernetPort"));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  ASSERT_EQ(answer.instances.size(), 2u);
  EXPECT_EQ(answer.instances[0].path, portPathOf("nic0"));
  EXPECT_EQ(answer.instances[1].path, portPathOf("nic1"));
  const auto& order = answer.instances[0].setOrder;
  ASSERT_GE(order.size(), 5u);
  EXPECT_EQ(std::vector<std::string>(order.begin(), order.begin() + 5),
            (std::vector<std::string>{"SystemCreationClassName", "SystemName", "CreationClassName",
                                      "DeviceID", "Name"}));
}

TEST_F(EthernetProviderTest, PortWhoseSettingsCannotBeReadKeepsItsKeysOnly) {
  network_.ports[0].faults["GetLinkSettings"] = HostFault::kNodemgr;
  const Answer answer = enumInstances(objectPath("Orvane_EthernetPort"));
  ASSERT_EQ(answer.instances.size(), 2u);
  EXPECT_EQ(answer.instances[0].path, portPathOf("nic0"));
  EXPECT_EQ(answer.instances[0].setOrder.size(), 4u);
  EXPECT_GT(answer.instances[1].setOrder.size(), 4u);
}

TEST_F(EthernetProviderTest, SatelliteInstancesHaveTheirInstanceIdFirst) {
  for (const PortAssociation& row : portAssociations()) {
    const char* const className = row.satelliteClass;
    const Answer answer = enumInstances(objectPath(className));
    EXPECT_EQ(answer.rc, CMPI_RC_OK);
    EXPECT_EQ(answer.doneCount, 1);
    ASSERT_EQ(answer.instances.size(), 2u) << className;
    EXPECT_EQ(answer.instances[1].path, satellitePathOf(className, "nic1"));
    ASSERT_GT(answer.instances[0].setOrder.size(), 1u) << className;
    EXPECT_EQ(answer.instances[0].setOrder[0], "InstanceID");
  }
}

TEST_F(EthernetProviderTest, EachSatelliteClassHasItsOwnFill) {
  network_.ports[0].driver = {"e5", "2.1", "7", ""};
  network_.ports[0].statistics.packetsTx = 5;
  network_.ports[0].coalesce.rxUsecs = 6;
  const auto value = [&](const char* className, const char* property) {
    return *enumInstances(objectPath(className)).instances.at(0).property(property);
  };
  EXPECT_EQ(value("Orvane_EPDriverSoftwareIdentity", "VersionString"),
            Value::ofString("e5 driver 2.1"));
  EXPECT_EQ(value("Orvane_EPFirmwareSoftwareIdentity", "VersionString"),
            Value::ofString("e5 device firmware 7"));
  EXPECT_EQ(value("Orvane_EPStatisticalInformation", "packetsTx"),
            Value::ofUnsigned(CMPI_uint64, 5));
  EXPECT_EQ(value("Orvane_EPCoalesceSettingData", "rxUsecs"), Value::ofUnsigned(CMPI_uint32, 6));
}

TEST_F(EthernetProviderTest, SatelliteWhoseQueryFailsKeepsItsKeyOnly) {
  const auto fail = [&](const auto&... call) {
    (network_.ports[0].faults.insert({call.name, HostFault::kNodemgr}), ...);
  };
  std::apply(fail, Nodemgr::Network::kRecordCalls);
  for (const PortAssociation& row : portAssociations()) {
    const char* const className = row.satelliteClass;
    const Answer answer = enumInstances(objectPath(className));
    EXPECT_EQ(answer.rc, CMPI_RC_OK);
    ASSERT_EQ(answer.instances.size(), 2u);
    EXPECT_THAT(answer.instances[0].setOrder, ElementsAre("InstanceID")) << className;
    EXPECT_EQ(answer.instances[0].path, satellitePathOf(className, "nic0"));
  }
}

TEST_F(EthernetProviderTest, AssociationInstancesHaveTwoReferencesAndForSoftwareAStatus) {
  const Value current = Value::ofArray(CMPI_uint16, {Value::ofUnsigned(CMPI_uint16, 2)});
  for (const PortAssociation& row : portAssociations()) {
    const Answer answer = enumInstances(objectPath(row.className));
    EXPECT_EQ(answer.rc, CMPI_RC_OK);
    EXPECT_EQ(answer.doneCount, 1);
    ASSERT_EQ(answer.instances.size(), 2u);
    const Instance& association = answer.instances[1];
    EXPECT_EQ(*association.property(row.portRole), Value::ofReference(portPathOf("nic1")));
    EXPECT_EQ(*association.property(row.satelliteRole),
              Value::ofReference(satellitePathOf(row.satelliteClass, "nic1")));
    std::vector<std::string> order = {row.portRole, row.satelliteRole};
    if (std::string(row.portRole) == "Dependent") {
      order.emplace_back("ElementSoftwareStatus");
      EXPECT_EQ(*association.property("ElementSoftwareStatus"), current);
    }
    EXPECT_EQ(association.setOrder, order) << row.className;
  }
}

TEST_F(EthernetProviderTest, PropertyListFiltersPortsOnly) {
  const char* properties[] = {"Speed", nullptr};
  const Answer ports = enumInstances(objectPath("Orvane_EthernetPort"), properties);
  ASSERT_EQ(ports.instances.size(), 2u);
  EXPECT_NE(ports.instances[0].property("Speed"), nullptr);
  EXPECT_EQ(ports.instances[0].property("Name"), nullptr);
  EXPECT_EQ(ports.instances[0].path, portPathOf("nic0"));

  const Answer statistics =
      enumInstances(objectPath("Orvane_EPStatisticalInformation"), properties);
  EXPECT_NE(statistics.instances.at(0).property("packetsTx"), nullptr);
  const Answer association = enumInstances(objectPath("Orvane_EPStatistics"), properties);
  EXPECT_NE(association.instances.at(0).property("Stats"), nullptr);
  const Answer one =
      getInstance(satellitePathOf("Orvane_EPStatisticalInformation", "nic0"), properties);
  EXPECT_NE(one.instances.at(0).property("packetsTx"), nullptr);
}

TEST_F(EthernetProviderTest, OneInstanceIsThatOfTheEnumeration) {
  for (const std::string& name : allClasses()) {
    const Answer all = enumInstances(objectPath(name));
    const Answer one = getInstance(pathOf(name, "nic1"));
    EXPECT_EQ(one.rc, CMPI_RC_OK);
    EXPECT_EQ(one.doneCount, 1);
    ASSERT_EQ(one.instances.size(), 1u) << name;
    EXPECT_EQ(one.instances[0], all.instances.at(1)) << name;
    EXPECT_EQ(one.instances[0].setOrder, all.instances.at(1).setOrder) << name;
  }
}

TEST_F(EthernetProviderTest, OneInstanceAsksForThatPortOnly) {
  getInstance(portPathOf("nic1"));
  EXPECT_THAT(network_.namesAsked, ElementsAre("nic1"));
  EXPECT_EQ(network_.lists, 0);
  EXPECT_EQ(network_.networkInfos, 1);
}

TEST_F(EthernetProviderTest, PortNeedsItsDeviceIdOnly) {
  EXPECT_EQ(getInstance(objectPath("Orvane_EthernetPort", {{"DeviceID", "nic1"}})).instances.size(),
            1u);
}

TEST_F(EthernetProviderTest, PortWithoutDeviceIdIsNotFound) {
  for (const ObjectPath& path :
       {objectPath("Orvane_EthernetPort"), objectPath("Orvane_EthernetPort", {{"DeviceID", ""}}),
        objectPath("Orvane_EthernetPort", {{"Name", "nic0"}})}) {
    const Answer answer = getInstance(path);
    EXPECT_EQ(answer.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(answer.message, "Specified DeviceID is not found");
    EXPECT_EQ(answer.doneCount, 0);
  }
  EXPECT_EQ(network_.networkInfos, 0);
}

TEST_F(EthernetProviderTest, SatelliteWithoutUsableInstanceIdIsAnInvalidParameter) {
  for (const PortAssociation& row : portAssociations()) {
    const char* const className = row.satelliteClass;
    for (const ObjectPath& path :
         {objectPath(className), objectPath(className, {{"InstanceID", ""}}),
          objectPath(className, {{"InstanceID", "nic0"}}),
          objectPath(className, {{"DeviceID", "nic0"}})}) {
      const Answer answer = getInstance(path);
      EXPECT_EQ(answer.rc, CMPI_RC_ERR_INVALID_PARAMETER);
      EXPECT_EQ(answer.message, "DeviceID specified is not valid");
      EXPECT_EQ(answer.doneCount, 0);
    }
  }
  EXPECT_EQ(network_.networkInfos, 0);
}

TEST_F(EthernetProviderTest, OnlyTheTextAfterTheLastColonOfAnInstanceIdCounts) {
  network_.ports.push_back(portNamed("nic7"));
  const Answer answer =
      getInstance(objectPath("Orvane_EPStatisticalInformation", {{"InstanceID", "x:y:nic7"}}));
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(answer.instances[0].path, satellitePathOf("Orvane_EPStatisticalInformation", "nic7"));
}

TEST_F(EthernetProviderTest, InstanceIdOfAnotherSatelliteSelectsThePortAllTheSame) {
  const Answer answer =
      getInstance(objectPath("Orvane_EPCoalesceSettingData",
                             {{"InstanceID", "Orvane:Orvane_EPStatisticalInformation:nic1"}}));
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(answer.instances[0].path, satellitePathOf("Orvane_EPCoalesceSettingData", "nic1"));
}

TEST_F(EthernetProviderTest, SatellitesLongDeviceNameIsCutThePortsIsNot) {
  const std::string longName(200, 'n');
  getInstance(objectPath("Orvane_EPStatisticalInformation", {{"InstanceID", "a:" + longName}}));
  getInstance(objectPath("Orvane_EthernetPort", {{"DeviceID", longName}}));
  getInstance(pathOf("Orvane_EPStatistics", longName));
  EXPECT_THAT(network_.namesAsked, ElementsAre(std::string(127, 'n'), longName, longName));
}

TEST_F(EthernetProviderTest, LongNamesAreServedWhole) {
  const std::string longName(200, 'n');
  network_.ports = {portNamed(longName)};
  for (const std::string& name : allClasses()) {
    EXPECT_THAT(enumNames(objectPath(name)).paths, ElementsAre(pathOf(name, longName))) << name;
    EXPECT_EQ(enumInstances(objectPath(name)).instances.size(), 1u) << name;
  }
}

TEST_F(EthernetProviderTest, InstanceIdThatEndsInAColonAsksForTheEmptyName) {
  const Answer answer =
      getInstance(objectPath("Orvane_EPStatisticalInformation", {{"InstanceID", "Orvane:x:"}}));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  EXPECT_THAT(network_.namesAsked, ElementsAre(""));
}

TEST_F(EthernetProviderTest, AssociationWithoutThePortsDeviceIdIsAnInvalidParameter) {
  for (const PortAssociation& row : portAssociations()) {
    ObjectPath onlySatellite = objectPath(row.className);
    onlySatellite.keys.push_back(
        {row.satelliteRole, Value::ofReference(satellitePathOf(row.satelliteClass, "nic0"))});
    ObjectPath portWithoutId = objectPath(row.className);
    portWithoutId.keys.push_back(
        {row.portRole, Value::ofReference(objectPath("Orvane_EthernetPort"))});
    ObjectPath textForReference = objectPath(row.className, {{row.portRole, "nic0"}});
    for (const ObjectPath& path :
         {objectPath(row.className), onlySatellite, portWithoutId, textForReference}) {
      const Answer answer = getInstance(path);
      EXPECT_EQ(answer.rc, CMPI_RC_ERR_INVALID_PARAMETER) << row.className;
      EXPECT_EQ(answer.message, "DeviceID specified is not valid");
      EXPECT_EQ(answer.doneCount, 0);
    }
  }
}

TEST_F(EthernetProviderTest, AssociationsSatelliteReferenceIsNotRead) {
  for (const PortAssociation& row : portAssociations()) {
    ObjectPath path = objectPath(row.className);
    path.keys.push_back({row.portRole, Value::ofReference(portPathOf("nic0"))});
    path.keys.push_back(
        {row.satelliteRole, Value::ofReference(satellitePathOf(row.satelliteClass, "nic1"))});
    const Answer answer = getInstance(path);
    ASSERT_EQ(answer.instances.size(), 1u);
    EXPECT_EQ(*answer.instances[0].property(row.satelliteRole),
              Value::ofReference(satellitePathOf(row.satelliteClass, "nic0")));
  }
}

TEST_F(EthernetProviderTest, InstanceOfAClassThatIsNotServedIsNotFound) {
  const Answer answer = getInstance(objectPath("CIM_EthernetPort", {{"DeviceID", "nic0"}}));
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(answer.message, "DeviceID specified is not valid");
  EXPECT_EQ(answer.doneCount, 0);
  expectAllReleased();
}

TEST_F(EthernetProviderTest, InstanceOfAClassThatIsNotServedIsNotFoundOnAHostThatFails) {
  for (const HostFault fault : {HostFault::kNodemgr, HostFault::kOther}) {
    network_.listFault = fault;
    const Answer answer = getInstance(objectPath("CIM_NotServed"));
    EXPECT_EQ(answer.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(answer.message, "DeviceID specified is not valid");
    EXPECT_EQ(answer.doneCount, 0);
  }
}

void expectFetchFailed(const orv::test::Answer& answer) {
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(answer.message, "Failed to get pnics information");
  EXPECT_EQ(answer.doneCount, 0);
  EXPECT_THAT(answer.instances, IsEmpty());
  EXPECT_THAT(answer.paths, IsEmpty());
}

TEST_F(EthernetProviderTest, HostFailureWhileFetchingIsAStatus) {
  network_.listFault = HostFault::kNodemgr;
  network_.byNameFault = HostFault::kNodemgr;
  expectFetchFailed(enumNames(objectPath("Orvane_EthernetPort")));
  expectFetchFailed(enumInstances(objectPath("Orvane_EthernetPort")));
  expectFetchFailed(getInstance(portPathOf("nic0")));
  // Fetching comes before the look at the class.
  expectFetchFailed(enumNames(objectPath("CIM_NotServed")));
  expectFetchFailed(enumInstances(objectPath("CIM_NotServed")));
  expectAllReleased();
}

TEST_F(EthernetProviderTest, HostFailureOfTheLibrarysObjectIsTheSameStatus) {
  network_.constructorFault = HostFault::kNodemgr;
  expectFetchFailed(enumNames(objectPath("Orvane_EthernetPort")));
  expectFetchFailed(enumInstances(objectPath("Orvane_EthernetPort")));
  expectFetchFailed(getInstance(portPathOf("nic0")));
  expectAllReleased();
}

TEST_F(EthernetProviderTest, OtherExceptionsWhileFetchingPass) {
  network_.listFault = HostFault::kOther;
  network_.byNameFault = HostFault::kOther;
  EXPECT_THROW(enumNames(objectPath("Orvane_EthernetPort")), std::runtime_error);
  EXPECT_THROW(enumInstances(objectPath("Orvane_EthernetPort")), std::runtime_error);
  EXPECT_THROW(getInstance(portPathOf("nic0")), std::runtime_error);
  expectAllReleased();
}

TEST_F(EthernetProviderTest, AccessorsExceptionPassesAfterThePortsAreReleased) {
  network_.ports[1].faults["GetMtu"] = HostFault::kNodemgr;
  EXPECT_THROW(enumInstances(objectPath("Orvane_EthernetPort")), Nodemgr::Lib::NodemgrException);
  expectAllReleased();
  network_.ports[1].faults["GetMtu"] = HostFault::kOther;
  EXPECT_THROW(enumInstances(objectPath("Orvane_EthernetPort")), std::runtime_error);
  expectAllReleased();
}

TEST_F(EthernetProviderTest, FailingNamePassesFromEveryEnumeration) {
  network_.ports[0].faults["GetName"] = HostFault::kNodemgr;
  for (const std::string& name : allClasses()) {
    EXPECT_THROW(enumNames(objectPath(name)), Nodemgr::Lib::NodemgrException) << name;
    EXPECT_THROW(enumInstances(objectPath(name)), Nodemgr::Lib::NodemgrException) << name;
  }
  expectAllReleased();
}

TEST_F(EthernetProviderTest, WhatWasReturnedBeforeAFailureStaysReturned) {
  network_.ports[1].faults["GetMtu"] = HostFault::kOther;
  orv::broker::RecordingResult record(scope_.scope());
  CmpiResult result(record.record());
  EXPECT_THROW(provider_->enumInstances(scope_.context(), result,
                                        scope_.path(objectPath("Orvane_EthernetPort")), nullptr),
               std::runtime_error);
  EXPECT_EQ(record.instances().size(), 1u);
  EXPECT_EQ(record.doneCount(), 0);
}

TEST_F(EthernetProviderTest, EveryRequestReadsTheHostAfresh) {
  enumNames(objectPath("Orvane_EthernetPort"));
  network_.ports.pop_back();
  EXPECT_EQ(enumNames(objectPath("Orvane_EthernetPort")).paths.size(), 1u);
  EXPECT_EQ(network_.networkInfos, 2);
  EXPECT_EQ(network_.lists, 2);
  expectAllReleased();
}

TEST_F(EthernetProviderTest, PortThatVanishesBetweenTwoRequestsIsGone) {
  EXPECT_EQ(getInstance(portPathOf("nic1")).instances.size(), 1u);
  network_.ports.pop_back();
  const Answer answer = getInstance(portPathOf("nic1"));
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  EXPECT_THAT(answer.instances, IsEmpty());
}

TEST_F(EthernetProviderTest, SystemNameIsAskedForOnceInARequestAndNotForSatellites) {
  enumInstances(objectPath("Orvane_EthernetPort"));
  EXPECT_EQ(network_.systemNames, 1);
  enumNames(objectPath("Orvane_EPStatistics"));
  EXPECT_EQ(network_.systemNames, 2);
  enumInstances(objectPath("Orvane_EPStatisticalInformation"));
  EXPECT_EQ(network_.systemNames, 2);
}

TEST_F(EthernetProviderTest, ChangesAreNotSupportedWhateverThePath) {
  std::vector<std::string> classes = allClasses();
  classes.emplace_back("CIM_NotServed");
  for (const std::string& name : classes) {
    const CmpiObjectPath path = scope_.path(objectPath(name));
    const CmpiInstance instance(path);
    const Answer answers[] = {
        scope_.run([&](const CmpiContext& context, CmpiResult& result) {
          return provider_->createInstance(context, result, path, instance);
        }),
        scope_.run([&](const CmpiContext& context, CmpiResult& result) {
          return provider_->setInstance(context, result, path, instance, nullptr);
        }),
        scope_.run([&](const CmpiContext& context, CmpiResult& result) {
          return provider_->deleteInstance(context, result, path);
        }),
        scope_.run([&](const CmpiContext& context, CmpiResult& result) {
          return provider_->execQuery(context, result, path, "WQL", "SELECT * FROM X");
        }),
    };
    for (const Answer& answer : answers) {
      EXPECT_EQ(answer.rc, CMPI_RC_ERR_NOT_SUPPORTED) << name;
      EXPECT_EQ(answer.message, std::nullopt) << name;
      EXPECT_EQ(answer.doneCount, 0) << name;
    }
  }
}

}  // namespace
}  // namespace EthernetProvider
