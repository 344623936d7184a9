#include "platform/network_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <tuple>

#include "tests/support/host_with_ports.h"
#include "tests/support/simulated_host_file.h"

namespace {

using HykCtl::Network::NetworkInfoImpl;
using Nodemgr::Lib::NodemgrException;
using Nodemgr::Network::Duplex;
using Nodemgr::Network::kRecordCalls;
using Nodemgr::Network::MacAddress;
using Nodemgr::Network::Pnic;
using Nodemgr::Network::RecordCall;
using testing::ElementsAre;

std::vector<std::string> names(NetworkInfoImpl& info) {
  std::vector<std::string> result;
  for (const auto& pnic : info.GetPnics()) result.push_back(pnic->GetName());
  return result;
}

std::unique_ptr<Pnic> port(const std::string& members) {
  const SimulatedHostFile file("{\"ports\": [{\"name\": \"nic0\", " + members + "}]}");
  return NetworkInfoImpl().GetPnicByName("nic0");
}

/// What the call throws: "nodemgr", "other" or "nothing".
std::string thrownBy(const std::function<void()>& call) {
  try {
    call();
  } catch (const NodemgrException&) {
    return "nodemgr";
  } catch (const std::runtime_error&) {
    return "other";
  }
  return "nothing";
}

TEST(SimulatedPorts, ComeInTheOrderOfTheFile) {
  const SimulatedHostFile file(R"({"ports": [{"name": "z"}, {"name": "a"}, {}]})");
  NetworkInfoImpl info;
  EXPECT_THAT(names(info), ElementsAre("z", "a", ""));
}

TEST(SimulatedPorts, OneIsFoundByName) {
  const SimulatedHostFile file(
      R"({"ports": [{"name": "a", "mtu": 1}, {"name": "b", "mtu": 2}, {"name": "b", "mtu": 3}]})");
  EXPECT_EQ(NetworkInfoImpl().GetPnicByName("a")->GetMtu(), 1U);
  EXPECT_EQ(NetworkInfoImpl().GetPnicByName("b")->GetMtu(), 2U) << "the first of two";
  EXPECT_EQ(NetworkInfoImpl().GetPnicByName("c"), nullptr);
  EXPECT_EQ(NetworkInfoImpl().GetPnicByName("A"), nullptr);
  EXPECT_EQ(NetworkInfoImpl().GetPnicByName(""), nullptr);
}

TEST(SimulatedPorts, EveryAccessorAnswersItsMember) {
  const auto pnic = port(R"("duplex": 1, "linkUp": true, "enabled": true, "linkSpeed": 10000,
              "mac": "02:1a:2b:ab:cd:ef", "capabilitySupported": true, "mtu": 9000,
              "pci": {"segment": 1, "bus": 2, "slot": 3, "function": 4, "vendorId": 5, "deviceId": 6},
              "linkSettings": {"portMode": 4}, "statistics": {"packetsTx": 6442450944},
              "coalesce": {"rxUsecs": 3}, "driverInfo": {"driver": "e5"})");
  EXPECT_EQ(pnic->GetName(), "nic0");
  EXPECT_EQ(pnic->GetDuplex(), Duplex::kFull);
  EXPECT_TRUE(pnic->IsLinkUp());
  EXPECT_TRUE(pnic->IsEnabled());
  EXPECT_EQ(pnic->GetLinkSpeed(), 10000U);
  EXPECT_TRUE(pnic->IsCapabilitySupported());
  EXPECT_FALSE(pnic->IsCapabilityEnabled());
  EXPECT_EQ(pnic->GetMtu(), 9000U);
  MacAddress::Bytes mac{};
  pnic->GetMacAddress().GetBinaryAddress(mac.data());
  EXPECT_THAT(mac, ElementsAre(0x02, 0x1a, 0x2b, 0xab, 0xcd, 0xef));
  Nodemgr::Network::PnicLinkSettings settings;
  pnic->GetLinkSettings(settings);
  EXPECT_EQ(settings.portMode, Nodemgr::Network::PnicPortMode::kFibre);
  Nodemgr::Network::PnicStatistics statistics;
  pnic->GetStatistics(statistics);
  EXPECT_EQ(statistics.packetsTx, 6442450944U);
  Nodemgr::Network::PnicCoalesceParams params;
  pnic->GetCoalesceParams(params);
  EXPECT_EQ(params.rxUsecs, 3U);
  Nodemgr::Network::PnicDriverInfo info;
  pnic->GetDriverInfo(info);
  EXPECT_EQ(info.driver, "e5");
}

TEST(SimulatedPorts, EnabledCapabilityIsItsOwnFlag) {
  const auto pnic = port(R"("capabilityEnabled": true)");
  EXPECT_TRUE(pnic->IsCapabilityEnabled());
  EXPECT_FALSE(pnic->IsCapabilitySupported());
}

TEST(SimulatedPorts, PciDescriptorIsNullOrAnswersItsMembers) {
  EXPECT_EQ(port(R"("pci": null)")->GetPciDevice(), nullptr);
  const auto pnic = port(
      R"("pci": {"segment": 1, "bus": 2, "slot": 3, "function": 4, "vendorId": 5, "deviceId": 6})");
  auto* pci = pnic->GetPciDevice();
  ASSERT_NE(pci, nullptr);
  EXPECT_EQ(pci->GetSegment(), 1);
  EXPECT_EQ(pci->GetBus(), 2);
  EXPECT_EQ(pci->GetSlot(), 3);
  EXPECT_EQ(pci->GetFunction(), 4);
  EXPECT_EQ(pci->GetVendorId(), 5);
  EXPECT_EQ(pci->GetDeviceId(), 6);
}

TEST(SimulatedPorts, OutliveTheListAndTheFile) {
  std::unique_ptr<Pnic> pnic;
  {
    const SimulatedHostFile file(makeHostWithPorts(3));
    NetworkInfoImpl info;
    pnic = std::move(info.GetPnics().at(2));
    file.write("{}");
    const NetworkInfoImpl another;
  }
  EXPECT_EQ(pnic->GetName(), "nic2");
  EXPECT_NE(pnic->GetPciDevice(), nullptr);
}

TEST(SimulatedPorts, OneObjectSeesOneStateAndTheNextTheNewOne) {
  const SimulatedHostFile file(R"({"ports": [{"name": "a"}]})");
  NetworkInfoImpl before;
  file.write(R"({"ports": [{"name": "b"}]})");  // of the same length, at once
  NetworkInfoImpl after;
  EXPECT_THAT(names(before), ElementsAre("a"));
  EXPECT_THAT(names(after), ElementsAre("b"));
}

struct Call {
  const char* accessor;
  void (*call)(Pnic& pnic);
};

const std::vector<Call> kSingleCalls = {
    {"GetName", [](Pnic& pnic) { pnic.GetName(); }},
    {"GetPciDevice", [](Pnic& pnic) { pnic.GetPciDevice(); }},
    {"GetDuplex", [](Pnic& pnic) { pnic.GetDuplex(); }},
    {"IsLinkUp", [](Pnic& pnic) { pnic.IsLinkUp(); }},
    {"IsEnabled", [](Pnic& pnic) { pnic.IsEnabled(); }},
    {"GetLinkSpeed", [](Pnic& pnic) { pnic.GetLinkSpeed(); }},
    {"GetMacAddress", [](Pnic& pnic) { pnic.GetMacAddress(); }},
    {"IsCapabilityEnabled", [](Pnic& pnic) { pnic.IsCapabilityEnabled(); }},
    {"IsCapabilitySupported", [](Pnic& pnic) { pnic.IsCapabilitySupported(); }},
    {"GetMtu", [](Pnic& pnic) { pnic.GetMtu(); }},
};

const std::vector<Call> kPciCalls = {
    {"GetSegment", [](Pnic& pnic) { pnic.GetPciDevice()->GetSegment(); }},
    {"GetBus", [](Pnic& pnic) { pnic.GetPciDevice()->GetBus(); }},
    {"GetSlot", [](Pnic& pnic) { pnic.GetPciDevice()->GetSlot(); }},
    {"GetFunction", [](Pnic& pnic) { pnic.GetPciDevice()->GetFunction(); }},
    {"GetVendorId", [](Pnic& pnic) { pnic.GetPciDevice()->GetVendorId(); }},
    {"GetDeviceId", [](Pnic& pnic) { pnic.GetPciDevice()->GetDeviceId(); }},
};

template <typename... Record>
std::vector<Call> callsOf(const std::tuple<RecordCall<Record>...>& rows) {
  return {Call{std::get<RecordCall<Record>>(rows).name, [](Pnic& pnic) {
                 Record record;
                 pnic.fill(&record);
               }}...};
}

/// Every call of a port.
std::vector<Call> allCalls() {
  std::vector<Call> calls = callsOf(kRecordCalls);
  calls.insert(calls.end(), kSingleCalls.begin(), kSingleCalls.end());
  return calls;
}

/// With the fault on one accessor, that one throws and no other of the calls does.
void expectOneFaultEach(const std::vector<Call>& calls) {
  for (const Call& faulty : calls) {
    for (const char* fault : {"nodemgr", "other"}) {
      const auto pnic = port(std::string("\"pci\": {}, \"faults\": {\"") + faulty.accessor +
                             "\": \"" + fault + "\"}");
      for (const Call& call : calls) {
        EXPECT_EQ(thrownBy([&] { call.call(*pnic); }), &call == &faulty ? fault : "nothing")
            << faulty.accessor << ", " << call.accessor;
      }
    }
  }
}

TEST(SimulatedPortFaults, EachAccessorFailsAlone) { expectOneFaultEach(allCalls()); }

TEST(SimulatedPortFaults, EachAccessorOfThePciDescriptorFailsAlone) {
  expectOneFaultEach(kPciCalls);
}

TEST(SimulatedPortFaults, ARecordFailsWhereItsFaultStands) {
  const auto expectFault = [](const char* member, const char* accessor, const char* fault) {
    const auto pnic = port(std::string("\"") + member + "\": {\"throw\": \"" + fault + "\"}");
    for (const Call& call : allCalls()) {
      EXPECT_EQ(thrownBy([&] { call.call(*pnic); }),
                std::string(call.accessor) == accessor ? fault : "nothing")
          << member << ", " << call.accessor;
    }
  };
  const auto expectBoth = [&](const auto& row) {
    for (const char* fault : {"nodemgr", "other"}) expectFault(row.member, row.name, fault);
  };
  std::apply([&](const auto&... row) { (expectBoth(row), ...); }, kRecordCalls);
}

// Stated apart from the rows, with the call that each name stands for.
TEST(SimulatedPortFaults, AreNamedAsTheCallsThatFail) {
  const auto pnic = port(R"("faults": {"GetLinkSettings": "nodemgr", "GetStatistics": "other",
                             "GetCoalesceParams": "nodemgr", "GetDriverInfo": "other"})");
  Nodemgr::Network::PnicLinkSettings settings;
  EXPECT_EQ(thrownBy([&] { pnic->GetLinkSettings(settings); }), "nodemgr");
  Nodemgr::Network::PnicStatistics statistics;
  EXPECT_EQ(thrownBy([&] { pnic->GetStatistics(statistics); }), "other");
  Nodemgr::Network::PnicCoalesceParams params;
  EXPECT_EQ(thrownBy([&] { pnic->GetCoalesceParams(params); }), "nodemgr");
  Nodemgr::Network::PnicDriverInfo info;
  EXPECT_EQ(thrownBy([&] { pnic->GetDriverInfo(info); }), "other");
}

TEST(SimulatedPortFaults, TheListFailsForAllAndForOne) {
  for (const std::string fault : {"nodemgr", "other"}) {
    const SimulatedHostFile file("{\"ports\": {\"throw\": \"" + fault + "\"}}");
    NetworkInfoImpl info;
    EXPECT_EQ(thrownBy([&] { info.GetPnics(); }), fault);
    EXPECT_EQ(thrownBy([&] { info.GetPnicByName("nic0"); }), fault);
  }
}

TEST(SimulatedPortFaults, AnUnreadableHostFailsTheCallsForPorts) {
  const SimulatedHostFile file("{");
  NetworkInfoImpl info;
  EXPECT_EQ(thrownBy([&] { info.GetPnics(); }), "nodemgr");
  EXPECT_EQ(thrownBy([&] { info.GetPnicByName("nic0"); }), "nodemgr");
}

}  // namespace
