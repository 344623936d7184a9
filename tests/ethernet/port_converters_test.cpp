#include <gtest/gtest.h>

#include "ethernet/ethernet_port_provider.h"

namespace {

using EthernetProvider::EthernetPortProvider;
using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkSpeed;
using Nodemgr::Network::PnicPortMode;
using Nodemgr::Network::TransceiverMode;
using Nodemgr::Network::WakeOnMode;

constexpr std::uint32_t kLargest = 0xffffffff;

CMPIUint16 portType(std::uint32_t mode, std::uint32_t speed) {
  return EthernetPortProvider::getPortType(PnicPortMode{mode}, LinkSpeed{speed});
}

TEST(PortType, TwistedPair) {
  EXPECT_EQ(portType(0, 10), 50);
  EXPECT_EQ(portType(0, 100), 52);
  EXPECT_EQ(portType(0, 1000), 53);
  EXPECT_EQ(portType(0, 2500), 54);
  EXPECT_EQ(portType(0, 10000), 55);
}

TEST(PortType, Fibre) {
  EXPECT_EQ(portType(4, 100), 100);
  EXPECT_EQ(portType(4, 1000), 102);
  EXPECT_EQ(portType(4, 10000), 105);
}

TEST(PortType, FibreHasNoTypeAtTwistedPairsOtherSpeeds) {
  EXPECT_EQ(portType(4, 10), 0);
  EXPECT_EQ(portType(4, 2500), 0);
}

TEST(PortType, UnlistedSpeedIsUnknown) {
  for (std::uint32_t speed : {0u, 1u, 25000u, 40000u, kLargest}) {
    EXPECT_EQ(portType(0, speed), 0) << speed;
    EXPECT_EQ(portType(4, speed), 0) << speed;
  }
}

TEST(PortType, OtherMediaAreUnknownAtAnySpeed) {
  for (std::uint32_t mode : {1u, 2u, 3u, 5u, kLargest}) {
    for (std::uint32_t speed : {10u, 100u, 1000u, 2500u, 10000u}) {
      EXPECT_EQ(portType(mode, speed), 0) << mode << " at " << speed;
    }
  }
}

TEST(PortMode, CountsFromOne) {
  for (std::uint32_t mode = 0; mode <= 4; ++mode) {
    EXPECT_EQ(EthernetPortProvider::convertPortMode(PnicPortMode{mode}), mode + 1);
  }
}

TEST(PortMode, BeyondFourIsUnknown) {
  for (std::uint32_t mode : {5u, 6u, 255u, kLargest}) {
    EXPECT_EQ(EthernetPortProvider::convertPortMode(PnicPortMode{mode}), 0) << mode;
  }
}

TEST(Transceiver, EveryValue) {
  const auto convert = [](std::uint32_t mode) {
    return EthernetPortProvider::convertTransceiver(TransceiverMode{mode});
  };
  EXPECT_EQ(convert(0), 1);
  EXPECT_EQ(convert(1), 2);
  EXPECT_EQ(convert(2), 0);
  for (std::uint32_t mode : {3u, 4u, 255u, kLargest}) EXPECT_EQ(convert(mode), 0) << mode;
}

TEST(WakeOnLan, OneToSixMoveUpByOneAndSevenIsZero) {
  for (std::uint32_t mode = 1; mode <= 6; ++mode) {
    EXPECT_EQ(EthernetPortProvider::convertWOLOption(WakeOnMode{mode}), mode + 1);
  }
  EXPECT_EQ(EthernetPortProvider::convertWOLOption(WakeOnMode{7}), 0);
}

TEST(WakeOnLan, OutOfRangeIsOne) {
  for (std::uint32_t mode : {0u, 8u, 9u, 255u, kLargest}) {
    EXPECT_EQ(EthernetPortProvider::convertWOLOption(WakeOnMode{mode}), 1) << mode;
  }
}

std::string linkMode(std::uint32_t speed, std::uint32_t duplex) {
  return EthernetPortProvider::convertLinkMode({LinkSpeed{speed}, Duplex{duplex}});
}

TEST(LinkMode, EveryKnownSpeedHasItsText) {
  EXPECT_EQ(linkMode(0, 0), "AUTO_AUTO");
  EXPECT_EQ(linkMode(10, 1), "10_FULL");
  EXPECT_EQ(linkMode(100, 2), "100_HALF");
  EXPECT_EQ(linkMode(1000, 1), "1000_FULL");
  EXPECT_EQ(linkMode(2500, 1), "2500_FULL");
  EXPECT_EQ(linkMode(10000, 1), "10000_FULL");
}

TEST(LinkMode, EveryKnownDuplexHasItsText) {
  EXPECT_EQ(linkMode(1000, 0), "1000_AUTO");
  EXPECT_EQ(linkMode(1000, 1), "1000_FULL");
  EXPECT_EQ(linkMode(1000, 2), "1000_HALF");
}

TEST(LinkMode, UnknownSpeedLeavesOnlyTheDuplex) { EXPECT_EQ(linkMode(40000, 1), "_FULL"); }

TEST(LinkMode, UnknownDuplexLeavesOnlyTheSpeed) { EXPECT_EQ(linkMode(1000, 3), "1000_"); }

TEST(LinkMode, UnknownPairIsAnUnderscore) { EXPECT_EQ(linkMode(kLargest, kLargest), "_"); }

}  // namespace
