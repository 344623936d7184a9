#include "platform/linux/link_modes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/ethtool.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/linux/ethtool_channel.h"

namespace LinuxHost {
namespace {

using Nodemgr::Network::Duplex;
using Nodemgr::Network::LinkMode;
using Nodemgr::Network::LinkSpeed;
using Nodemgr::Network::PnicPortMode;
using testing::ElementsAre;
using testing::IsEmpty;

LinkModeBits bitsOf(const std::vector<unsigned>& set) {
  LinkModeBits bits(4);
  for (unsigned bit : set) bits[bit / 32] |= 1U << (bit % 32);
  return bits;
}

LinkMode mode(std::uint32_t megabits, Duplex duplex) { return {LinkSpeed{megabits}, duplex}; }

TEST(LinkModes, AscendInSpeedWithHalfDuplexFirst) {
  EXPECT_THAT(
      linkModesOf(bitsOf({5, 4, 3, 2, 1, 0, 47, 12})),
      ElementsAre(mode(10, Duplex::kHalf), mode(10, Duplex::kFull), mode(100, Duplex::kHalf),
                  mode(100, Duplex::kFull), mode(1000, Duplex::kHalf), mode(1000, Duplex::kFull),
                  mode(2500, Duplex::kFull), mode(10000, Duplex::kFull)));
}

TEST(LinkModes, OfSeveralMediaGiveOnePair) {
  EXPECT_THAT(linkModesOf(bitsOf({12, 18, 19, 42, 43, 44})),
              ElementsAre(mode(10000, Duplex::kFull)));
}

TEST(LinkModes, IgnorePortsPauseAndErrorCorrection) {
  EXPECT_THAT(linkModesOf(bitsOf({6, 7, 8, 9, 10, 11, 13, 14, 16, 49, 50, 51, 74})), IsEmpty());
}

TEST(LinkModes, BeyondTheTableArePassedOver) {
  EXPECT_THAT(linkModesOf(bitsOf({127, 5})), ElementsAre(mode(1000, Duplex::kFull)));
}

TEST(LinkModes, OfAnEmptyBitmapAreNone) { EXPECT_THAT(linkModesOf({}), IsEmpty()); }

/// The names of the running kernel's link modes, in bit order.
std::vector<std::string> kernelModeNames() {
  const auto channel = kernelEthtoolChannel();
  std::vector<unsigned char> question(sizeof(ethtool_sset_info) + sizeof(std::uint32_t));
  ethtool_sset_info count{};
  count.cmd = ETHTOOL_GSSET_INFO;
  count.sset_mask = 1ULL << ETH_SS_LINK_MODES;
  std::memcpy(question.data(), &count, sizeof count);
  if (channel->ask("lo", question.data()) != 0) return {};
  std::uint32_t number = 0;
  std::memcpy(&number, question.data() + sizeof count, sizeof number);

  ethtool_gstrings strings{};
  strings.cmd = ETHTOOL_GSTRINGS;
  strings.string_set = ETH_SS_LINK_MODES;
  strings.len = number;
  question.assign(sizeof strings + number * ETH_GSTRING_LEN, 0);
  std::memcpy(question.data(), &strings, sizeof strings);
  if (channel->ask("lo", question.data()) != 0) return {};
  std::vector<std::string> names;
  for (std::uint32_t i = 0; i < number; ++i) {
    const auto* text = reinterpret_cast<const char*>(question.data()) + sizeof strings +
                       std::size_t{i} * ETH_GSTRING_LEN;
    names.emplace_back(text, strnlen(text, ETH_GSTRING_LEN));
  }
  return names;
}

TEST(LinkModes, AgreeWithTheNamesThatTheRunningKernelGivesThem) {
  const auto names = kernelModeNames();
  if (names.empty()) GTEST_SKIP() << "the kernel does not name its link modes";
  constexpr std::size_t kTableBits = 121;
  for (unsigned bit = 0; bit < names.size() && bit < kTableBits; ++bit) {
    const std::string& name = names[bit];
    const auto modes = linkModesOf(bitsOf({bit}));
    if (name.find("base") == std::string::npos) {
      EXPECT_THAT(modes, IsEmpty()) << bit << " " << name;
      continue;
    }
    const auto megabits = static_cast<std::uint32_t>(std::atol(name.c_str()));
    const bool half = name.find("/Half") != std::string::npos;
    EXPECT_THAT(modes, ElementsAre(mode(megabits, half ? Duplex::kHalf : Duplex::kFull)))
        << bit << " " << name;
  }
}

TEST(PortModes, AreTranslatedByMeaningInBitOrder) {
  EXPECT_THAT(portModesOf(bitsOf({7, 8, 9, 10, 11, 16})),
              ElementsAre(PnicPortMode::kTwistedPair, PnicPortMode::kAttachmentUnit,
                          PnicPortMode::kMediaIndependent, PnicPortMode::kFibre,
                          PnicPortMode::kCoaxial, PnicPortMode{255}));
}

TEST(PortMode, OfTheKernelIsTranslatedByMeaning) {
  EXPECT_EQ(portModeOf(PORT_TP), PnicPortMode::kTwistedPair);
  EXPECT_EQ(portModeOf(PORT_AUI), PnicPortMode::kAttachmentUnit);
  EXPECT_EQ(portModeOf(PORT_MII), PnicPortMode::kMediaIndependent);
  EXPECT_EQ(portModeOf(PORT_FIBRE), PnicPortMode::kFibre);
  EXPECT_EQ(portModeOf(PORT_BNC), PnicPortMode::kCoaxial);
}

TEST(PortMode, WithoutANameLiesOutsideOfTheNamedOnes) {
  EXPECT_EQ(portModeOf(PORT_DA), PnicPortMode{5});
  EXPECT_EQ(portModeOf(PORT_NONE), PnicPortMode{239});
  EXPECT_EQ(portModeOf(PORT_OTHER), PnicPortMode{255});
}

TEST(Duplex, OfTheKernelIsHalfAtZeroAndFullAtOne) {
  EXPECT_EQ(duplexOf(0), Duplex::kHalf);
  EXPECT_EQ(duplexOf(1), Duplex::kFull);
  EXPECT_EQ(duplexOf(0xff), Duplex::kAuto);
  EXPECT_EQ(duplexOf(2), Duplex::kAuto);
}

TEST(Speed, UnknownToTheKernelIsZero) {
  EXPECT_EQ(speedOf(0xffffffff), LinkSpeed::kAuto);
  EXPECT_EQ(speedOf(65535), LinkSpeed::kAuto);
  EXPECT_EQ(speedOf(0), LinkSpeed::kAuto);
  EXPECT_EQ(speedOf(25000), LinkSpeed{25000});
}

TEST(AutoNegotiation, IsTheSixthBit) {
  EXPECT_TRUE(hasAutoNegotiation(bitsOf({6})));
  EXPECT_FALSE(hasAutoNegotiation(bitsOf({5, 7})));
  EXPECT_FALSE(hasAutoNegotiation({}));
}

}  // namespace
}  // namespace LinuxHost
