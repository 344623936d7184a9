#include "kernelip/kernel_ip_indication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <syslog.h>

#include <atomic>
#include <ctime>
#include <stdexcept>
#include <thread>

#include "cmpi/cmpi_memory_mark.h"
#include "tests/kernelip/failing_conversion.h"
#include "tests/support/interface_list.h"
#include "tests/support/process_memory.h"
#include "tests/support/recording_broker.h"
#include "tests/support/syslog_capture.h"

namespace {

constexpr std::time_t kNow = 1'600'000'000;

}  // namespace

extern "C" std::time_t __wrap_time(std::time_t* now) {
  if (now != nullptr) *now = kNow;
  return kNow;
}

namespace {

using ORV::IAddress;
using ORV::KernelIpIndication;
using orv::broker::Instance;
using orv::broker::RequestScope;
using orv::test::Delivery;
using orv::test::InterfaceList;
using orv::test::interfaceSystem;
using orv::test::RecordingBroker;
using orv::test::syslogLines;
using orv::test::syslogTexts;
using testing::ElementsAre;
using testing::IsEmpty;

class KernelIpIndicationTest : public testing::Test {
 protected:
  KernelIpIndicationTest() {
    interfaceSystem() = {};
    orv::test::clearSyslog();
  }
  ~KernelIpIndicationTest() override { EXPECT_EQ(0, interfaceSystem().unfreed); }

  void systemHas(const InterfaceList& list) { interfaceSystem().list = list; }
  void pass() { detector_.testAndSend(broker_.context(), broker_.broker()); }

  /// Starts with `before`, goes on to `after` and makes a pass.
  void change(const InterfaceList& before, const InterfaceList& after) {
    systemHas(before);
    detector_.enableIndication();
    systemHas(after);
    pass();
  }

  /// "interface: previous address -> source address" for each indication.
  std::vector<std::string> changes() const {
    std::vector<std::string> texts;
    for (const Delivery& delivery : broker_.deliveries()) texts.push_back(textOf(delivery));
    return texts;
  }

  RecordingBroker broker_;
  KernelIpIndication detector_;

 private:
  static std::string addressOf(const Instance& endpoint) {
    const auto* ipv4 = endpoint.property("IPv4Address");
    const bool isIpv4 = ipv4 != nullptr && !ipv4->null;
    return isIpv4 ? ipv4->text() : endpoint.property("IPv6ddress")->text();
  }
  static std::string textOf(const Delivery& delivery) {
    const Instance& source = delivery.indication.property("SourceInstance")->instance();
    const Instance& previous = delivery.indication.property("PreviousInstance")->instance();
    return source.property("Name")->text() + ": " + addressOf(previous) + " -> " +
           addressOf(source);
  }
};

TEST_F(KernelIpIndicationTest, StartsDisabledAndDoesNothingThen) {
  EXPECT_FALSE(detector_.isEnabled());
  pass();
  EXPECT_EQ(0, interfaceSystem().reads);
}

TEST_F(KernelIpIndicationTest, ReadsTheSystemTwiceWhenFirstEnabledAndOnceLater) {
  detector_.enableIndication();
  EXPECT_TRUE(detector_.isEnabled());
  EXPECT_EQ(2, interfaceSystem().reads);
  detector_.disableIndication();
  EXPECT_FALSE(detector_.isEnabled());
  EXPECT_EQ(2, interfaceSystem().reads);
  detector_.enableIndication();
  EXPECT_EQ(3, interfaceSystem().reads);
}

TEST_F(KernelIpIndicationTest, PassReadsTheSystemAtItsBeginningAndAtItsEnd) {
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.1"));
  detector_.enableIndication();
  pass();
  EXPECT_EQ(4, interfaceSystem().reads);
}

TEST_F(KernelIpIndicationTest, FirstPassWithoutAChangeSendsNothing) {
  const InterfaceList list = InterfaceList().ipv4("hk0", "192.0.2.1").ipv6("hk0", "2001:db8::1");
  change(list, list);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(KernelIpIndicationTest, AReplacedAddressIsSentOnce) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1"), InterfaceList().ipv4("hk0", "192.0.2.2"));
  pass();
  EXPECT_THAT(changes(), ElementsAre("hk0: 192.0.2.1 -> 192.0.2.2"));
}

TEST_F(KernelIpIndicationTest, ASecondAddressBesideTheFirstSendsNothing) {
  change(InterfaceList().ipv6("hk0", "2001:db8::1"),
         InterfaceList().ipv6("hk0", "2001:db8::1").ipv6("hk0", "2001:db8::2"));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(KernelIpIndicationTest, AReplacedIpv4AddressWithANewIpv6AddressIsSentForIpv4Only) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1"),
         InterfaceList().ipv4("hk0", "192.0.2.2").ipv6("hk0", "2001:db8::1"));
  EXPECT_THAT(changes(), ElementsAre("hk0: 192.0.2.1 -> 192.0.2.2"));
}

TEST_F(KernelIpIndicationTest, TwoAddressesReplacedByOneAreSentAsTwo) {
  change(InterfaceList().ipv6("hk0", "2001:db8::1").ipv6("hk0", "2001:db8::2"),
         InterfaceList().ipv6("hk0", "2001:db8::3"));
  EXPECT_THAT(changes(),
              ElementsAre("hk0: 2001:db8::1 -> 2001:db8::3", "hk0: 2001:db8::2 -> 2001:db8::3"));
}

TEST_F(KernelIpIndicationTest, ANewInterfaceIsWatchedFromTheNextPassOn) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1"),
         InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk1", "192.0.2.8"));
  EXPECT_THAT(changes(), IsEmpty());
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk1", "192.0.2.9"));
  pass();
  EXPECT_THAT(changes(), ElementsAre("hk1: 192.0.2.8 -> 192.0.2.9"));
}

TEST_F(KernelIpIndicationTest, RemovalsSendNothing) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk0", "192.0.2.2").ipv4("hk1", "192.0.2.3"),
         InterfaceList().ipv4("hk0", "192.0.2.2"));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(KernelIpIndicationTest, AnEmptySystemIsTakenAsTheNextPassesPast) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1"), InterfaceList());
  EXPECT_EQ(4, interfaceSystem().reads);
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.2"));
  pass();
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(KernelIpIndicationTest, ChangesWhileDisabledAreSentInTheFirstPassAfterwards) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1"), InterfaceList().ipv4("hk0", "192.0.2.1"));
  detector_.disableIndication();
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.2"));
  pass();
  EXPECT_THAT(changes(), IsEmpty());
  detector_.enableIndication();
  pass();
  EXPECT_THAT(changes(), ElementsAre("hk0: 192.0.2.1 -> 192.0.2.2"));
}

TEST_F(KernelIpIndicationTest, AChangeDuringAPassIsNeverSent) {
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.1"));
  detector_.enableIndication();
  interfaceSystem().beforeRead = [this](int read) {
    if (read == 4) systemHas(InterfaceList().ipv4("hk0", "192.0.2.2"));  // at the pass's end
  };
  pass();
  pass();
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(KernelIpIndicationTest, EntriesOfOneInterfaceKeepTheSystemsOrder) {
  systemHas(InterfaceList()
                .ipv4("hk1", "192.0.2.9")
                .ipv6("hk0", "2001:db8::9")
                .ipv4("hk0", "192.0.2.5")
                .ipv6("hk0", "2001:db8::1"));
  ORV::AddressMap map;
  detector_.buildMap(map);
  std::vector<std::string> entries;
  for (const auto& [name, address] : map) entries.push_back(name + " " + address->getAddress());
  EXPECT_THAT(entries,
              ElementsAre("hk0 2001:db8::9", "hk0 192.0.2.5", "hk0 2001:db8::1", "hk1 192.0.2.9"));
}

TEST_F(KernelIpIndicationTest, ASystemThatCannotBeReadIsLoggedAndLeavesTheSnapshot) {
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.1"));
  ORV::AddressMap map;
  detector_.buildMap(map);
  for (const int code : {-1, EAI_MEMORY}) {
    orv::test::clearSyslog();
    interfaceSystem().code = code;
    detector_.buildMap(map);
    const std::string text =
        "Unable to refresh network interface information of the system, Error: " +
        std::string(gai_strerror(code)) + "\n";
    ASSERT_EQ(1U, syslogLines().size());
    EXPECT_EQ(LOG_ERR, syslogLines()[0].priority);
    EXPECT_EQ(text, syslogLines()[0].text);
    EXPECT_EQ(1U, map.size());
  }
}

TEST_F(KernelIpIndicationTest, AFailedReadMakesThePassCompareAnOlderSnapshot) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1"), InterfaceList().ipv4("hk0", "192.0.2.1"));
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.2"));
  interfaceSystem().code = -1;
  pass();
  EXPECT_THAT(changes(), IsEmpty());
  interfaceSystem().code = 0;
  pass();
  EXPECT_THAT(changes(), ElementsAre("hk0: 192.0.2.1 -> 192.0.2.2"));
}

TEST_F(KernelIpIndicationTest, AFailedReadAtTheEndOfAPassReportsTheChangeAgain) {
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.1"));
  detector_.enableIndication();
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.2"));
  interfaceSystem().beforeRead = [](int read) { interfaceSystem().code = read == 4 ? -1 : 0; };
  pass();
  pass();
  EXPECT_THAT(changes(), ElementsAre("hk0: 192.0.2.1 -> 192.0.2.2", "hk0: 192.0.2.1 -> 192.0.2.2"));
}

TEST_F(KernelIpIndicationTest, EntriesOfAnotherFamilyAreLoggedAndSkipped) {
  systemHas(
      InterfaceList().ofFamily("hk0", AF_PACKET).ipv4("hk0", "192.0.2.1").ofFamily("hk0", 99));
  ORV::AddressMap map;
  detector_.buildMap(map);
  EXPECT_EQ(1U, map.size());
  EXPECT_THAT(syslogTexts(), ElementsAre("Caught exception: Unsupported protocol family: 17\n",
                                         "Caught exception: Unsupported protocol family: 99\n"));
  EXPECT_EQ(LOG_ERR, syslogLines()[0].priority);
}

TEST_F(KernelIpIndicationTest, EntriesWithoutAnAddressAreSkippedInSilence) {
  systemHas(InterfaceList().withoutAddress("hk0").ipv4("hk0", "192.0.2.1").withoutAddress("hk1"));
  ORV::AddressMap map;
  detector_.buildMap(map);
  EXPECT_EQ(1U, map.size());
  EXPECT_THAT(syslogTexts(), IsEmpty());
}

TEST_F(KernelIpIndicationTest, ARefusedEntryIsAPlainExceptionToTheCaller) {
  InterfaceList list;
  list.ofFamily("hk0", AF_PACKET);
  try {
    detector_.getAddressPtr(&list.last());
    FAIL();
  } catch (const std::exception& exception) {
    EXPECT_EQ(typeid(std::exception), typeid(exception));
  }
  list.withoutAddress("hk0");
  EXPECT_THROW(detector_.getAddressPtr(&list.last()), std::exception);
}

TEST_F(KernelIpIndicationTest, AnAddressThatCannotBeConvertedIsLoggedAndSkipped) {
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.1").ipv6("hk0", "2001:db8::1"));
  ORV::AddressMap map;
  {
    const orv::test::RefusedConversions refused;
    detector_.buildMap(map);
  }
  EXPECT_THAT(syslogTexts(), ElementsAre("Caught exception: Address conversion failed\n"));
  ASSERT_EQ(1U, map.size());
  EXPECT_EQ("", map.begin()->second->getAddress());  // the IPv6 address stays, without a text
}

TEST_F(KernelIpIndicationTest, IndicationHasItsPropertiesInOrder) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1"), InterfaceList().ipv4("hk0", "192.0.2.2"));
  ASSERT_EQ(1U, broker_.deliveries().size());
  const Delivery delivery = broker_.deliveries()[0];
  EXPECT_EQ("root/cimv2", delivery.nameSpace);
  const Instance& indication = delivery.indication;
  EXPECT_EQ("root/cimv2", indication.path.nameSpace);
  EXPECT_EQ("Orvane_KernelIPChangedIndication", indication.path.className);
  EXPECT_THAT(
      indication.setOrder,
      ElementsAre("IndicationIdentifier", "IndicationTime", "PerceivedSeverity", "SourceInstance",
                  "PreviousInstance", "SourceInstanceModelPath", "SourceInstanceHost"));
  EXPECT_EQ("Orvane:hk0", indication.property("IndicationIdentifier")->text());
  const auto& time = indication.property("IndicationTime")->dateTime();
  EXPECT_EQ(static_cast<std::uint64_t>(kNow) * 1'000'000, time.microseconds);
  EXPECT_FALSE(time.interval);
  EXPECT_EQ(CMPI_uint16, indication.property("PerceivedSeverity")->type);
  EXPECT_EQ(3U, indication.property("PerceivedSeverity")->number());
  EXPECT_EQ(CMPI_instance, indication.property("SourceInstance")->type);
  EXPECT_EQ(CMPI_instance, indication.property("PreviousInstance")->type);
  EXPECT_EQ(
      "root/cimv2:Orvane_KernelIPv4ProtocolEndpoint"
      ".SystemCreationClassName=\"OMC_UnitaryComputerSystem\",SystemName=\"host-7\""
      ",CreationClassName=\"Orvane_KernelIPv4ProtocolEndpoint\",Name=\"hk0\"",
      indication.property("SourceInstanceModelPath")->text());
  EXPECT_EQ("192.0.2.2", indication.property("SourceInstanceHost")->text());
}

TEST_F(KernelIpIndicationTest, ModelPathNamesTheIpv6ClassAndEscapesNothing) {
  change(InterfaceList().ipv6("a\"b\\c", "2001:db8::1"),
         InterfaceList().ipv6("a\"b\\c", "2001:db8::2"));
  ASSERT_EQ(1U, broker_.deliveries().size());
  EXPECT_EQ(
      "root/cimv2:Orvane_KernelIPv6ProtocolEndpoint"
      ".SystemCreationClassName=\"OMC_UnitaryComputerSystem\",SystemName=\"host-7\""
      ",CreationClassName=\"Orvane_KernelIPv6ProtocolEndpoint\",Name=\"a\"b\\c\"",
      broker_.deliveries()[0].indication.property("SourceInstanceModelPath")->text());
}

TEST_F(KernelIpIndicationTest, EmbedsIpv4EndpointsWithTheirOwnAddresses) {
  change(InterfaceList().ipv4("hk0", "192.0.2.1", "255.255.0.0"),
         InterfaceList().ipv4("hk0", "192.0.2.1", "255.255.255.0"));
  ASSERT_EQ(1U, broker_.deliveries().size());
  const Instance indication = broker_.deliveries()[0].indication;
  const Instance& source = indication.property("SourceInstance")->instance();
  const Instance& previous = indication.property("PreviousInstance")->instance();
  EXPECT_EQ("255.255.255.0", source.property("SubnetMask")->text());
  EXPECT_EQ("255.255.0.0", previous.property("SubnetMask")->text());
}

TEST_F(KernelIpIndicationTest, AnIpv4EndpointHasItsPropertiesInOrder) {
  const ORV::IPv4Address address(
      &InterfaceList().ipv4("other", "192.0.2.1", "255.255.240.0").last());
  const Instance endpoint = RequestScope::copy(
      address.buildInterfaceObject(broker_.context(), broker_.broker(), "hk0").getEnc());
  EXPECT_EQ("root/cimv2", endpoint.path.nameSpace);
  EXPECT_EQ("Orvane_KernelIPv4ProtocolEndpoint", endpoint.path.className);
  EXPECT_THAT(
      endpoint.setOrder,
      ElementsAre("SystemCreationClassName", "SystemName", "CreationClassName", "Name",
                  "ElementName", "NameFormat", "ProtocolIFType", "IPv4Address", "SubnetMask"));
  EXPECT_EQ("OMC_UnitaryComputerSystem", endpoint.property("SystemCreationClassName")->text());
  EXPECT_EQ("host-7", endpoint.property("SystemName")->text());
  EXPECT_EQ("Orvane_KernelIPv4ProtocolEndpoint", endpoint.property("CreationClassName")->text());
  EXPECT_EQ("hk0", endpoint.property("Name")->text());
  EXPECT_EQ("hk0", endpoint.property("ElementName")->text());
  EXPECT_EQ("Hykernel Interface Name", endpoint.property("NameFormat")->text());
  EXPECT_EQ(CMPI_uint16, endpoint.property("ProtocolIFType")->type);
  EXPECT_EQ(4096U, endpoint.property("ProtocolIFType")->number());
  EXPECT_EQ("192.0.2.1", endpoint.property("IPv4Address")->text());
  EXPECT_EQ("255.255.240.0", endpoint.property("SubnetMask")->text());
}

TEST_F(KernelIpIndicationTest, AnIpv6EndpointHasItsOddPropertyName) {
  const ORV::IPv6Address address(&InterfaceList().ipv6("other", "2001:db8::1", 56).last());
  const Instance endpoint = RequestScope::copy(
      address.buildInterfaceObject(broker_.context(), broker_.broker(), "hk0").getEnc());
  EXPECT_EQ("Orvane_KernelIPv6ProtocolEndpoint", endpoint.path.className);
  EXPECT_THAT(
      endpoint.setOrder,
      ElementsAre("SystemCreationClassName", "SystemName", "CreationClassName", "Name",
                  "ElementName", "NameFormat", "ProtocolIFType", "IPv6ddress", "PrefixLength"));
  EXPECT_EQ(4097U, endpoint.property("ProtocolIFType")->number());
  EXPECT_EQ("2001:db8::1", endpoint.property("IPv6ddress")->text());
  EXPECT_EQ(CMPI_uint8, endpoint.property("PrefixLength")->type);
  EXPECT_EQ(56U, endpoint.property("PrefixLength")->number());
  const auto* schemaProperty = endpoint.property("IPv6Address");
  EXPECT_TRUE(schemaProperty == nullptr || schemaProperty->null);
}

TEST_F(KernelIpIndicationTest, APrefixLengthIsCutToEightBits) {
  InterfaceList list;
  list.ipv6("hk0", "2001:db8::1", 128);
  std::fill_n(list.lastMaskBytes() + 16, 12, 0xFF);
  list.lastMaskBytes()[27] = 0xFE;
  const ORV::IPv6Address address(&list.last());
  EXPECT_EQ(223U, address.prefixLength());
  const Instance endpoint = RequestScope::copy(
      address.buildInterfaceObject(broker_.context(), broker_.broker(), "hk0").getEnc());
  EXPECT_EQ(223U, endpoint.property("PrefixLength")->number());
}

TEST_F(KernelIpIndicationTest, AFailedDeliveryIsLoggedAndThePassGoesOn) {
  broker_.onDelivery = [](std::size_t number) {
    return number == 0 ? CMPI_RC_ERR_ACCESS_DENIED : CMPI_RC_OK;
  };
  change(InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk1", "192.0.2.3"),
         InterfaceList().ipv4("hk0", "192.0.2.2").ipv4("hk1", "192.0.2.4"));
  EXPECT_EQ(2U, broker_.deliveryCount());
  EXPECT_THAT(syslogTexts(), ElementsAre("Failed to deliver indication 2\n"));
  EXPECT_EQ(LOG_ERR, syslogLines()[0].priority);
  pass();
  EXPECT_EQ(2U, broker_.deliveryCount());
}

TEST_F(KernelIpIndicationTest, AnotherExceptionLeavesThePassWithTheMutexFree) {
  broker_.onDelivery = [](std::size_t number) {
    if (number == 0) throw std::runtime_error("no memory for it");
    return CMPI_RC_OK;
  };
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.1"));
  detector_.enableIndication();
  systemHas(InterfaceList().ipv4("hk0", "192.0.2.2"));
  EXPECT_THROW(pass(), std::runtime_error);
  EXPECT_TRUE(detector_.isEnabled());
}

TEST_F(KernelIpIndicationTest, EachIndicationIsAnInstanceOfItsOwn) {
  // A filter that selects properties cuts the delivered instance for good.
  change(InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk1", "192.0.2.3"),
         InterfaceList().ipv4("hk0", "192.0.2.2").ipv4("hk1", "192.0.2.4"));
  const auto deliveries = broker_.deliveries();
  ASSERT_EQ(2U, deliveries.size());
  EXPECT_EQ(7U, deliveries[0].indication.setOrder.size());
  EXPECT_EQ(7U, deliveries[1].indication.setOrder.size());
}

TEST_F(KernelIpIndicationTest, IsSwitchedFromOtherThreadsDuringPasses) {
  const InterfaceList lists[] = {InterfaceList().ipv4("hk0", "192.0.2.1"),
                                 InterfaceList().ipv4("hk0", "192.0.2.2")};
  systemHas(lists[0]);
  interfaceSystem().beforeRead = [&](int read) { systemHas(lists[read % 2]); };
  broker_.keepDeliveries = false;
  std::atomic<bool> over{false};
  std::thread switching([&] {
    while (!over) {
      detector_.disableIndication();
      detector_.enableIndication();
    }
  });
  std::thread asking([&] {
    while (!over) detector_.isEnabled();
  });
  detector_.enableIndication();
  for (int count = 0; count < 500; ++count) pass();
  over = true;
  switching.join();
  asking.join();
}

TEST_F(KernelIpIndicationTest, ManyPassesLeaveNothingBehind) {
  const InterfaceList lists[] = {
      InterfaceList().ipv4("hk0", "192.0.2.1").ipv6("hk0", "2001:db8::1"),
      InterfaceList().ipv4("hk0", "192.0.2.2").ipv6("hk0", "2001:db8::2")};
  broker_.keepDeliveries = false;
  systemHas(lists[0]);
  detector_.enableIndication();
  orv::test::MemoryAfterWarmUp memory;
  for (std::size_t count = 0; count < orv::test::kManyRounds; ++count) {
    if (count == orv::test::kWarmUpRounds) memory.warmedUp();
    systemHas(lists[(count + 1) % 2]);
    const CmpiMemoryMark mark(*broker_.broker());  // as the thread that makes the passes does
    pass();
  }
  EXPECT_EQ(2 * orv::test::kManyRounds, broker_.deliveryCount());
  memory.expectNoGrowth();
}

}  // namespace
