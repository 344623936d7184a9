#include "ethernet/port_paths.h"

#include <gtest/gtest.h>

#include "cmpi/cmpi_status.h"
#include "tests/support/provider_scope.h"

namespace EthernetProvider {
namespace {

using orv::broker::RequestScope;
using orv::broker::Value;
using orv::test::objectPath;
using orv::test::ProviderScope;

class PortPaths : public testing::Test {
 protected:
  CmpiObjectPath satelliteWithId(const std::string& id) {
    return scope_.path(objectPath("Orvane_EPStatisticalInformation", {{"InstanceID", id}}));
  }
  CmpiObjectPath withKey(const std::string& className, const std::string& name, Value value) {
    auto plain = objectPath(className);
    plain.keys.push_back({name, std::move(value)});
    return scope_.path(plain);
  }

  ProviderScope scope_;
};

TEST_F(PortPaths, PortHasFourTextKeys) {
  const CmpiObjectPath path =
      portPath(CmpiString("root/other"), "nic0", ScopingKeys{"OMC_System", "host-7"});
  EXPECT_EQ(RequestScope::copy(path.getEnc()),
            objectPath("Orvane_EthernetPort",
                       {{"DeviceID", "nic0"},
                        {"SystemCreationClassName", "OMC_System"},
                        {"SystemName", "host-7"},
                        {"CreationClassName", "Orvane_EthernetPort"}},
                       "root/other"));
}

TEST_F(PortPaths, SatelliteHasItsInstanceIdOnly) {
  const CmpiObjectPath path =
      satellitePath(CmpiString("root/cimv2"), "Orvane_EPDriverSoftwareIdentity", "nic0");
  EXPECT_EQ(RequestScope::copy(path.getEnc()),
            objectPath("Orvane_EPDriverSoftwareIdentity",
                       {{"InstanceID", "Orvane:Orvane_EPDriverSoftwareIdentity:nic0"}}));
}

TEST_F(PortPaths, InstanceIdHasNothingBetweenPrefixAndDevice) {
  EXPECT_EQ(satelliteInstanceId("Orvane_EPCoalesceSettingData", ""),
            "Orvane:Orvane_EPCoalesceSettingData:");
  EXPECT_EQ(satelliteInstanceId("Orvane_EPFirmwareSoftwareIdentity", "eth 0"),
            "Orvane:Orvane_EPFirmwareSoftwareIdentity:eth 0");
}

TEST_F(PortPaths, KeyThatIsAbsentOrNullIsANullString) {
  EXPECT_EQ(getKey(satelliteWithId("a"), "DeviceID").charPtr(), nullptr);
  EXPECT_EQ(
      getKey(withKey("Orvane_EthernetPort", "DeviceID", Value::ofNull(CMPI_string)), "DeviceID")
          .charPtr(),
      nullptr);
}

TEST_F(PortPaths, EmptyKeyIsAnEmptyStringNotANullOne) {
  EXPECT_STREQ(getKey(satelliteWithId(""), "InstanceID").charPtr(), "");
}

TEST_F(PortPaths, KeyOfAnotherTypeIsATypeMismatch) {
  const CmpiObjectPath path =
      withKey("Orvane_EthernetPort", "DeviceID", Value::ofUnsigned(CMPI_uint64, 7));
  try {
    getKey(path, "DeviceID");
    FAIL() << "a number was taken for a text";
  } catch (const CmpiStatus& status) {
    EXPECT_EQ(status.rc(), CMPI_RC_ERR_TYPE_MISMATCH);
  }
}

TEST_F(PortPaths, DeviceNameIsTheTextAfterTheLastColon) {
  EXPECT_EQ(getDeviceName(CmpiString("x:y:nic7")), "nic7");
  EXPECT_EQ(getDeviceName(CmpiString(":nic7")), "nic7");
  EXPECT_EQ(getDeviceName(CmpiString("x:")), "");
}

TEST_F(PortPaths, NoDeviceNameWithoutColonOrText) {
  EXPECT_EQ(getDeviceName(CmpiString("nic7")), std::nullopt);
  EXPECT_EQ(getDeviceName(CmpiString("")), std::nullopt);
  EXPECT_EQ(getDeviceName(CmpiString()), std::nullopt);
}

TEST_F(PortPaths, RequestedSatelliteNameIsCutAfter127Characters) {
  EXPECT_EQ(deviceNameOfSatellite(satelliteWithId("x:" + std::string(127, 'a'))),
            std::string(127, 'a'));
  EXPECT_EQ(deviceNameOfSatellite(satelliteWithId("x:" + std::string(128, 'a'))),
            std::string(127, 'a'));
  EXPECT_EQ(deviceNameOfSatellite(satelliteWithId("x:" + std::string(300, 'a'))),
            std::string(127, 'a'));
}

TEST_F(PortPaths, LengthOfThePrefixDoesNotCountForTheCut) {
  EXPECT_EQ(deviceNameOfSatellite(satelliteWithId(std::string(500, 'p') + ":nic7")), "nic7");
}

TEST_F(PortPaths, AssociationLeadsToThePortsDeviceId) {
  const auto port = objectPath("Orvane_EthernetPort", {{"DeviceID", "nic0"}});
  EXPECT_EQ(deviceNameOfAssociation(
                withKey("Orvane_EPStatistics", "Element", Value::ofReference(port)), "Element"),
            "nic0");
}

TEST_F(PortPaths, AssociationWithoutAReadableReferenceNamesNoPort) {
  EXPECT_EQ(deviceNameOfAssociation(withKey("Orvane_EPStatistics", "Stats", Value::ofString("a")),
                                    "Element"),
            "");
  EXPECT_EQ(deviceNameOfAssociation(
                withKey("Orvane_EPStatistics", "Element", Value::ofString("nic0")), "Element"),
            "");
  EXPECT_EQ(deviceNameOfAssociation(
                withKey("Orvane_EPStatistics", "Element", Value::ofNull(CMPI_ref)), "Element"),
            "");
}

TEST_F(PortPaths, AssociationToAPortWithoutDeviceIdNamesNoPort) {
  const auto port = objectPath("Orvane_EthernetPort", {{"SystemName", "h"}});
  EXPECT_EQ(deviceNameOfAssociation(
                withKey("Orvane_EPStatistics", "Element", Value::ofReference(port)), "Element"),
            "");
}

}  // namespace
}  // namespace EthernetProvider
