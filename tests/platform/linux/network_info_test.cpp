#include "platform/network_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/sysfs.h"
#include "tests/platform/linux/tool_output.h"

// What this machine's ports look like through the host interface, compared with what independent
// sources say about them.

namespace LinuxHost {
namespace {

using HykCtl::Network::NetworkInfoImpl;
using nlohmann::json;
using Nodemgr::Network::Duplex;
using Nodemgr::Network::MacAddress;
using Nodemgr::Network::Pnic;
using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicDriverInfo;
using Nodemgr::Network::PnicLinkSettings;
using Nodemgr::Network::PnicStatistics;

std::string colonText(const MacAddress& mac) {
  MacAddress::Bytes bytes{};
  mac.GetBinaryAddress(bytes.data());
  char text[18];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", bytes[0], bytes[1], bytes[2],
                bytes[3], bytes[4], bytes[5]);
  return text;
}

std::vector<std::string> portNames() {
  std::vector<std::string> names;
  NetworkInfoImpl info;
  for (const auto& port : info.GetPnics()) names.push_back(port->GetName());
  return names;
}

TEST(HostPorts, AreTheDeviceBackedEthernetLinksThatIpLists) {
  const auto text = toolOutput("ip -json link");
  if (!text) GTEST_SKIP() << "no ip command";
  std::vector<std::string> expected;
  for (const json& link : json::parse(*text)) {
    const std::string name = link["ifname"];
    if (link["link_type"] == "ether" &&
        std::filesystem::exists("/sys/class/net/" + name + "/device")) {
      expected.push_back(name);
    }
  }
  EXPECT_EQ(portNames(), expected);
}

TEST(HostPorts, HaveTheMtuAddressAndStatesThatIpShows) {
  const auto text = toolOutput("ip -json link");
  if (!text) GTEST_SKIP() << "no ip command";
  for (const json& link : json::parse(*text)) {
    const auto port = NetworkInfoImpl().GetPnicByName(link["ifname"]);
    if (!port) continue;
    EXPECT_EQ(port->GetMtu(), link["mtu"].get<unsigned>());
    EXPECT_EQ(colonText(port->GetMacAddress()),
              link.contains("permaddr") ? link["permaddr"] : link["address"]);
    const auto flags = link["flags"].get<std::vector<std::string>>();
    const auto has = [&](const char* flag) {
      return std::find(flags.begin(), flags.end(), flag) != flags.end();
    };
    EXPECT_EQ(port->IsEnabled(), has("UP"));
    EXPECT_EQ(port->IsLinkUp(), has("LOWER_UP"));
  }
}

TEST(HostPorts, HaveTheLinkSettingsThatEthtoolShows) {
  for (const std::string& name : portNames()) {
    const auto text = toolOutput("ethtool " + name);
    if (!text) GTEST_SKIP() << "no ethtool command";
    const auto port = NetworkInfoImpl().GetPnicByName(name);
    ASSERT_NE(port, nullptr);
    const std::string speed = labelled(*text, "Speed").value_or("Unknown!");
    EXPECT_EQ(port->GetLinkSpeed(), speed == "Unknown!" ? 0U : std::stoul(speed)) << speed;
    const std::string duplex = labelled(*text, "Duplex").value_or("Unknown!");
    const Duplex expected = duplex == "Full"   ? Duplex::kFull
                            : duplex == "Half" ? Duplex::kHalf
                                               : Duplex::kAuto;
    EXPECT_EQ(port->GetDuplex(), expected) << duplex;
    PnicLinkSettings settings;
    port->GetLinkSettings(settings);
    EXPECT_EQ(settings.autoNegotiation, labelled(*text, "Auto-negotiation") == "on" ? 1 : 0);
  }
}

TEST(HostPorts, HaveTheDriverThatEthtoolShows) {
  for (const std::string& name : portNames()) {
    const auto text = toolOutput("ethtool -i " + name);
    if (!text) GTEST_SKIP() << "no ethtool command";
    PnicDriverInfo info;
    NetworkInfoImpl().GetPnicByName(name)->GetDriverInfo(info);
    EXPECT_EQ(info.driver, labelled(*text, "driver"));
    EXPECT_EQ(info.driverVersion, labelled(*text, "version"));
    EXPECT_EQ(info.firmwareVersion, labelled(*text, "firmware-version"));
    EXPECT_EQ(info.busInfo, labelled(*text, "bus-info"));
  }
}

TEST(HostPorts, HaveTheCoalescingThatEthtoolShows) {
  for (const std::string& name : portNames()) {
    const auto text = toolOutput("ethtool -c " + name);
    if (!text) GTEST_SKIP() << "no ethtool -c for " << name;
    PnicCoalesceParams params;
    NetworkInfoImpl().GetPnicByName(name)->GetCoalesceParams(params);
    const auto expectNumber = [&](const char* label, std::uint32_t value) {
      const std::string shown = labelled(*text, label).value_or("n/a");
      EXPECT_EQ(value, shown == "n/a" ? 0U : std::stoul(shown)) << label;
    };
    expectNumber("rx-usecs", params.rxUsecs);
    expectNumber("rx-frames", params.rxFrames);
    expectNumber("tx-usecs", params.txUsecs);
    expectNumber("tx-frames", params.txFrames);
    expectNumber("rx-usecs-irq", params.rxUsecsIrq);
    expectNumber("pkt-rate-high", params.pktRateHigh);
    expectNumber("sample-interval", params.sampleInterval);
    const std::string adaptive = labelled(*text, "Adaptive RX").value_or("off");
    EXPECT_EQ(params.adaptiveRx, adaptive.compare(0, 2, "on") == 0);
  }
}

TEST(HostPorts, HaveTheStatisticsOfSysfs) {
  for (const std::string& name : portNames()) {
    const auto counter = [&](const char* file) {
      return static_cast<std::uint64_t>(
          readNumber("/sys/class/net/" + name + "/statistics/" + file).value_or(0));
    };
    const std::uint64_t receivedBefore = counter("rx_packets");
    const std::uint64_t sentBefore = counter("tx_bytes");
    PnicStatistics statistics;
    NetworkInfoImpl().GetPnicByName(name)->GetStatistics(statistics);
    // Traffic goes on; counters lie between two readings.
    EXPECT_GE(statistics.packetsRx, receivedBefore);
    EXPECT_LE(statistics.packetsRx, counter("rx_packets"));
    EXPECT_GE(statistics.bytesTx, sentBefore);
    EXPECT_LE(statistics.bytesTx, counter("tx_bytes"));
    EXPECT_LE(statistics.rxCrcErrors, counter("rx_crc_errors"));
    EXPECT_LE(statistics.droppedRx, counter("rx_dropped"));
  }
}

TEST(HostPorts, SitOnThePciFunctionThatEthtoolAndSysfsName) {
  for (const std::string& name : portNames()) {
    const auto port = NetworkInfoImpl().GetPnicByName(name);
    PnicDriverInfo info;
    port->GetDriverInfo(info);
    auto* pci = port->GetPciDevice();
    const std::string function = "/sys/bus/pci/devices/" + info.busInfo;
    if (info.busInfo.empty() || !std::filesystem::exists(function)) {
      EXPECT_EQ(pci, nullptr) << name;
      continue;
    }
    ASSERT_NE(pci, nullptr) << name;
    char address[32];
    std::snprintf(address, sizeof address, "%04x:%02x:%02x.%x", pci->GetSegment(), pci->GetBus(),
                  pci->GetSlot(), pci->GetFunction());
    EXPECT_EQ(address, info.busInfo);
    EXPECT_EQ(pci->GetVendorId(), readHex16(function + "/vendor"));
    EXPECT_EQ(pci->GetDeviceId(), readHex16(function + "/device"));
  }
}

TEST(PortByName, IsThePortOfTheList) {
  for (const std::string& name : portNames()) {
    const auto port = NetworkInfoImpl().GetPnicByName(name);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(port->GetName(), name);
  }
}

TEST(PortByName, OutlivesTheInformationObject) {
  const auto names = portNames();
  if (names.empty()) GTEST_SKIP() << "no ports on this machine";
  std::unique_ptr<Pnic> port;
  {
    NetworkInfoImpl info;
    port = info.GetPnicByName(names[0]);
  }
  PnicDriverInfo info;
  port->GetDriverInfo(info);
  EXPECT_FALSE(info.driver.empty());
}

TEST(PortByName, IsNullForNamesThatNoPortHas) {
  NetworkInfoImpl info;
  using namespace std::string_literals;
  for (const std::string& name :
       {""s, "."s, ".."s, "nosuchport"s, "eth0\0"s, "eth0/"s, "../eth0"s, std::string(15, 'n'),
        std::string(16, 'n'), std::string(200, 'n'), "eth%d"s, "eth0:1"s, "*"s}) {
    EXPECT_EQ(info.GetPnicByName(name), nullptr) << name;
  }
}

TEST(PortByName, IsNullForALinkThatIsNoPort) {
  EXPECT_EQ(NetworkInfoImpl().GetPnicByName("lo"), nullptr);
}

}  // namespace
}  // namespace LinuxHost
