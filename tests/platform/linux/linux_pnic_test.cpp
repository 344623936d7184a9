#include "platform/linux/linux_pnic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/if.h>

#include "platform/nodemgr_exception.h"
#include "tests/platform/linux/fake_ethtool.h"
#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {
namespace {

using Nodemgr::Lib::NodemgrException;
using Nodemgr::Network::Duplex;
using Nodemgr::Network::MacAddress;
using Nodemgr::Network::Pnic;
using Nodemgr::Network::PnicCoalesceParams;
using Nodemgr::Network::PnicDriverInfo;
using Nodemgr::Network::PnicLinkSettings;
using Nodemgr::Network::PnicStatistics;
using Nodemgr::Network::WakeOnMode;
using testing::Each;
using testing::ElementsAre;

LinkRecord exampleLink() {
  LinkRecord link;
  link.index = 2;
  link.flags = IFF_UP | IFF_LOWER_UP;
  link.name = "nic0";
  link.mtu = 1500;
  link.address = {2, 0, 0, 0, 0, 9};
  return link;
}

class LinuxPnicTest : public testing::Test {
 protected:
  std::unique_ptr<Pnic> port() {
    return makePnic(std::make_shared<LinkRecord>(link), ethtool, tree.root());
  }

  static MacAddress::Bytes macOf(const std::unique_ptr<Pnic>& port) {
    MacAddress::Bytes bytes{};
    port->GetMacAddress().GetBinaryAddress(bytes.data());
    return bytes;
  }

  LinkRecord link = exampleLink();
  std::shared_ptr<FakeEthtool> ethtool = std::make_shared<FakeEthtool>();
  SysTree tree;
};

TEST_F(LinuxPnicTest, TellsWhatTheLinkMessageToldWithoutAsking) {
  const auto nic = port();
  EXPECT_EQ(nic->GetName(), "nic0");
  EXPECT_EQ(nic->GetMtu(), 1500U);
  EXPECT_TRUE(nic->IsEnabled());
  EXPECT_TRUE(nic->IsLinkUp());
  PnicStatistics statistics;
  nic->GetStatistics(statistics);
  EXPECT_TRUE(ethtool->asked.empty());
}

TEST_F(LinuxPnicTest, TellsAdministrativeAndLinkStateApart) {
  link.flags = IFF_UP;
  EXPECT_TRUE(port()->IsEnabled());
  EXPECT_FALSE(port()->IsLinkUp());
  link.flags = 0;
  EXPECT_FALSE(port()->IsEnabled());
}

TEST_F(LinuxPnicTest, PrefersTheLinksPermanentAddress) {
  link.permanentAddress = {2, 0x1a, 0x2b, 0xab, 0xcd, 0xef};
  const auto nic = port();
  EXPECT_THAT(macOf(nic), ElementsAre(2, 0x1a, 0x2b, 0xab, 0xcd, 0xef));
  EXPECT_TRUE(ethtool->asked.empty());
}

TEST_F(LinuxPnicTest, AsksTheDriverForAPermanentAddressThatTheLinkLacks) {
  auto& answer = ethtool->answers[ETHTOOL_GPERMADDR];
  answer.resize(sizeof(ethtool_perm_addr) + 6, 7);
  ethtool_perm_addr header{};
  header.cmd = ETHTOOL_GPERMADDR;
  header.size = 6;
  std::memcpy(answer.data(), &header, sizeof header);
  const auto nic = port();
  EXPECT_THAT(macOf(nic), Each(7));
  EXPECT_THAT(macOf(nic), Each(7));
  EXPECT_EQ(ethtool->asked[ETHTOOL_GPERMADDR], 1);
}

TEST_F(LinuxPnicTest, FallsBackToTheAddressInUse) {
  const auto nic = port();
  EXPECT_THAT(macOf(nic), ElementsAre(2, 0, 0, 0, 0, 9));
  link.address.reset();
  const auto bare = port();
  EXPECT_THAT(macOf(bare), Each(0));
}

TEST_F(LinuxPnicTest, AsksOnceForWhatSeveralOperationsTell) {
  ethtool_link_settings header{};
  header.speed = 10000;
  header.duplex = DUPLEX_FULL;
  ethtool->setLinkSettings(header, {0}, {0});
  ethtool->setAnswer(ETHTOOL_GWOL, ethtool_wolinfo{});
  ethtool->setAnswer(ETHTOOL_GCHANNELS, ethtool_channels{});
  const auto nic = port();
  for (int round = 0; round < 3; ++round) {
    PnicLinkSettings settings;
    nic->GetLinkSettings(settings);
    EXPECT_EQ(nic->GetLinkSpeed(), 10000U);
    EXPECT_EQ(nic->GetDuplex(), Duplex::kFull);
    nic->IsCapabilityEnabled();
    nic->IsCapabilitySupported();
  }
  EXPECT_EQ(ethtool->asked[ETHTOOL_GLINKSETTINGS], 2) << "one question takes two calls";
  EXPECT_EQ(ethtool->asked[ETHTOOL_GWOL], 1);
  EXPECT_EQ(ethtool->asked[ETHTOOL_GCHANNELS], 1);
  EXPECT_THAT(ethtool->ports, Each("nic0"));
}

TEST_F(LinuxPnicTest, WithoutLinkSettingsIsAtSpeedZeroAndDuplexAutomatic) {
  const auto nic = port();
  EXPECT_EQ(nic->GetLinkSpeed(), 0U);
  EXPECT_EQ(nic->GetDuplex(), Duplex::kAuto);
}

TEST_F(LinuxPnicTest, PutsTheWakeModesIntoTheLinkSettings) {
  ethtool_wolinfo wake{};
  wake.supported = WAKE_MAGIC | WAKE_PHY;
  wake.wolopts = WAKE_MAGIC;
  ethtool->setAnswer(ETHTOOL_GWOL, wake);
  PnicLinkSettings settings;
  port()->GetLinkSettings(settings);
  EXPECT_THAT(settings.wolSupported, ElementsAre(WakeOnMode::kPhy, WakeOnMode::kMagic));
  EXPECT_THAT(settings.wolOptions, ElementsAre(WakeOnMode::kMagic));
}

TEST_F(LinuxPnicTest, ThatIsGoneThrowsFromEveryGroupAndStaysGone) {
  ethtool->goneNow = true;
  const auto nic = port();
  PnicLinkSettings settings;
  PnicCoalesceParams params;
  PnicDriverInfo info;
  for (int round = 0; round < 2; ++round) {
    EXPECT_THROW(nic->GetLinkSettings(settings), NodemgrException);
    EXPECT_THROW(nic->GetLinkSpeed(), NodemgrException);
    EXPECT_THROW(nic->GetDuplex(), NodemgrException);
    EXPECT_THROW(nic->GetCoalesceParams(params), NodemgrException);
    EXPECT_THROW(nic->GetDriverInfo(info), NodemgrException);
    EXPECT_THROW(nic->IsCapabilityEnabled(), NodemgrException);
    EXPECT_THROW(nic->IsCapabilitySupported(), NodemgrException);
  }
  EXPECT_EQ(ethtool->asked[ETHTOOL_GLINKSETTINGS], 1);
  EXPECT_EQ(ethtool->asked[ETHTOOL_GCHANNELS], 1);
}

// An instance is filled from the link settings on: it is whole, or has its keys only.
TEST_F(LinuxPnicTest, ThatGoesAfterItsLinkSettingsHasToldAllThatAnInstanceShows) {
  link.parent = ParentDevice{"0000:03:00.1", "pci"};
  tree.file("bus/pci/devices/0000:03:00.1/vendor", "0x8086\n");
  ethtool_channels channels{};
  channels.max_combined = 8;
  channels.combined_count = 8;
  ethtool->setAnswer(ETHTOOL_GCHANNELS, channels);
  const auto nic = port();
  PnicLinkSettings settings;
  nic->GetLinkSettings(settings);

  ethtool->goneNow = true;
  tree.file("bus/pci/devices/0000:03:00.1/vendor", "\n");
  EXPECT_EQ(nic->GetLinkSpeed(), 0U);
  EXPECT_EQ(nic->GetDuplex(), Duplex::kAuto);
  EXPECT_THAT(macOf(nic), ElementsAre(2, 0, 0, 0, 0, 9));
  EXPECT_TRUE(nic->IsCapabilitySupported());
  EXPECT_TRUE(nic->IsCapabilityEnabled());
  ASSERT_NE(nic->GetPciDevice(), nullptr);
  EXPECT_EQ(nic->GetPciDevice()->GetVendorId(), 0x8086);
}

TEST_F(LinuxPnicTest, SupportsManyQueuesThatItsDriverCouldUse) {
  ethtool_channels channels{};
  channels.max_combined = 8;
  channels.combined_count = 1;
  ethtool->setAnswer(ETHTOOL_GCHANNELS, channels);
  EXPECT_TRUE(port()->IsCapabilitySupported());
  EXPECT_FALSE(port()->IsCapabilityEnabled());
  channels.combined_count = 4;
  ethtool->setAnswer(ETHTOOL_GCHANNELS, channels);
  EXPECT_TRUE(port()->IsCapabilityEnabled());
}

TEST_F(LinuxPnicTest, CountsReceiveAndCombinedQueuesOnly) {
  ethtool_channels channels{};
  channels.max_tx = 8;
  channels.tx_count = 8;
  channels.max_rx = 1;
  channels.rx_count = 1;
  ethtool->setAnswer(ETHTOOL_GCHANNELS, channels);
  EXPECT_FALSE(port()->IsCapabilitySupported());
  EXPECT_FALSE(port()->IsCapabilityEnabled());
  channels.max_rx = 2;
  channels.rx_count = 2;
  ethtool->setAnswer(ETHTOOL_GCHANNELS, channels);
  EXPECT_TRUE(port()->IsCapabilitySupported());
  EXPECT_TRUE(port()->IsCapabilityEnabled());
}

TEST_F(LinuxPnicTest, CountsTheQueuesInSysfsWhereTheDriverCountsNone) {
  tree.directory("class/net/nic0/queues/rx-0").directory("class/net/nic0/queues/tx-0");
  EXPECT_FALSE(port()->IsCapabilitySupported());
  tree.directory("class/net/nic0/queues/rx-1");
  EXPECT_TRUE(port()->IsCapabilitySupported());
  EXPECT_TRUE(port()->IsCapabilityEnabled());
}

TEST_F(LinuxPnicTest, OwnsItsPciDescriptor) {
  link.parent = ParentDevice{"0000:03:00.1", "pci"};
  tree.file("bus/pci/devices/0000:03:00.1/vendor", "0x8086\n")
      .file("bus/pci/devices/0000:03:00.1/device", "0x10fb\n");
  const auto nic = port();
  auto* pci = nic->GetPciDevice();
  ASSERT_NE(pci, nullptr);
  EXPECT_EQ(pci->GetSegment(), 0);
  EXPECT_EQ(pci->GetBus(), 3);
  EXPECT_EQ(pci->GetSlot(), 0);
  EXPECT_EQ(pci->GetFunction(), 1);
  EXPECT_EQ(pci->GetVendorId(), 0x8086);
  EXPECT_EQ(pci->GetDeviceId(), 0x10fb);
  EXPECT_EQ(nic->GetPciDevice(), pci);
}

TEST_F(LinuxPnicTest, WithoutPciHasNoDescriptor) { EXPECT_EQ(port()->GetPciDevice(), nullptr); }

TEST(PortStatistics, KeepEachOfTheNineteenCounters) {
  rtnl_link_stats64 counters{};
  counters.tx_packets = 6442450944;
  counters.rx_packets = 2;
  counters.tx_bytes = 3;
  counters.rx_bytes = 4;
  counters.tx_errors = 5;
  counters.rx_errors = 6;
  counters.tx_dropped = 7;
  counters.rx_dropped = 8;
  counters.rx_length_errors = 9;
  counters.rx_over_errors = 10;
  counters.rx_crc_errors = 11;
  counters.rx_frame_errors = 12;
  counters.rx_fifo_errors = 13;
  counters.rx_missed_errors = 14;
  counters.tx_aborted_errors = 15;
  counters.tx_fifo_errors = 16;
  counters.tx_carrier_errors = 17;
  counters.tx_heartbeat_errors = 18;
  counters.tx_window_errors = 19;
  const PnicStatistics statistics = statisticsOf(counters);
  EXPECT_EQ(statistics.packetsTx, 6442450944U);
  EXPECT_EQ(statistics.packetsRx, 2U);
  EXPECT_EQ(statistics.bytesTx, 3U);
  EXPECT_EQ(statistics.bytesRx, 4U);
  EXPECT_EQ(statistics.errorsTx, 5U);
  EXPECT_EQ(statistics.errorsRx, 6U);
  EXPECT_EQ(statistics.droppedTx, 7U);
  EXPECT_EQ(statistics.droppedRx, 8U);
  EXPECT_EQ(statistics.rxLengthErrors, 9U);
  EXPECT_EQ(statistics.rxOverErrors, 10U);
  EXPECT_EQ(statistics.rxCrcErrors, 11U);
  EXPECT_EQ(statistics.rxFrameErrors, 12U);
  EXPECT_EQ(statistics.rxFifoErrors, 13U);
  EXPECT_EQ(statistics.rxMissedErrors, 14U);
  EXPECT_EQ(statistics.txAbortedErrors, 15U);
  EXPECT_EQ(statistics.txFifoErrors, 16U);
  EXPECT_EQ(statistics.txCarrierErrors, 17U);
  EXPECT_EQ(statistics.txHeartbeatErrors, 18U);
  EXPECT_EQ(statistics.txWindowErrors, 19U);
}

}  // namespace
}  // namespace LinuxHost
