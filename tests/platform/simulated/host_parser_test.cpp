#include "platform/simulated/host_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <limits>
#include <type_traits>

namespace simulated {

/// For the messages of failed tests.
void PrintTo(const HostError& error, std::ostream* out) {
  *out << error.place << ": " << error.message;
}

namespace {

using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkMode;
using Nodemgr::Network::LinkSpeed;
using Nodemgr::Network::MacAddress;
using Nodemgr::Network::PciLocation;
using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicDriverInfo;
using Nodemgr::Network::PnicLinkSettings;
using Nodemgr::Network::PnicPortMode;
using Nodemgr::Network::PnicStatistics;
using Nodemgr::Network::TransceiverMode;
using Nodemgr::Network::WakeOnMode;
using testing::ElementsAre;
using testing::IsEmpty;

SimulatedHost hostOf(const std::string& text) {
  auto outcome = parseHost(text);
  if (const auto* error = std::get_if<HostError>(&outcome)) {
    ADD_FAILURE() << error->place << ": " << error->message << "\nin " << text;
    return {};
  }
  return std::get<SimulatedHost>(std::move(outcome));
}

HostError errorOf(std::string_view text) {
  const auto outcome = parseHost(text);
  const auto* error = std::get_if<HostError>(&outcome);
  return error != nullptr ? *error : HostError{"(no error)", "(no error)"};
}

std::string placeOf(std::string_view text) { return errorOf(text).place; }

SimulatedPort portOf(const std::string& members) {
  const SimulatedHost host = hostOf("{\"ports\": [{" + members + "}]}");
  const auto& ports = std::get<std::vector<SimulatedPort>>(host.ports);
  return ports.empty() ? SimulatedPort{} : ports.front();
}

MacAddress::Bytes bytesOf(const MacAddress& mac) {
  MacAddress::Bytes bytes{};
  mac.GetBinaryAddress(bytes.data());
  return bytes;
}

std::string fileText(const std::string& name) {
  std::ifstream file(std::string(ORV_TEST_HOSTS) + "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(HostDefaults, TopLevel) {
  const SimulatedHost host = hostOf("{}");
  EXPECT_EQ(host.systemName, "simulated-host");
  EXPECT_EQ(host.systemClassName, "OMC_UnitaryComputerSystem");
  EXPECT_THAT(std::get<std::vector<SimulatedPort>>(host.ports), IsEmpty());
  EXPECT_THAT(host.interfaces, IsEmpty());
  EXPECT_THAT(host.processors.packages, IsEmpty());
  EXPECT_TRUE(host.hsi.signatureOk);
  EXPECT_THAT(host.hsi.failNodes, IsEmpty());
  EXPECT_TRUE(host.hypervisor);
}

TEST(HostDefaults, Port) {
  const SimulatedPort port = portOf("");
  EXPECT_EQ(port.name, "");
  EXPECT_EQ(port.duplex, Duplex::kAuto);
  EXPECT_FALSE(port.linkUp);
  EXPECT_FALSE(port.enabled);
  EXPECT_EQ(port.linkSpeed, 0U);
  EXPECT_EQ(bytesOf(port.mac), MacAddress::Bytes{});
  EXPECT_FALSE(port.capabilitySupported);
  EXPECT_FALSE(port.capabilityEnabled);
  EXPECT_EQ(port.mtu, 0U);
  EXPECT_FALSE(port.pci);
  EXPECT_THAT(port.faults, IsEmpty());
}

TEST(HostDefaults, RecordsOfAPort) {
  const SimulatedPort port = portOf("");
  const auto& settings = std::get<0>(port.record<PnicLinkSettings>());
  EXPECT_THAT(settings.supportedPorts, IsEmpty());
  EXPECT_THAT(settings.supportedLinkModes, IsEmpty());
  EXPECT_EQ(settings.autoNegotiation, 0);
  EXPECT_THAT(settings.advertisedLinkModes, IsEmpty());
  EXPECT_FALSE(settings.advertisedAutoNegotiation);
  EXPECT_EQ(settings.linkMode, LinkMode{});
  EXPECT_EQ(settings.portMode, PnicPortMode::kTwistedPair);
  EXPECT_EQ(settings.phyAddress, 0U);
  EXPECT_EQ(settings.transceiver, TransceiverMode::kInternal);
  EXPECT_THAT(settings.wolSupported, IsEmpty());
  EXPECT_THAT(settings.wolOptions, IsEmpty());
  EXPECT_EQ(std::get<0>(port.record<PnicStatistics>()).packetsTx, 0U);
  EXPECT_FALSE(std::get<0>(port.record<PnicCoalesceParams>()).adaptiveRx);
  EXPECT_EQ(std::get<0>(port.record<PnicDriverInfo>()).driver, "");
}

TEST(HostDefaults, PciMembersAreZero) {
  const PciLocation pci = portOf(R"("pci": {})").pci.value();
  EXPECT_EQ(pci.segment, 0);
  EXPECT_EQ(pci.bus, 0);
  EXPECT_EQ(pci.slot, 0);
  EXPECT_EQ(pci.function, 0);
  EXPECT_EQ(pci.vendorId, 0);
  EXPECT_EQ(pci.deviceId, 0);
}

TEST(HostDefaults, Interface) {
  const SimulatedInterface interface = hostOf(R"({"interfaces": [{}]})").interfaces.at(0);
  EXPECT_EQ(interface.name, "");
  EXPECT_FALSE(interface.ipv4);
  EXPECT_THAT(interface.ipv6, IsEmpty());
}

TEST(HostDefaults, Ipv4WithoutMembersIsAllZero) {
  const auto ipv4 = hostOf(R"({"interfaces": [{"ipv4": {}}]})").interfaces.at(0).ipv4.value();
  EXPECT_EQ(ipv4.address, HsiIpv4Address{});
  EXPECT_EQ(ipv4.netmask, HsiIpv4Address{});
}

TEST(HostDefaults, Ipv6IdIsTheAddressText) {
  const auto ipv6 = hostOf(R"({"interfaces": [{"ipv6": [{"address": "fe80::1"}, {"id": "x"}]}]})")
                        .interfaces.at(0)
                        .ipv6;
  EXPECT_EQ(ipv6.at(0).id, "fe80::1");
  EXPECT_EQ(ipv6.at(0).prefixLength, 0U);
  EXPECT_EQ(ipv6.at(1).id, "x");
  EXPECT_EQ(ipv6.at(1).address, "");
}

TEST(HostDefaults, Processors) {
  const SimulatedProcessors processors = hostOf(R"({"processors": {}})").processors;
  EXPECT_EQ(processors.powerPolicy, "dynamic");
  EXPECT_EQ(processors.hyperThreading, 0U);
  EXPECT_EQ(processors.modelName, "");
  EXPECT_THAT(processors.packages, IsEmpty());
}

TEST(HostDefaults, CoreCountIsTheNumberOfCores) {
  const auto packages =
      hostOf(
          R"({"processors": {"packages": [{}, {"cores": [{}, {}]}, {"cores": [{}], "coreCount": 8}]}})")
          .processors.packages;
  EXPECT_EQ(packages.at(0).coreCount, 0U);
  EXPECT_EQ(packages.at(1).coreCount, 2U);
  EXPECT_EQ(packages.at(2).coreCount, 8U);
  EXPECT_EQ(packages.at(2).cores.size(), 1U);
}

TEST(HostDefaults, Core) {
  const SimulatedCore core = hostOf(R"({"processors": {"packages": [{"cores": [{}]}]}})")
                                 .processors.packages.at(0)
                                 .cores.at(0);
  EXPECT_TRUE(core.running);
  EXPECT_EQ(core.stepping, 0);
  EXPECT_EQ(core.vendor, "GenuineIntel");
  EXPECT_EQ(core.featureEbx, 0U);
  EXPECT_EQ(core.featureEcx, 0U);
  EXPECT_EQ(core.extendedEcx, 0U);
  EXPECT_EQ(core.extendedEdx, 0U);
}

TEST(HostDefaults, Version) {
  const SimulatedVersion version = hostOf(R"({"version": {}})").version;
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.errnoValue, 5);
  EXPECT_EQ(version.text, "simulated failure");
  EXPECT_EQ(version.productName, "Orvane Ondi");
  EXPECT_EQ(version.version, "5.1.0");
  EXPECT_EQ(version.edition, "simulated");
  EXPECT_EQ(version.releaseDate, "");
  EXPECT_EQ(version.buildNumber, 0);
}

TEST(HostMembers, TopLevel) {
  const SimulatedHost host =
      hostOf(R"({"systemName": "host-7", "systemClassName": "X_System", "hypervisor": false})");
  EXPECT_EQ(host.systemName, "host-7");
  EXPECT_EQ(host.systemClassName, "X_System");
  EXPECT_FALSE(host.hypervisor);
}

TEST(HostMembers, Port) {
  const SimulatedPort port = portOf(
      R"("name": "nic3", "duplex": 2, "linkUp": true, "enabled": true, "linkSpeed": 25000,
         "mac": "02:1a:2B:ab:cd:ef", "capabilitySupported": true, "capabilityEnabled": true,
         "mtu": 4294967295)");
  EXPECT_EQ(port.name, "nic3");
  EXPECT_EQ(port.duplex, Duplex::kHalf);
  EXPECT_TRUE(port.linkUp);
  EXPECT_TRUE(port.enabled);
  EXPECT_EQ(port.linkSpeed, 25000U);
  EXPECT_EQ(bytesOf(port.mac), (MacAddress::Bytes{0x02, 0x1a, 0x2b, 0xab, 0xcd, 0xef}));
  EXPECT_TRUE(port.capabilitySupported);
  EXPECT_TRUE(port.capabilityEnabled);
  EXPECT_EQ(port.mtu, 4294967295U);
}

// Each flag alone, so that none stands for another.
TEST(HostMembers, FlagsOfAPortAreApart) {
  EXPECT_TRUE(portOf(R"("linkUp": true)").linkUp);
  EXPECT_FALSE(portOf(R"("linkUp": true)").enabled);
  EXPECT_FALSE(portOf(R"("capabilitySupported": true)").capabilityEnabled);
  EXPECT_FALSE(portOf(R"("capabilityEnabled": true)").capabilitySupported);
}

TEST(HostMembers, Pci) {
  const PciLocation pci =
      portOf(
          R"("pci": {"segment": 65535, "bus": 255, "slot": 31, "function": 7, "vendorId": "0x8086",
                        "deviceId": "0x10FB"})")
          .pci.value();
  EXPECT_EQ(pci.segment, 65535);
  EXPECT_EQ(pci.bus, 255);
  EXPECT_EQ(pci.slot, 31);
  EXPECT_EQ(pci.function, 7);
  EXPECT_EQ(pci.vendorId, 0x8086);
  EXPECT_EQ(pci.deviceId, 0x10fb);
}

TEST(HostMembers, NullPciIsNone) { EXPECT_FALSE(portOf(R"("pci": null)").pci); }

TEST(HostMembers, LinkSettings) {
  const SimulatedPort port = portOf(
      R"("linkSettings": {"supportedPorts": [4, 0], "supportedLinkModes": [[10000, 1], [0, 0]],
         "autoNegotiation": 1, "advertisedLinkModes": [[100, 2]], "advertisedAutoNegotiation": true,
         "linkMode": [1000, 1], "portMode": 3, "phyAddress": 17, "transceiver": 2,
         "wolSupported": [1, 7], "wolOptions": [6]})");
  const auto& settings = std::get<0>(port.record<PnicLinkSettings>());
  EXPECT_THAT(settings.supportedPorts,
              ElementsAre(PnicPortMode::kFibre, PnicPortMode::kTwistedPair));
  EXPECT_THAT(settings.supportedLinkModes,
              ElementsAre(LinkMode{LinkSpeed{10000}, Duplex::kFull}, LinkMode{}));
  EXPECT_EQ(settings.autoNegotiation, 1);
  EXPECT_THAT(settings.advertisedLinkModes, ElementsAre(LinkMode{LinkSpeed{100}, Duplex::kHalf}));
  EXPECT_TRUE(settings.advertisedAutoNegotiation);
  EXPECT_EQ(settings.linkMode, (LinkMode{LinkSpeed{1000}, Duplex::kFull}));
  EXPECT_EQ(settings.portMode, PnicPortMode::kCoaxial);
  EXPECT_EQ(settings.phyAddress, 17U);
  EXPECT_EQ(settings.transceiver, TransceiverMode::kUnknown);
  EXPECT_THAT(settings.wolSupported, ElementsAre(WakeOnMode::kPhy, WakeOnMode::kMagicSecure));
  EXPECT_THAT(settings.wolOptions, ElementsAre(WakeOnMode::kMagic));
}

TEST(HostMembers, EnumerationsOfLinkSettingsGoBeyondTheKnownRange) {
  const SimulatedPort port = portOf(
      R"("linkSettings": {"supportedPorts": [99], "linkMode": [40000, 9], "portMode": 5,
         "transceiver": 4294967295, "wolSupported": [0, 9], "wolOptions": ["0x40"]})");
  const auto& settings = std::get<0>(port.record<PnicLinkSettings>());
  EXPECT_THAT(settings.supportedPorts, ElementsAre(PnicPortMode{99}));
  EXPECT_EQ(settings.linkMode, (LinkMode{LinkSpeed{40000}, Duplex{9}}));
  EXPECT_EQ(settings.portMode, PnicPortMode{5});
  EXPECT_EQ(settings.transceiver, TransceiverMode{4294967295});
  EXPECT_THAT(settings.wolSupported, ElementsAre(WakeOnMode{0}, WakeOnMode{9}));
  EXPECT_THAT(settings.wolOptions, ElementsAre(WakeOnMode{64}));
}

template <typename Record>
Record* pointerTo(const Nodemgr::Network::RecordCall<Record>&);

/// With one member set to its greatest value, that fact of the record holds it and every other is
/// what it is by default. Returns how many members that could be tried with.
template <typename Record>
int expectEachMemberInItsOwnPlace(const std::string& record) {
  int tried = 0;
  platform::forEachFact<Record>([&](const auto& set) {
    using Type = std::decay_t<decltype(Record{}.*set.member)>;
    if constexpr (std::is_integral_v<Type>) {
      ++tried;
      Record expected;
      expected.*set.member = std::numeric_limits<Type>::max();
      const std::string most =
          std::is_same_v<Type, bool> ? "true" : std::to_string(expected.*set.member);
      const SimulatedPort port = portOf("\"" + record + "\": {\"" + set.name + "\": " + most + "}");
      platform::forEachFact<Record>([&](const auto& fact) {
        EXPECT_EQ(std::get<0>(port.record<Record>()).*fact.member, expected.*fact.member)
            << record << ": " << set.name << ", " << fact.name;
      });
    }
  });
  return tried;
}

TEST(HostMembers, EachNumberAndFlagOfARecordHasItsOwnPlace) {
  int tried = 0;
  const auto tryRecord = [&](const auto& call) {
    using Record = std::remove_pointer_t<decltype(pointerTo(call))>;
    tried += expectEachMemberInItsOwnPlace<Record>(call.member);
  };
  std::apply([&](const auto&... call) { (tryRecord(call), ...); }, Nodemgr::Network::kRecordCalls);
  EXPECT_GE(tried, 44);
}

// Spelled here once more: host files in use must stay readable.
TEST(HostMembers, CountersAndSettingsAreSpelledAsTheyAlwaysWere) {
  const SimulatedPort port = portOf(
      R"("statistics": {"packetsTx": 1, "bytesRx": 2, "droppedTx": 3, "RxLengthErrors": 4,
                        "RxOverErrors": 5, "RxCRCErrors": 6, "RxFrameErrors": 7, "RxFIFOErrors": 8,
                        "RxMissedErrors": 9, "TxAbortedErrors": 10, "TxFIFOErrors": 11,
                        "TxCarrierErrors": 12, "TxHeartbeatErrors": 13, "TxWindowErrors": 14},
         "coalesce": {"statsBlockUsecs": 1, "pktRateLow": 2, "rxUsecsIrq": 3, "txFramesIrq": 4,
                      "rxFrameLow": 5, "txFrameHigh": 6})");
  const auto& statistics = std::get<0>(port.record<PnicStatistics>());
  EXPECT_EQ(statistics.packetsTx, 1U);
  EXPECT_EQ(statistics.bytesRx, 2U);
  EXPECT_EQ(statistics.droppedTx, 3U);
  EXPECT_EQ(statistics.rxLengthErrors, 4U);
  EXPECT_EQ(statistics.rxOverErrors, 5U);
  EXPECT_EQ(statistics.rxCrcErrors, 6U);
  EXPECT_EQ(statistics.rxFrameErrors, 7U);
  EXPECT_EQ(statistics.rxFifoErrors, 8U);
  EXPECT_EQ(statistics.rxMissedErrors, 9U);
  EXPECT_EQ(statistics.txAbortedErrors, 10U);
  EXPECT_EQ(statistics.txFifoErrors, 11U);
  EXPECT_EQ(statistics.txCarrierErrors, 12U);
  EXPECT_EQ(statistics.txHeartbeatErrors, 13U);
  EXPECT_EQ(statistics.txWindowErrors, 14U);
  const auto& coalesce = std::get<0>(port.record<PnicCoalesceParams>());
  EXPECT_EQ(coalesce.statsBlockUsecs, 1U);
  EXPECT_EQ(coalesce.pktRateLow, 2U);
  EXPECT_EQ(coalesce.rxUsecsIrq, 3U);
  EXPECT_EQ(coalesce.txFramesIrq, 4U);
  EXPECT_EQ(coalesce.rxFrameLow, 5U);
  EXPECT_EQ(coalesce.txFrameHigh, 6U);
}

TEST(HostMembers, AdaptiveCoalescingIsTwoFlags) {
  const SimulatedPort receive = portOf(R"("coalesce": {"adaptiveRX": true})");
  EXPECT_TRUE(std::get<0>(receive.record<PnicCoalesceParams>()).adaptiveRx);
  EXPECT_FALSE(std::get<0>(receive.record<PnicCoalesceParams>()).adaptiveTx);
  const SimulatedPort send = portOf(R"("coalesce": {"adaptiveTX": true})");
  EXPECT_FALSE(std::get<0>(send.record<PnicCoalesceParams>()).adaptiveRx);
  EXPECT_TRUE(std::get<0>(send.record<PnicCoalesceParams>()).adaptiveTx);
}

TEST(HostMembers, DriverInfo) {
  const SimulatedPort port = portOf(
      R"("driverInfo": {"driver": "e5", "driverVersion": "2.1", "firmwareVersion": "0x80000a",
                        "busInfo": "0000:03:00.1"})");
  const auto& info = std::get<0>(port.record<PnicDriverInfo>());
  EXPECT_EQ(info.driver, "e5");
  EXPECT_EQ(info.driverVersion, "2.1");
  EXPECT_EQ(info.firmwareVersion, "0x80000a");
  EXPECT_EQ(info.busInfo, "0000:03:00.1");
}

TEST(HostMembers, Interface) {
  const auto interfaces = hostOf(
                              R"({"interfaces": [
          {"name": "hk0", "ipv4": {"address": "10.0.0.7", "netmask": "255.255.255.0"},
           "ipv6": [{"id": "a", "address": "fe80::1", "prefixLength": 64}]},
          {"name": "hk1", "ipv4": {"address": "10.0.1.7", "netmask": null}},
          {"name": "hk2", "ipv4": null}]})")
                              .interfaces;
  EXPECT_EQ(interfaces.at(0).name, "hk0");
  EXPECT_EQ(interfaces.at(0).ipv4.value().address, (HsiIpv4Address{10, 0, 0, 7}));
  EXPECT_EQ(interfaces.at(0).ipv4.value().netmask, (HsiIpv4Address{255, 255, 255, 0}));
  EXPECT_EQ(interfaces.at(0).ipv6.at(0).id, "a");
  EXPECT_EQ(interfaces.at(0).ipv6.at(0).address, "fe80::1");
  EXPECT_EQ(interfaces.at(0).ipv6.at(0).prefixLength, 64U);
  EXPECT_FALSE(interfaces.at(1).ipv4.value().netmask);
  EXPECT_FALSE(interfaces.at(2).ipv4);
}

TEST(HostMembers, Processors) {
  const SimulatedProcessors processors =
      hostOf(R"({"processors": {"powerPolicy": "off", "hyperThreading": 1, "modelName": "M",
          "packages": [{"cores": [{"running": false, "stepping": 255, "vendor": "AuthenticAMD",
          "featureEbx": 1, "featureEcx": "0x20", "extendedEcx": 4, "extendedEdx": "0xFFFFFFFF"}]}]}})")
          .processors;
  EXPECT_EQ(processors.powerPolicy, "off");
  EXPECT_EQ(processors.hyperThreading, 1U);
  EXPECT_EQ(processors.modelName, "M");
  const SimulatedCore& core = processors.packages.at(0).cores.at(0);
  EXPECT_FALSE(core.running);
  EXPECT_EQ(core.stepping, 255);
  EXPECT_EQ(core.vendor, "AuthenticAMD");
  EXPECT_EQ(core.featureEbx, 1U);
  EXPECT_EQ(core.featureEcx, 0x20U);
  EXPECT_EQ(core.extendedEcx, 4U);
  EXPECT_EQ(core.extendedEdx, 0xffffffffU);
}

TEST(HostMembers, HsiFaults) {
  const SimulatedHsi hsi = hostOf(R"({"hsi": {"signatureOk": false, "failNodes": [605, "0x640"],
          "failInstances": {"239": ["hk0"], "240": ["hk1"], "243": ["hk2"], "244": ["fe80::1", "b"],
                            "607": [0, 3], "608": [1], "800": [2], "801": ["0x4"]}}})")
                               .hsi;
  EXPECT_FALSE(hsi.signatureOk);
  EXPECT_THAT(hsi.failNodes, ElementsAre(605U, 1600U));
  EXPECT_THAT(hsi.failInstances.at(239).names, ElementsAre("hk0"));
  EXPECT_THAT(hsi.failInstances.at(240).names, ElementsAre("hk1"));
  EXPECT_THAT(hsi.failInstances.at(243).names, ElementsAre("hk2"));
  EXPECT_THAT(hsi.failInstances.at(244).names, ElementsAre("fe80::1", "b"));
  EXPECT_THAT(hsi.failInstances.at(607).numbers, ElementsAre(0, 3));
  EXPECT_THAT(hsi.failInstances.at(608).numbers, ElementsAre(1));
  EXPECT_THAT(hsi.failInstances.at(800).numbers, ElementsAre(2));
  EXPECT_THAT(hsi.failInstances.at(801).numbers, ElementsAre(4));
}

TEST(HostMembers, Version) {
  const SimulatedVersion version =
      hostOf(R"({"version": {"status": -7, "errno": 13, "text": "no", "productName": "P",
          "version": "6.0.1", "edition": "e", "releaseDate": "Oct 4 2014", "buildNumber": -1}})")
          .version;
  EXPECT_EQ(version.status, -7);
  EXPECT_EQ(version.errnoValue, 13);
  EXPECT_EQ(version.text, "no");
  EXPECT_EQ(version.productName, "P");
  EXPECT_EQ(version.version, "6.0.1");
  EXPECT_EQ(version.edition, "e");
  EXPECT_EQ(version.releaseDate, "Oct 4 2014");
  EXPECT_EQ(version.buildNumber, -1);
}

TEST(HostMembers, ALaterOneOfTheSameNameCounts) {
  EXPECT_EQ(hostOf(R"({"systemName": "a", "systemName": "b"})").systemName, "b");
}

TEST(HostFaults, StandInPlaceOfThePorts) {
  EXPECT_EQ(std::get<Fault>(hostOf(R"({"ports": {"throw": "nodemgr"}})").ports), Fault::kNodemgr);
  EXPECT_EQ(std::get<Fault>(hostOf(R"({"ports": {"throw": "other"}})").ports), Fault::kOther);
}

TEST(HostFaults, StandInPlaceOfEachRecordOfAPort) {
  const SimulatedPort port = portOf(
      R"("linkSettings": {"throw": "nodemgr"}, "statistics": {"throw": "other"},
         "coalesce": {"throw": "nodemgr"}, "driverInfo": {"throw": "other"})");
  EXPECT_EQ(std::get<Fault>(port.record<PnicLinkSettings>()), Fault::kNodemgr);
  EXPECT_EQ(std::get<Fault>(port.record<PnicStatistics>()), Fault::kOther);
  EXPECT_EQ(std::get<Fault>(port.record<PnicCoalesceParams>()), Fault::kNodemgr);
  EXPECT_EQ(std::get<Fault>(port.record<PnicDriverInfo>()), Fault::kOther);
}

TEST(HostFaults, EveryAccessorCanHaveOne) {
  for (const std::string& accessor : accessorNames()) {
    const SimulatedPort port = portOf("\"faults\": {\"" + accessor + "\": \"other\"}");
    EXPECT_THAT(port.faults, ElementsAre(testing::Pair(accessor, Fault::kOther)));
  }
}

struct Refused {
  const char* text;
  const char* place;
};

TEST(HostErrors, AnUnknownMemberIsNoticedAtEveryLevel) {
  constexpr Refused kTexts[] = {
      {R"({"prots": []})", "/prots"},
      {R"({"ports": {"throw": "nodemgr", "x": 1}})", "/ports/x"},
      {R"({"ports": [{}, {"mtuu": 1}]})", "/ports/1/mtuu"},
      {R"({"ports": [{"pci": {"buss": 1}}]})", "/ports/0/pci/buss"},
      {R"({"ports": [{"linkSettings": {"x": 1}}]})", "/ports/0/linkSettings/x"},
      {R"({"ports": [{"linkSettings": {"throw": "other", "portMode": 1}}]})",
       "/ports/0/linkSettings/portMode"},
      {R"({"ports": [{"statistics": {"rxCRCErrors": 1}}]})", "/ports/0/statistics/rxCRCErrors"},
      {R"({"ports": [{"coalesce": {"rxFramesLow": 1}}]})", "/ports/0/coalesce/rxFramesLow"},
      {R"({"ports": [{"driverInfo": {"x": ""}}]})", "/ports/0/driverInfo/x"},
      {R"({"ports": [{"faults": {"GetMTU": "other"}}]})", "/ports/0/faults/GetMTU"},
      {R"({"interfaces": [{"mac": ""}]})", "/interfaces/0/mac"},
      {R"({"interfaces": [{"ipv4": {"mask": ""}}]})", "/interfaces/0/ipv4/mask"},
      {R"({"interfaces": [{"ipv6": [{"prefix": 1}]}]})", "/interfaces/0/ipv6/0/prefix"},
      {R"({"processors": {"x": 1}})", "/processors/x"},
      {R"({"processors": {"packages": [{"x": 1}]}})", "/processors/packages/0/x"},
      {R"({"processors": {"packages": [{"cores": [{}, {"x": 1}]}]}})",
       "/processors/packages/0/cores/1/x"},
      {R"({"hsi": {"x": 1}})", "/hsi/x"},
      {R"({"hsi": {"failInstances": {"214": []}}})", "/hsi/failInstances/214"},
      {R"({"version": {"x": 1}})", "/version/x"},
  };
  for (const Refused& refused : kTexts) {
    EXPECT_EQ(placeOf(refused.text), refused.place);
    EXPECT_EQ(errorOf(refused.text).message, "unknown member") << refused.text;
  }
}

TEST(HostErrors, AWrongTypeIsNoticed) {
  constexpr Refused kTexts[] = {
      {"[]", "top level"},
      {"null", "top level"},
      {R"("text")", "top level"},
      {R"({"systemName": 7})", "/systemName"},
      {R"({"systemName": null})", "/systemName"},
      {R"({"systemClassName": []})", "/systemClassName"},
      {R"({"hypervisor": 1})", "/hypervisor"},
      {R"({"ports": null})", "/ports"},
      {R"({"ports": {}})", "/ports"},
      {R"({"ports": [[]]})", "/ports/0"},
      {R"({"ports": [{"name": 1}]})", "/ports/0/name"},
      {R"({"ports": [{"linkUp": "true"}]})", "/ports/0/linkUp"},
      {R"({"ports": [{"enabled": 0}]})", "/ports/0/enabled"},
      {R"({"ports": [{"linkSpeed": true}]})", "/ports/0/linkSpeed"},
      {R"({"ports": [{"linkSpeed": 1.0}]})", "/ports/0/linkSpeed"},
      {R"({"ports": [{"mac": 1}]})", "/ports/0/mac"},
      {R"({"ports": [{"pci": []}]})", "/ports/0/pci"},
      {R"({"ports": [{"linkSettings": []}]})", "/ports/0/linkSettings"},
      {R"({"ports": [{"linkSettings": {"autoNegotiation": true}}]})",
       "/ports/0/linkSettings/autoNegotiation"},
      {R"({"ports": [{"linkSettings": {"linkMode": 1000}}]})", "/ports/0/linkSettings/linkMode"},
      {R"({"ports": [{"linkSettings": {"linkMode": [1000]}}]})", "/ports/0/linkSettings/linkMode"},
      {R"({"ports": [{"linkSettings": {"linkMode": [1000, 1, 1]}}]})",
       "/ports/0/linkSettings/linkMode"},
      {R"({"ports": [{"linkSettings": {"supportedLinkModes": [[1, 1], [1, null]]}}]})",
       "/ports/0/linkSettings/supportedLinkModes/1/1"},
      {R"({"ports": [{"statistics": null}]})", "/ports/0/statistics"},
      {R"({"ports": [{"coalesce": {"adaptiveRX": 1}}]})", "/ports/0/coalesce/adaptiveRX"},
      {R"({"ports": [{"faults": []}]})", "/ports/0/faults"},
      {R"({"ports": [{"faults": {"GetMtu": {"throw": "other"}}}]})", "/ports/0/faults/GetMtu"},
      {R"({"interfaces": {"throw": "other"}})", "/interfaces"},
      {R"({"interfaces": [{"ipv6": null}]})", "/interfaces/0/ipv6"},
      {R"({"interfaces": [{"ipv4": {"address": null}}]})", "/interfaces/0/ipv4/address"},
      {R"({"processors": []})", "/processors"},
      {R"({"processors": {"packages": [{"cores": 4}]}})", "/processors/packages/0/cores"},
      {R"({"hsi": {"failNodes": 605}})", "/hsi/failNodes"},
      {R"({"hsi": {"failInstances": {"239": [0]}}})", "/hsi/failInstances/239/0"},
      {R"({"hsi": {"failInstances": {"608": ["one"]}}})", "/hsi/failInstances/608/0"},
      {R"({"version": {"version": 5.1}})", "/version/version"},
  };
  for (const Refused& refused : kTexts) EXPECT_EQ(placeOf(refused.text), refused.place);
}

TEST(HostErrors, ANumberOutOfRangeIsNoticed) {
  constexpr Refused kTexts[] = {
      {R"({"ports": [{"duplex": 3}]})", "/ports/0/duplex"},
      {R"({"ports": [{}, {"linkSpeed": 4294967296}]})", "/ports/1/linkSpeed"},
      {R"({"ports": [{"linkSpeed": -1}]})", "/ports/0/linkSpeed"},
      {R"({"ports": [{"mtu": "0x100000000"}]})", "/ports/0/mtu"},
      {R"({"ports": [{"pci": {"segment": 65536}}]})", "/ports/0/pci/segment"},
      {R"({"ports": [{"pci": {"bus": 256}}]})", "/ports/0/pci/bus"},
      {R"({"ports": [{"linkSettings": {"autoNegotiation": 256}}]})",
       "/ports/0/linkSettings/autoNegotiation"},
      {R"({"ports": [{"linkSettings": {"wolOptions": [-1]}}]})",
       "/ports/0/linkSettings/wolOptions/0"},
      {R"({"ports": [{"statistics": {"bytesTx": 18446744073709551616}}]})",
       "/ports/0/statistics/bytesTx"},
      {R"({"ports": [{"statistics": {"bytesTx": "0x10000000000000000"}}]})",
       "/ports/0/statistics/bytesTx"},
      {R"({"processors": {"packages": [{"cores": [{"stepping": 256}]}]}})",
       "/processors/packages/0/cores/0/stepping"},
      {R"({"version": {"buildNumber": 2147483648}})", "/version/buildNumber"},
      {R"({"version": {"buildNumber": -2147483649}})", "/version/buildNumber"},
      {R"({"version": {"buildNumber": "0x80000000"}})", "/version/buildNumber"},
  };
  for (const Refused& refused : kTexts) EXPECT_EQ(placeOf(refused.text), refused.place);
  EXPECT_EQ(errorOf(R"({"ports": [{"pci": {"bus": 256}}]})").message,
            "expected an integer from 0 to 255");
}

TEST(HostErrors, TextsHaveForms) {
  constexpr Refused kTexts[] = {
      {R"({"ports": [{"mtu": "1500"}]})", "/ports/0/mtu"},
      {R"({"ports": [{"mtu": "0x"}]})", "/ports/0/mtu"},
      {R"({"ports": [{"mtu": "0x12g"}]})", "/ports/0/mtu"},
      {R"({"ports": [{"mtu": "0x-1"}]})", "/ports/0/mtu"},
      {R"({"ports": [{"mtu": ""}]})", "/ports/0/mtu"},
      {R"({"ports": [{"mac": ""}]})", "/ports/0/mac"},
      {R"({"ports": [{"mac": "02:1a:2b:ab:cd"}]})", "/ports/0/mac"},
      {R"({"ports": [{"mac": "02:1a:2b:ab:cd:ef:00"}]})", "/ports/0/mac"},
      {R"({"ports": [{"mac": "02-1a-2b-ab-cd-ef"}]})", "/ports/0/mac"},
      {R"({"ports": [{"mac": "02:1a:2b:ab:cd:e:"}]})", "/ports/0/mac"},
      {R"({"ports": [{"mac": "02:1a:2b:ab:cd:eg"}]})", "/ports/0/mac"},
      {R"({"ports": {"throw": "something"}})", "/ports/throw"},
      {R"({"ports": [{"faults": {"GetMtu": "nodemanager"}}]})", "/ports/0/faults/GetMtu"},
      {R"({"interfaces": [{"ipv4": {"address": ""}}]})", "/interfaces/0/ipv4/address"},
      {R"({"interfaces": [{"ipv4": {"address": "10.0.0"}}]})", "/interfaces/0/ipv4/address"},
      {R"({"interfaces": [{"ipv4": {"address": "10.0.0.7.1"}}]})", "/interfaces/0/ipv4/address"},
      {R"({"interfaces": [{"ipv4": {"address": "10.0.0.7."}}]})", "/interfaces/0/ipv4/address"},
      {R"({"interfaces": [{"ipv4": {"address": "10.0.0.256"}}]})", "/interfaces/0/ipv4/address"},
      {R"({"interfaces": [{"ipv4": {"address": "10..0.7"}}]})", "/interfaces/0/ipv4/address"},
      {R"({"interfaces": [{"ipv4": {"netmask": "fe80::"}}]})", "/interfaces/0/ipv4/netmask"},
      {R"({"processors": {"packages": [{"cores": [{"vendor": "Genuine"}]}]}})",
       "/processors/packages/0/cores/0/vendor"},
  };
  for (const Refused& refused : kTexts) EXPECT_EQ(placeOf(refused.text), refused.place);
}

TEST(HostErrors, TextThatIsNotJsonNamesLineAndColumn) {
  EXPECT_EQ(placeOf(""), "line 1, column 1");
  EXPECT_EQ(placeOf("{"), "line 1, column 2");
  EXPECT_EQ(placeOf("{]"), "line 1, column 2");
  EXPECT_EQ(placeOf("{\n  \"systemName\": \"x\",\n}"), "line 3, column 1");
  EXPECT_EQ(placeOf("{} {}"), "line 1, column 4");
  EXPECT_EQ(placeOf("\n\n{\"a\": 1e999}"), "line 3, column 11");
  EXPECT_EQ(placeOf("{\"systemName\": \"\xff\"}"), "line 1, column 17");
  EXPECT_EQ(errorOf("{").message, "not JSON");
}

// The JSON library would stop reading at a NUL and take the text before it for the whole.
TEST(HostErrors, ANulIsNotJson) {
  EXPECT_EQ(placeOf(std::string_view("{}\n\0{", 5)), "line 2, column 1");
}

TEST(HostErrors, APlaceIsAJsonPointer) {
  EXPECT_EQ(placeOf(R"({"a/b~c": 1})"), "/a~1b~0c");
  EXPECT_EQ(placeOf(R"({"": 1})"), "/");
}

TEST(HostErrors, DeepNestingIsRefusedLikeAnyWrongType) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  EXPECT_EQ(placeOf(deep), "top level");
  EXPECT_EQ(placeOf("{\"ports\": [" + deep + "]}"), "/ports/0");
}

TEST(HostFiles, TheExampleIsAHost) {
  const SimulatedHost host = hostOf(fileText("example.json"));
  EXPECT_EQ(host.systemName, "host-7");
  const auto& ports = std::get<std::vector<SimulatedPort>>(host.ports);
  ASSERT_EQ(ports.size(), 2U);
  EXPECT_EQ(std::get<0>(ports[0].record<PnicStatistics>()).packetsTx, 6442450944U);
  EXPECT_EQ(std::get<Fault>(ports[1].record<PnicStatistics>()), Fault::kNodemgr);
  EXPECT_EQ(host.processors.packages.at(0).cores.at(0).extendedEdx, 0x20100000U);
  EXPECT_EQ(host.version.buildNumber, 1234);
  EXPECT_EQ(std::get<SimulatedHardware>(host.hardware).disks.at(0).used, 4);
}

TEST(HostFiles, TheEmptyHostIsAllDefaults) {
  const SimulatedHost host = hostOf(fileText("empty.json"));
  EXPECT_EQ(host.systemName, "simulated-host");
  EXPECT_THAT(std::get<0>(host.ports), IsEmpty());
}

}  // namespace
}  // namespace simulated
