#include "platform/linux/ethtool_groups.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/nodemgr_exception.h"
#include "tests/platform/linux/fake_ethtool.h"

namespace LinuxHost {
namespace {

using Nodemgr::Lib::NodemgrException;
using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkMode;
using Nodemgr::Network::LinkSpeed;
using Nodemgr::Network::PnicPortMode;
using Nodemgr::Network::TransceiverMode;
using Nodemgr::Network::WakeOnMode;
using testing::ElementsAre;
using testing::IsEmpty;

/// A copper port at 1 Gb/s: TP, 1000/Full, 100/Half and Autoneg supported, 1000/Full advertised.
void answerCopper(FakeEthtool& fake) {
  ethtool_link_settings header{};
  header.speed = 1000;
  header.duplex = DUPLEX_FULL;
  header.port = PORT_TP;
  header.phy_address = 3;
  header.autoneg = AUTONEG_ENABLE;
  header.transceiver = XCVR_EXTERNAL;
  fake.setLinkSettings(header, {0xe4, 0, 0}, {0x20, 0, 0});
}

TEST(LinkSettings, AreDecodedFromHeaderAndBitmaps) {
  FakeEthtool fake;
  answerCopper(fake);
  const auto settings = decodeLinkSettings(askLinkSettings(fake, "eth0"));
  EXPECT_THAT(settings.supportedPorts, ElementsAre(PnicPortMode::kTwistedPair));
  EXPECT_THAT(settings.supportedLinkModes, ElementsAre(LinkMode(LinkSpeed{100}, Duplex::kHalf),
                                                       LinkMode(LinkSpeed{1000}, Duplex::kFull)));
  EXPECT_EQ(settings.autoNegotiation, 1);
  EXPECT_THAT(settings.advertisedLinkModes, ElementsAre(LinkMode(LinkSpeed{1000}, Duplex::kFull)));
  EXPECT_FALSE(settings.advertisedAutoNegotiation);
  EXPECT_EQ(settings.linkMode, LinkMode(LinkSpeed{1000}, Duplex::kFull));
  EXPECT_EQ(settings.portMode, PnicPortMode::kTwistedPair);
  EXPECT_EQ(settings.phyAddress, 3U);
  EXPECT_EQ(settings.transceiver, TransceiverMode::kExternal);
  EXPECT_EQ(fake.asked[ETHTOOL_GLINKSETTINGS], 2) << "once for the length, once for the answer";
}

TEST(LinkSettings, WithUnknownSpeedAndDuplexAreAutomatic) {
  FakeEthtool fake;
  ethtool_link_settings header{};
  header.speed = static_cast<std::uint32_t>(SPEED_UNKNOWN);
  header.duplex = DUPLEX_UNKNOWN;
  header.port = PORT_OTHER;
  fake.setLinkSettings(header, {0}, {0});
  const auto settings = decodeLinkSettings(askLinkSettings(fake, "eth0"));
  EXPECT_EQ(settings.linkMode, LinkMode(LinkSpeed::kAuto, Duplex::kAuto));
  EXPECT_EQ(settings.portMode, PnicPortMode{255});
  EXPECT_EQ(settings.autoNegotiation, 0);
}

TEST(LinkSettings, OfADriverWithoutThemAreEmptyAndOfAnUnknownTransceiver) {
  FakeEthtool fake;
  const auto settings = decodeLinkSettings(askLinkSettings(fake, "eth0"));
  EXPECT_EQ(settings.linkMode, LinkMode(LinkSpeed::kAuto, Duplex::kAuto))
      << "the kernel's zero would be half duplex";
  EXPECT_THAT(settings.supportedPorts, IsEmpty());
  EXPECT_EQ(settings.portMode, PnicPortMode{0});
  EXPECT_EQ(settings.transceiver, TransceiverMode::kUnknown) << "zero would be internal";
}

TEST(LinkSettings, ThatAreShorterThanTheySayAreEmpty) {
  FakeEthtool fake;
  answerCopper(fake);
  const LinkSettingsAnswer answer = askLinkSettings(fake, "eth0");
  for (std::size_t size = 0; size < sizeof(ethtool_link_settings) + 2 * 3 * 4; ++size) {
    const LinkSettingsAnswer cut(answer.begin(),
                                 answer.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(decodeLinkSettings(cut).autoNegotiation, 0) << size;
    EXPECT_EQ(decodeLinkSettings(cut).transceiver, TransceiverMode::kUnknown) << size;
  }
}

TEST(WakeModes, AreCountedFromOneInBitOrder) {
  EXPECT_THAT(decodeWakeModes(WAKE_PHY | WAKE_UCAST | WAKE_MCAST | WAKE_BCAST | WAKE_ARP |
                              WAKE_MAGIC | WAKE_MAGICSECURE),
              ElementsAre(WakeOnMode::kPhy, WakeOnMode::kUnicast, WakeOnMode::kMulticast,
                          WakeOnMode::kBroadcast, WakeOnMode::kArp, WakeOnMode::kMagic,
                          WakeOnMode::kMagicSecure));
  EXPECT_THAT(decodeWakeModes(WAKE_FILTER), ElementsAre(WakeOnMode{8}));
  EXPECT_THAT(decodeWakeModes(0), IsEmpty());
}

TEST(Coalescing, KeepsEachOfItsTwentyTwoValues) {
  ethtool_coalesce answer{};
  answer.rx_coalesce_usecs = 101;
  answer.rx_max_coalesced_frames = 102;
  answer.rx_coalesce_usecs_irq = 103;
  answer.rx_max_coalesced_frames_irq = 104;
  answer.tx_coalesce_usecs = 105;
  answer.tx_max_coalesced_frames = 106;
  answer.tx_coalesce_usecs_irq = 107;
  answer.tx_max_coalesced_frames_irq = 108;
  answer.stats_block_coalesce_usecs = 109;
  answer.use_adaptive_rx_coalesce = 1;
  answer.use_adaptive_tx_coalesce = 0;
  answer.pkt_rate_low = 112;
  answer.rx_coalesce_usecs_low = 113;
  answer.rx_max_coalesced_frames_low = 114;
  answer.tx_coalesce_usecs_low = 115;
  answer.tx_max_coalesced_frames_low = 116;
  answer.pkt_rate_high = 117;
  answer.rx_coalesce_usecs_high = 118;
  answer.rx_max_coalesced_frames_high = 119;
  answer.tx_coalesce_usecs_high = 120;
  answer.tx_max_coalesced_frames_high = 121;
  answer.rate_sample_interval = 122;
  const auto params = decodeCoalesce(answer);
  EXPECT_TRUE(params.adaptiveRx);
  EXPECT_FALSE(params.adaptiveTx);
  EXPECT_EQ(params.statsBlockUsecs, 109U);
  EXPECT_EQ(params.sampleInterval, 122U);
  EXPECT_EQ(params.pktRateLow, 112U);
  EXPECT_EQ(params.pktRateHigh, 117U);
  EXPECT_EQ(params.rxUsecs, 101U);
  EXPECT_EQ(params.rxFrames, 102U);
  EXPECT_EQ(params.rxUsecsIrq, 103U);
  EXPECT_EQ(params.rxFramesIrq, 104U);
  EXPECT_EQ(params.txUsecs, 105U);
  EXPECT_EQ(params.txFrames, 106U);
  EXPECT_EQ(params.txUsecsIrq, 107U);
  EXPECT_EQ(params.txFramesIrq, 108U);
  EXPECT_EQ(params.rxUsecsLow, 113U);
  EXPECT_EQ(params.rxFrameLow, 114U);
  EXPECT_EQ(params.txUsecsLow, 115U);
  EXPECT_EQ(params.txFrameLow, 116U);
  EXPECT_EQ(params.rxUsecsHigh, 118U);
  EXPECT_EQ(params.rxFrameHigh, 119U);
  EXPECT_EQ(params.txUsecsHigh, 120U);
  EXPECT_EQ(params.txFrameHigh, 121U);
}

TEST(Coalescing, TellsAdaptiveReceiveAndSendApart) {
  ethtool_coalesce answer{};
  answer.use_adaptive_tx_coalesce = 1;
  EXPECT_FALSE(decodeCoalesce(answer).adaptiveRx);
  EXPECT_TRUE(decodeCoalesce(answer).adaptiveTx);
}

TEST(DriverInformation, IsReadFromFieldsThatMayBeFull) {
  ethtool_drvinfo answer{};
  std::memset(answer.driver, 'd', sizeof answer.driver);
  std::memcpy(answer.version, "2.1", 4);
  std::memset(answer.fw_version, 'f', sizeof answer.fw_version);
  std::memcpy(answer.bus_info, "0000:03:00.1", 13);
  const auto info = decodeDriver(answer);
  EXPECT_EQ(info.driver, std::string(32, 'd'));
  EXPECT_EQ(info.driverVersion, "2.1");
  EXPECT_EQ(info.firmwareVersion, std::string(32, 'f'));
  EXPECT_EQ(info.busInfo, "0000:03:00.1");
}

TEST(PermanentAddress, IsTakenWhenItHasSixBytes) {
  FakeEthtool fake;
  ethtool_perm_addr header{};
  header.cmd = ETHTOOL_GPERMADDR;
  header.size = 6;
  auto& bytes = fake.answers[ETHTOOL_GPERMADDR];
  bytes.resize(sizeof header + 6);
  std::memcpy(bytes.data(), &header, sizeof header);
  for (std::size_t i = 0; i < 6; ++i) {
    bytes[sizeof header + i] = static_cast<unsigned char>(i + 1);
  }
  EXPECT_THAT(askPermanentAddress(fake, "eth0"), ElementsAre(1, 2, 3, 4, 5, 6));
  header.size = 20;  // not an Ethernet address
  std::memcpy(bytes.data(), &header, sizeof header);
  EXPECT_THAT(askPermanentAddress(fake, "eth0"), ElementsAre(0, 0, 0, 0, 0, 0));
}

FakeEthtool refusingEverything(int error) {
  FakeEthtool fake;
  for (std::uint32_t command : {ETHTOOL_GLINKSETTINGS, ETHTOOL_GCHANNELS, ETHTOOL_GWOL,
                                ETHTOOL_GCOALESCE, ETHTOOL_GDRVINFO, ETHTOOL_GPERMADDR}) {
    fake.errors[command] = error;
  }
  return fake;
}

/// Whatever is asked for but the link settings is an empty answer.
void expectNothingFromTheOtherGroups(FakeEthtool& fake) {
  EXPECT_FALSE(askChannels(fake, "eth0").has_value());
  EXPECT_EQ(askWakeOnLan(fake, "eth0").supported, 0U);
  EXPECT_EQ(decodeCoalesce(askCoalesce(fake, "eth0")).rxUsecs, 0U);
  EXPECT_EQ(decodeDriver(askDriver(fake, "eth0")).driver, "");
  EXPECT_THAT(askPermanentAddress(fake, "eth0"), ElementsAre(0, 0, 0, 0, 0, 0));
}

class RefusedGroup : public testing::TestWithParam<int> {};

TEST_P(RefusedGroup, IsAnEmptyAnswer) {
  FakeEthtool fake = refusingEverything(GetParam());
  EXPECT_THAT(askLinkSettings(fake, "eth0"), IsEmpty());
  expectNothingFromTheOtherGroups(fake);
}

INSTANTIATE_TEST_SUITE_P(Errors, RefusedGroup, testing::Values(EOPNOTSUPP, 524, EPERM, EINVAL));

class DriverError : public testing::TestWithParam<int> {};

TEST_P(DriverError, IsAFailureOfTheLinkSettingsAlone) {
  FakeEthtool fake = refusingEverything(GetParam());
  EXPECT_THROW(askLinkSettings(fake, "eth0"), NodemgrException);
  expectNothingFromTheOtherGroups(fake);
}

TEST_P(DriverError, AtTheSecondQuestionIsAFailure) {
  struct FailingSecond : FakeEthtool {
    int error = 0;
    int ask(const std::string& port, void* question) override {
      const int first = FakeEthtool::ask(port, question);
      return asked[ETHTOOL_GLINKSETTINGS] < 2 ? first : error;
    }
  } fake;
  answerCopper(fake);
  fake.error = GetParam();
  EXPECT_THROW(askLinkSettings(fake, "eth0"), NodemgrException);
}

INSTANTIATE_TEST_SUITE_P(Errors, DriverError, testing::Values(EBUSY, EIO, ETIMEDOUT, EAGAIN));

class FailedGroup : public testing::TestWithParam<int> {};

TEST_P(FailedGroup, IsTheLibrarysException) {
  FakeEthtool fake = refusingEverything(GetParam());
  EXPECT_THROW(askLinkSettings(fake, "eth0"), NodemgrException);
  EXPECT_THROW(askChannels(fake, "eth0"), NodemgrException);
  EXPECT_THROW(askWakeOnLan(fake, "eth0"), NodemgrException);
  EXPECT_THROW(askCoalesce(fake, "eth0"), NodemgrException);
  EXPECT_THROW(askDriver(fake, "eth0"), NodemgrException);
  EXPECT_THROW(askPermanentAddress(fake, "eth0"), NodemgrException);
}

INSTANTIATE_TEST_SUITE_P(Errors, FailedGroup, testing::Values(ENODEV, ENXIO, EMFILE));

}  // namespace
}  // namespace LinuxHost
