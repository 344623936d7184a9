#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "tests/ethernet/ethernet_fixture.h"

namespace EthernetProvider {
namespace {

using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicStatistics;
using orv::broker::Value;
using orv::test::HostFault;
using orv::test::PortFacts;
using orv::test::portNamed;
using testing::ElementsAre;
using testing::IsEmpty;

using Names = std::vector<std::string>;

class Satellite : public EthernetTest {
 protected:
  Instance statisticsOf(const PortFacts& facts) {
    return filled("Orvane_EPStatisticalInformation", &EthernetPortProvider::fillEPStatsInstance,
                  facts);
  }
  Instance coalesceOf(const PortFacts& facts) {
    return filled("Orvane_EPCoalesceSettingData", &EthernetPortProvider::fillEPCoalesceInstance,
                  facts);
  }
  Instance driverOf(const PortFacts& facts) {
    return filled("Orvane_EPDriverSoftwareIdentity", &EthernetPortProvider::fillEPDriverInstance,
                  facts);
  }
  Instance firmwareOf(const PortFacts& facts) {
    return filled("Orvane_EPFirmwareSoftwareIdentity",
                  &EthernetPortProvider::fillEPFirmwareInstance, facts);
  }
  static Value valueOf(const Instance& instance, const std::string& property) {
    const Value* value = instance.property(property);
    EXPECT_NE(value, nullptr) << property;
    return value == nullptr ? Value() : *value;
  }
};

// The contract: order and spelling of the properties, stated apart from the records' own tables.
const Names kCounterNames = {
    "packetsTx",    "packetsRx",       "bytesTx",           "bytesRx",        "errorsTx",
    "errorsRx",     "droppedTx",       "droppedRx",         "RxLengthErrors", "RxOverErrors",
    "RxCRCErrors",  "RxFrameErrors",   "RxFIFOErrors",      "RxMissedErrors", "TxAbortedErrors",
    "TxFIFOErrors", "TxCarrierErrors", "TxHeartbeatErrors", "TxWindowErrors"};

/// Each fact of the record is one more than the one before it; the first is `first`.
template <typename Record, typename Number>
Record countedUpFrom(Number first) {
  Record record;
  platform::forEachFact<Record>([&](const auto& fact) {
    using Type = std::decay_t<decltype(record.*fact.member)>;
    if constexpr (std::is_same_v<Type, Number>) record.*fact.member = first++;
  });
  return record;
}

TEST_F(Satellite, StatisticsAreSetInTheirOrderAndSpelling) {
  Names expected = {"Name", "ElementName", "Caption", "Description"};
  expected.insert(expected.end(), kCounterNames.begin(), kCounterNames.end());
  EXPECT_EQ(statisticsOf(portNamed("nic0")).setOrder, expected);
}

TEST_F(Satellite, StatisticsAreNamedAfterThePort) {
  const Instance statistics = statisticsOf(portNamed("nic0"));
  EXPECT_EQ(valueOf(statistics, "Name"), Value::ofString("nic0"));
  EXPECT_EQ(valueOf(statistics, "ElementName"), Value::ofString("nic0"));
  EXPECT_EQ(valueOf(statistics, "Caption"), Value::ofString("nic0"));
  EXPECT_EQ(valueOf(statistics, "Description"), Value::ofString("nic0 statistics"));
}

TEST_F(Satellite, EachCounterShowsItsOwnField) {
  PortFacts facts = portNamed("nic0");
  facts.statistics = countedUpFrom<PnicStatistics>(std::uint64_t{101});
  const Instance statistics = statisticsOf(facts);
  for (std::size_t i = 0; i < kCounterNames.size(); ++i) {
    EXPECT_EQ(valueOf(statistics, kCounterNames[i]), Value::ofUnsigned(CMPI_uint64, 101 + i))
        << kCounterNames[i];
  }
}

TEST_F(Satellite, CountersAboveFourBillionAreNotCut) {
  PortFacts facts = portNamed("nic0");
  facts.statistics = countedUpFrom<PnicStatistics>(std::uint64_t{0xffffffffffffff01});
  const Instance statistics = statisticsOf(facts);
  for (std::size_t i = 0; i < kCounterNames.size(); ++i) {
    EXPECT_EQ(valueOf(statistics, kCounterNames[i]),
              Value::ofUnsigned(CMPI_uint64, 0xffffffffffffff01 + i))
        << kCounterNames[i];
  }
}

TEST_F(Satellite, StatisticsAreAskedForBeforeTheName) {
  statisticsOf(portNamed("nic0"));
  EXPECT_THAT(network_.calls, ElementsAre("GetStatistics", "GetName"));
}

TEST_F(Satellite, FailingStatisticsLeaveTheInstanceAsItWas) {
  PortFacts facts = portNamed("nic0");
  facts.faults["GetStatistics"] = HostFault::kNodemgr;
  EXPECT_THAT(statisticsOf(facts).setOrder, IsEmpty());
  EXPECT_THAT(network_.calls, ElementsAre("GetStatistics"));
}

TEST_F(Satellite, FailingNameLeavesTheStatisticsUnset) {
  PortFacts facts = portNamed("nic0");
  facts.faults["GetName"] = HostFault::kNodemgr;
  EXPECT_THAT(statisticsOf(facts).setOrder, IsEmpty());
}

TEST_F(Satellite, OtherExceptionsOfTheStatisticsPass) {
  for (const char* accessor : {"GetStatistics", "GetName"}) {
    PortFacts facts = portNamed("nic0");
    facts.faults[accessor] = HostFault::kOther;
    EXPECT_THROW(statisticsOf(facts), std::runtime_error) << accessor;
  }
}

const Names kCoalesceNames = {"statsBlockUsecs", "sampleInterval", "pktRateLow",  "pktRateHigh",
                              "rxUsecs",         "rxFrames",       "rxUsecsIrq",  "rxFramesIrq",
                              "txUsecs",         "txFrames",       "txUsecsIrq",  "txFramesIrq",
                              "rxUsecsLow",      "rxFrameLow",     "txUsecsLow",  "txFrameLow",
                              "rxUsecsHigh",     "rxFrameHigh",    "txUsecsHigh", "txFrameHigh"};

TEST_F(Satellite, CoalescingIsSetInItsOrderAndSpelling) {
  Names expected = {"ElementName", "adaptiveRX", "adaptiveTX"};
  expected.insert(expected.end(), kCoalesceNames.begin(), kCoalesceNames.end());
  const Instance coalesce = coalesceOf(portNamed("nic0"));
  EXPECT_EQ(coalesce.setOrder, expected);
  EXPECT_EQ(valueOf(coalesce, "ElementName"), Value::ofString("nic0"));
}

TEST_F(Satellite, EachCoalescingSettingShowsItsOwnField) {
  PortFacts facts = portNamed("nic0");
  facts.coalesce = countedUpFrom<PnicCoalesceParams>(std::uint32_t{0xffffff00});
  const Instance coalesce = coalesceOf(facts);
  for (std::size_t i = 0; i < kCoalesceNames.size(); ++i) {
    EXPECT_EQ(valueOf(coalesce, kCoalesceNames[i]), Value::ofUnsigned(CMPI_uint32, 0xffffff00 + i))
        << kCoalesceNames[i];
  }
}

TEST_F(Satellite, AdaptiveSwitchesAreBooleansAndIndependent) {
  PortFacts facts = portNamed("nic0");
  facts.coalesce.adaptiveRx = true;
  EXPECT_EQ(valueOf(coalesceOf(facts), "adaptiveRX"), Value::ofBoolean(true));
  EXPECT_EQ(valueOf(coalesceOf(facts), "adaptiveTX"), Value::ofBoolean(false));
  facts.coalesce = {};
  facts.coalesce.adaptiveTx = true;
  EXPECT_EQ(valueOf(coalesceOf(facts), "adaptiveRX"), Value::ofBoolean(false));
  EXPECT_EQ(valueOf(coalesceOf(facts), "adaptiveTX"), Value::ofBoolean(true));
}

TEST_F(Satellite, CoalescingIsAskedForBeforeTheName) {
  coalesceOf(portNamed("nic0"));
  EXPECT_THAT(network_.calls, ElementsAre("GetCoalesceParams", "GetName"));
}

TEST_F(Satellite, FailingCoalescingLeavesTheInstanceAsItWas) {
  for (const char* accessor : {"GetCoalesceParams", "GetName"}) {
    PortFacts facts = portNamed("nic0");
    facts.faults[accessor] = HostFault::kNodemgr;
    EXPECT_THAT(coalesceOf(facts).setOrder, IsEmpty()) << accessor;
  }
}

TEST_F(Satellite, OtherExceptionsOfTheCoalescingPass) {
  for (const char* accessor : {"GetCoalesceParams", "GetName"}) {
    PortFacts facts = portNamed("nic0");
    facts.faults[accessor] = HostFault::kOther;
    EXPECT_THROW(coalesceOf(facts), std::runtime_error) << accessor;
  }
}

PortFacts portWithDriver(const char* driver, const char* version, const char* firmware) {
  PortFacts facts = portNamed("nic0");
  facts.driver = {driver, version, firmware, "0000:03:00.1"};
  return facts;
}

TEST_F(Satellite, DriverIsNameConnectingTextAndVersion) {
  const Instance driver = driverOf(portWithDriver("e5", "2.1", "0x80000a"));
  EXPECT_EQ(driver.setOrder, (Names{"ElementName", "VersionString"}));
  EXPECT_EQ(valueOf(driver, "ElementName"), Value::ofString("e5 driver "));
  EXPECT_EQ(valueOf(driver, "VersionString"), Value::ofString("e5 driver 2.1"));
}

TEST_F(Satellite, FirmwareBeginsWithTheDriversName) {
  const Instance firmware = firmwareOf(portWithDriver("e5", "2.1", "0x80000a"));
  EXPECT_EQ(firmware.setOrder, (Names{"ElementName", "VersionString"}));
  EXPECT_EQ(valueOf(firmware, "ElementName"), Value::ofString("e5 device firmware "));
  EXPECT_EQ(valueOf(firmware, "VersionString"), Value::ofString("e5 device firmware 0x80000a"));
}

TEST_F(Satellite, EmptyVersionLeavesTheTrailingBlank) {
  const PortFacts facts = portWithDriver("e5", "", "");
  EXPECT_EQ(valueOf(driverOf(facts), "VersionString"), Value::ofString("e5 driver "));
  EXPECT_EQ(valueOf(firmwareOf(facts), "VersionString"), Value::ofString("e5 device firmware "));
}

TEST_F(Satellite, EmptyDriverNameLeavesTheConnectingText) {
  EXPECT_EQ(valueOf(driverOf(portNamed("nic0")), "ElementName"), Value::ofString(" driver "));
  EXPECT_EQ(valueOf(firmwareOf(portNamed("nic0")), "ElementName"),
            Value::ofString(" device firmware "));
}

TEST_F(Satellite, IdentitiesAskForTheDriverInformationOnly) {
  driverOf(portNamed("nic0"));
  firmwareOf(portNamed("nic0"));
  EXPECT_THAT(network_.calls, ElementsAre("GetDriverInfo", "GetDriverInfo"));
}

TEST_F(Satellite, FailingDriverInformationLeavesBothIdentitiesAsTheyWere) {
  PortFacts facts = portWithDriver("e5", "2.1", "1");
  facts.faults["GetDriverInfo"] = HostFault::kNodemgr;
  EXPECT_THAT(driverOf(facts).setOrder, IsEmpty());
  EXPECT_THAT(firmwareOf(facts).setOrder, IsEmpty());
}

TEST_F(Satellite, OtherExceptionsOfTheDriverInformationPass) {
  PortFacts facts = portWithDriver("e5", "2.1", "1");
  facts.faults["GetDriverInfo"] = HostFault::kOther;
  EXPECT_THROW(driverOf(facts), std::runtime_error);
  EXPECT_THROW(firmwareOf(facts), std::runtime_error);
}

}  // namespace
}  // namespace EthernetProvider
