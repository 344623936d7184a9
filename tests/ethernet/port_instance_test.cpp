#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/nodemgr_exception.h"
#include "tests/ethernet/ethernet_fixture.h"

namespace EthernetProvider {
namespace {

using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkSpeed;
using Nodemgr::Network::PciLocation;
using Nodemgr::Network::PnicPortMode;
using Nodemgr::Network::TransceiverMode;
using Nodemgr::Network::WakeOnMode;
using orv::broker::Value;
using orv::test::HostFault;
using orv::test::PortFacts;
using orv::test::portNamed;
using testing::ElementsAre;
using testing::IsEmpty;

Value numbers(std::initializer_list<std::uint64_t> values) {
  Value::Array elements;
  for (const std::uint64_t value : values) {
    elements.push_back(Value::ofUnsigned(CMPI_uint16, value));
  }
  return Value::ofArray(CMPI_uint16, elements);
}

Value texts(std::initializer_list<const char*> values) {
  Value::Array elements;
  for (const char* value : values) elements.push_back(Value::ofString(value));
  return Value::ofArray(CMPI_string, elements);
}

/// Everything set, every value another one.
PortFacts fullPort() {
  PortFacts facts = portNamed("nic0");
  facts.duplex = Duplex::kFull;
  facts.linkUp = true;
  facts.enabled = true;
  facts.linkSpeed = 10000;
  facts.mac = {0x02, 0x1a, 0x2b, 0xab, 0xcd, 0xef};
  facts.capabilitySupported = true;
  facts.capabilityEnabled = true;
  facts.mtu = 9000;
  facts.pci = PciLocation{0, 3, 0, 1, 0x8086, 0x10fb};
  facts.settings.supportedPorts = {PnicPortMode::kFibre, PnicPortMode::kTwistedPair,
                                   PnicPortMode{9}};
  facts.settings.supportedLinkModes = {{LinkSpeed{1000}, Duplex::kFull},
                                       {LinkSpeed{0}, Duplex::kAuto},
                                       {LinkSpeed{40000}, Duplex::kFull}};
  facts.settings.autoNegotiation = 1;
  facts.settings.advertisedLinkModes = {{LinkSpeed{10000}, Duplex::kHalf}};
  facts.settings.advertisedAutoNegotiation = true;
  facts.settings.linkMode = {LinkSpeed{10000}, Duplex::kFull};
  facts.settings.portMode = PnicPortMode::kFibre;
  facts.settings.phyAddress = 0x80000001;
  facts.settings.transceiver = TransceiverMode::kExternal;
  facts.settings.wolSupported = {WakeOnMode{1}, WakeOnMode{7}, WakeOnMode{9}};
  facts.settings.wolOptions = {WakeOnMode::kMagic};
  return facts;
}

class PortInstance : public EthernetTest {
 protected:
  Instance filledPort(const PortFacts& facts) {
    return filled("Orvane_EthernetPort", &EthernetPortProvider::fillEPInstance, facts);
  }
  static Value valueOf(const Instance& instance, const char* property) {
    const Value* value = instance.property(property);
    EXPECT_NE(value, nullptr) << property;
    return value == nullptr ? Value() : *value;
  }
};

const std::vector<std::string> kSetOrder = {"Name",
                                            "ElementName",
                                            "PortType",
                                            "AutoSense",
                                            "Caption",
                                            "Speed",
                                            "LinkTechnology",
                                            "PermanentAddress",
                                            "NetworkAddresses",
                                            "RequestedState",
                                            "EnabledState",
                                            "OperationalStatus",
                                            "Capabilities",
                                            "EnabledCapabilities",
                                            "FullDuplex",
                                            "ActiveMaximumTransmissionUnit",
                                            "OtherIdentifyingInfo",
                                            "IdentifyingDescriptions",
                                            "SupportedPorts",
                                            "SupportedLinkModes",
                                            "AdvertisedLinkModes",
                                            "AdvertisedAutoNegotiation",
                                            "PhysicalAddress",
                                            "Transceiver",
                                            "WOLSupported",
                                            "WOLOptions"};

TEST_F(PortInstance, PropertiesAreSetInTheirOrder) {
  EXPECT_EQ(filledPort(fullPort()).setOrder, kSetOrder);
}

TEST_F(PortInstance, EveryPropertyHasItsTypeAndValue) {
  const Instance port = filledPort(fullPort());
  const std::pair<const char*, Value> expected[] = {
      {"Name", Value::ofString("nic0")},
      {"ElementName", Value::ofString("nic0")},
      {"PortType", Value::ofUnsigned(CMPI_uint16, 105)},
      {"AutoSense", Value::ofUnsigned(CMPI_uint16, 1)},
      {"Caption", Value::ofString("nic0")},
      {"Speed", Value::ofUnsigned(CMPI_uint64, 10'000'000'000)},
      {"LinkTechnology", Value::ofUnsigned(CMPI_uint16, 2)},
      {"PermanentAddress", Value::ofString("021A2BABCDEF")},
      {"NetworkAddresses", texts({"021A2BABCDEF"})},
      {"RequestedState", Value::ofUnsigned(CMPI_uint16, 5)},
      {"EnabledState", Value::ofUnsigned(CMPI_uint16, 2)},
      {"OperationalStatus", numbers({2})},
      {"Capabilities", numbers({5})},
      {"EnabledCapabilities", numbers({5})},
      {"FullDuplex", Value::ofBoolean(true)},
      {"ActiveMaximumTransmissionUnit", Value::ofUnsigned(CMPI_uint64, 9000)},
      {"OtherIdentifyingInfo", texts({"0x03", "0x00", "0x01", "0x8086", "0x10fb", "0x0000"})},
      {"IdentifyingDescriptions",
       texts({"PCI Bus", "PCI Slot", "PCI Function", "PCI Vendor", "PCI DeviceID", "PCI Segment"})},
      {"SupportedPorts", numbers({5, 1, 0})},
      {"SupportedLinkModes", texts({"1000_FULL", "AUTO_AUTO", "_FULL"})},
      {"AdvertisedLinkModes", texts({"10000_HALF"})},
      {"AdvertisedAutoNegotiation", Value::ofBoolean(true)},
      {"PhysicalAddress", Value::ofUnsigned(CMPI_uint32, 0x80000001)},
      {"Transceiver", Value::ofUnsigned(CMPI_uint16, 2)},
      {"WOLSupported", numbers({2, 0, 1})},
      {"WOLOptions", numbers({7})},
  };
  for (const auto& [name, value] : expected) EXPECT_EQ(valueOf(port, name), value) << name;
}

TEST_F(PortInstance, AllZeroPortHasEveryPropertyButThePciOnes) {
  const Instance port = filledPort(portNamed("nic1"));
  std::vector<std::string> expected = kSetOrder;
  expected.erase(std::find(expected.begin(), expected.end(), "OtherIdentifyingInfo"));
  expected.erase(std::find(expected.begin(), expected.end(), "IdentifyingDescriptions"));
  EXPECT_EQ(port.setOrder, expected);
  EXPECT_EQ(valueOf(port, "PortType"), Value::ofUnsigned(CMPI_uint16, 0));
  EXPECT_EQ(valueOf(port, "AutoSense"), Value::ofUnsigned(CMPI_uint16, 0));
  EXPECT_EQ(valueOf(port, "Speed"), Value::ofUnsigned(CMPI_uint64, 0));
  EXPECT_EQ(valueOf(port, "PermanentAddress"), Value::ofString("000000000000"));
  EXPECT_EQ(valueOf(port, "Capabilities"), numbers({0}));
  EXPECT_EQ(valueOf(port, "EnabledCapabilities"), numbers({0}));
  EXPECT_EQ(valueOf(port, "FullDuplex"), Value::ofBoolean(false));
  EXPECT_EQ(valueOf(port, "AdvertisedAutoNegotiation"), Value::ofBoolean(false));
  EXPECT_EQ(valueOf(port, "Transceiver"), Value::ofUnsigned(CMPI_uint16, 1));
}

TEST_F(PortInstance, EmptyHostListsAreEmptyArraysNotMissingOnes) {
  const Instance port = filledPort(portNamed("nic1"));
  for (const char* name : {"SupportedPorts", "WOLSupported", "WOLOptions"}) {
    EXPECT_EQ(valueOf(port, name), numbers({})) << name;
  }
  for (const char* name : {"SupportedLinkModes", "AdvertisedLinkModes"}) {
    EXPECT_EQ(valueOf(port, name), texts({})) << name;
  }
}

TEST_F(PortInstance, SpeedIsMultipliedInSixtyFourBits) {
  PortFacts facts = portNamed("nic0");
  facts.linkSpeed = 0xffffffff;
  EXPECT_EQ(valueOf(filledPort(facts), "Speed"),
            Value::ofUnsigned(CMPI_uint64, 4294967295ULL * 1000000));
}

TEST_F(PortInstance, MtuIsWidened) {
  PortFacts facts = portNamed("nic0");
  facts.mtu = 0xffffffff;
  EXPECT_EQ(valueOf(filledPort(facts), "ActiveMaximumTransmissionUnit"),
            Value::ofUnsigned(CMPI_uint64, 4294967295));
}

TEST_F(PortInstance, AutoSenseIsTheHostsNumber) {
  PortFacts facts = portNamed("nic0");
  facts.settings.autoNegotiation = 1;
  EXPECT_EQ(valueOf(filledPort(facts), "AutoSense"), Value::ofUnsigned(CMPI_uint16, 1));
}

TEST_F(PortInstance, PortTypeTakesTheSettingsSpeedNotTheCurrentOne) {
  PortFacts facts = portNamed("nic0");
  facts.linkSpeed = 1000;
  facts.settings.linkMode = {LinkSpeed{2500}, Duplex::kFull};
  EXPECT_EQ(valueOf(filledPort(facts), "PortType"), Value::ofUnsigned(CMPI_uint16, 54));
}

TEST_F(PortInstance, TwistedPairAtAnUnlistedSpeedHasNoPortType) {
  PortFacts facts = portNamed("nic0");
  facts.settings.linkMode = {LinkSpeed{25000}, Duplex::kFull};
  EXPECT_EQ(valueOf(filledPort(facts), "PortType"), Value::ofUnsigned(CMPI_uint16, 0));
}

TEST_F(PortInstance, OnlyFullIsFullDuplex) {
  for (std::uint32_t duplex : {0u, 2u, 3u}) {
    PortFacts facts = portNamed("nic0");
    facts.duplex = Duplex{duplex};
    EXPECT_EQ(valueOf(filledPort(facts), "FullDuplex"), Value::ofBoolean(false)) << duplex;
  }
}

TEST_F(PortInstance, EnabledWithoutLinkIsOffline) {
  PortFacts facts = portNamed("nic0");
  facts.enabled = true;
  const Instance port = filledPort(facts);
  EXPECT_EQ(valueOf(port, "EnabledState"), Value::ofUnsigned(CMPI_uint16, 6));
  EXPECT_EQ(valueOf(port, "OperationalStatus"), numbers({10}));
}

TEST_F(PortInstance, DisabledPortsLinkIsNotRead) {
  PortFacts facts = portNamed("nic0");
  facts.linkUp = true;
  const Instance port = filledPort(facts);
  EXPECT_EQ(valueOf(port, "EnabledState"), Value::ofUnsigned(CMPI_uint16, 3));
  EXPECT_EQ(valueOf(port, "OperationalStatus"), numbers({10}));
  EXPECT_THAT(network_.calls, testing::Not(testing::Contains("IsLinkUp")));
}

TEST_F(PortInstance, CapabilityFlagsAreIndependent) {
  PortFacts facts = portNamed("nic0");
  facts.capabilitySupported = true;
  const Instance port = filledPort(facts);
  EXPECT_EQ(valueOf(port, "Capabilities"), numbers({5}));
  EXPECT_EQ(valueOf(port, "EnabledCapabilities"), numbers({0}));
}

TEST_F(PortInstance, LargestPciLocationFits) {
  PortFacts facts = portNamed("nic0");
  facts.pci = PciLocation{0xffff, 0xff, 0xff, 0xff, 0xffff, 0xffff};
  EXPECT_EQ(valueOf(filledPort(facts), "OtherIdentifyingInfo"),
            texts({"0xff", "0xff", "0xff", "0xffff", "0xffff", "0xffff"}));
}

TEST_F(PortInstance, AccessorsAreReadAsTheirPropertiesAreSet) {
  filledPort(fullPort());
  EXPECT_THAT(network_.calls,
              ElementsAre("GetLinkSettings", "GetName", "GetName", "GetName", "GetLinkSpeed",
                          "GetMacAddress", "IsEnabled", "IsLinkUp", "IsCapabilitySupported",
                          "IsCapabilityEnabled", "GetDuplex", "GetMtu", "GetPciDevice"));
}

TEST_F(PortInstance, HostFailureOfTheLinkSettingsLeavesTheInstanceAsItWas) {
  PortFacts facts = fullPort();
  facts.faults["GetLinkSettings"] = HostFault::kNodemgr;
  EXPECT_THAT(filledPort(facts).setOrder, IsEmpty());
  EXPECT_THAT(network_.calls, ElementsAre("GetLinkSettings"));
}

TEST_F(PortInstance, AnyOtherExceptionOfTheLinkSettingsPasses) {
  PortFacts facts = fullPort();
  facts.faults["GetLinkSettings"] = HostFault::kOther;
  EXPECT_THROW(filledPort(facts), std::runtime_error);
}

TEST_F(PortInstance, HostFailureOfALaterAccessorPasses) {
  for (const char* accessor :
       {"GetName", "GetLinkSpeed", "GetMacAddress", "IsEnabled", "IsLinkUp",
        "IsCapabilitySupported", "IsCapabilityEnabled", "GetDuplex", "GetMtu", "GetPciDevice"}) {
    PortFacts facts = fullPort();
    facts.faults[accessor] = HostFault::kNodemgr;
    EXPECT_THROW(filledPort(facts), Nodemgr::Lib::NodemgrException) << accessor;
  }
}

TEST_F(PortInstance, WhatWasSetBeforeALaterFailureStays) {
  PortFacts facts = fullPort();
  facts.faults["GetMtu"] = HostFault::kOther;
  CmpiInstance instance(scope_.path(orv::test::objectPath("Orvane_EthernetPort")));
  const auto port = orv::test::makePort(facts);
  EXPECT_THROW(EthernetPortProvider::fillEPInstance(instance, port.get()), std::runtime_error);
  EXPECT_EQ(orv::broker::RequestScope::copy(instance.getEnc()).setOrder,
            std::vector<std::string>(kSetOrder.begin(), kSetOrder.begin() + 15));
}

}  // namespace
}  // namespace EthernetProvider
