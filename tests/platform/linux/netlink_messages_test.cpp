#include "platform/linux/netlink_messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/if_arp.h>
#include <sys/socket.h>

#include <cerrno>
#include <limits>

#include "tests/platform/linux/message_builder.h"

namespace LinuxHost {
namespace {

using testing::ElementsAre;
using testing::Optional;

const Bytes kMac = {0x02, 0x1a, 0x2b, 0xab, 0xcd, 0xef};
const std::array<unsigned char, 6> kMacArray = {0x02, 0x1a, 0x2b, 0xab, 0xcd, 0xef};

ifinfomsg linkHeader(int index) {
  ifinfomsg header{};
  header.ifi_family = AF_UNSPEC;
  header.ifi_index = index;
  header.ifi_type = ARPHRD_ETHER;
  header.ifi_flags = 0x11043;
  return header;
}

ifaddrmsg addressHeader(unsigned char family, unsigned index, unsigned char prefix) {
  ifaddrmsg header{};
  header.ifa_family = family;
  header.ifa_index = index;
  header.ifa_prefixlen = prefix;
  return header;
}

TEST(LinkMessage, CarriesNameMtuAddressesAndFlags) {
  const auto links = recordsIn<LinkRecord>(MessageBuilder(RTM_NEWLINK)
                                               .header(linkHeader(7))
                                               .text(IFLA_IFNAME, "eth7")
                                               .value(IFLA_MTU, std::uint32_t{9000})
                                               .bytes(IFLA_ADDRESS, {2, 0, 0, 0, 0, 1})
                                               .bytes(IFLA_PERM_ADDRESS, kMac)
                                               .build());
  ASSERT_EQ(links.size(), 1U);
  EXPECT_EQ(links[0].index, 7);
  EXPECT_EQ(links[0].hardwareType, unsigned{ARPHRD_ETHER});
  EXPECT_EQ(links[0].flags, 0x11043U);
  EXPECT_EQ(links[0].name, "eth7");
  EXPECT_EQ(links[0].mtu, 9000U);
  EXPECT_THAT(links[0].address, Optional(ElementsAre(2, 0, 0, 0, 0, 1)));
  EXPECT_THAT(links[0].permanentAddress, Optional(kMacArray));
}

TEST(LinkMessage, WithoutAttributesLeavesThemEmpty) {
  const auto links =
      recordsIn<LinkRecord>(MessageBuilder(RTM_NEWLINK).header(linkHeader(3)).build());
  ASSERT_EQ(links.size(), 1U);
  EXPECT_EQ(links[0].name, "");
  EXPECT_EQ(links[0].mtu, 0U);
  EXPECT_FALSE(links[0].address.has_value());
  EXPECT_FALSE(links[0].permanentAddress.has_value());
  EXPECT_EQ(links[0].statistics.rx_packets, 0U);
}

TEST(LinkMessage, NamesTheParentDevice) {
  const auto links = recordsIn<LinkRecord>(MessageBuilder(RTM_NEWLINK)
                                               .header(linkHeader(7))
                                               .text(IFLA_PARENT_DEV_NAME, "0000:03:00.1")
                                               .text(IFLA_PARENT_DEV_BUS_NAME, "pci")
                                               .build());
  ASSERT_EQ(links.size(), 1U);
  ASSERT_TRUE(links[0].parent.has_value());
  EXPECT_EQ(links[0].parent->name, "0000:03:00.1");
  EXPECT_EQ(links[0].parent->bus, "pci");
  EXPECT_TRUE(links[0].parentsAreNamed);
}

TEST(LinkMessage, WithoutAParentTellsWhetherTheKernelWouldNameIt) {
  const Bytes older = MessageBuilder(RTM_NEWLINK).header(linkHeader(7)).build();
  const Bytes younger = MessageBuilder(RTM_NEWLINK)
                            .header(linkHeader(8))
                            .value(IFLA_GRO_MAX_SIZE, std::uint32_t{65536})
                            .build();
  const auto links = recordsIn<LinkRecord>(older + younger);
  ASSERT_EQ(links.size(), 2U);
  EXPECT_FALSE(links[0].parent.has_value());
  EXPECT_FALSE(links[0].parentsAreNamed);
  EXPECT_FALSE(links[1].parent.has_value());
  EXPECT_TRUE(links[1].parentsAreNamed);
}

TEST(LinkMessage, StatisticsAreNotCutToThirtyTwoBits) {
  rtnl_link_stats64 counters{};
  counters.rx_bytes = 0x1'0000'0001ULL;
  counters.tx_window_errors = 0xffff'ffff'ffff'ffffULL;
  const auto links = recordsIn<LinkRecord>(
      MessageBuilder(RTM_NEWLINK).header(linkHeader(3)).value(IFLA_STATS64, counters).build());
  ASSERT_EQ(links.size(), 1U);
  EXPECT_EQ(links[0].statistics.rx_bytes, 0x1'0000'0001ULL);
  EXPECT_EQ(links[0].statistics.tx_window_errors, 0xffff'ffff'ffff'ffffULL);
}

TEST(LinkMessage, StatisticsOfAnOlderKernelAreShorter) {
  rtnl_link_stats64 counters{};
  counters.rx_packets = 5;
  counters.rx_compressed = 9;
  const auto links = recordsIn<LinkRecord>(
      MessageBuilder(RTM_NEWLINK)
          .header(linkHeader(3))
          .attribute(IFLA_STATS64, &counters, offsetof(rtnl_link_stats64, rx_compressed))
          .build());
  ASSERT_EQ(links.size(), 1U);
  EXPECT_EQ(links[0].statistics.rx_packets, 5U);
  EXPECT_EQ(links[0].statistics.rx_compressed, 0U);
}

TEST(LinkMessage, ShortAttributesAreNotRead) {
  const auto links = recordsIn<LinkRecord>(MessageBuilder(RTM_NEWLINK)
                                               .header(linkHeader(3))
                                               .bytes(IFLA_MTU, {1, 2})
                                               .bytes(IFLA_ADDRESS, {1, 2, 3, 4})
                                               .bytes(IFLA_IFNAME, {'a', 'b'})
                                               .build());
  ASSERT_EQ(links.size(), 1U);
  EXPECT_EQ(links[0].mtu, 0U);
  EXPECT_FALSE(links[0].address.has_value());
  EXPECT_EQ(links[0].name, "ab") << "a name without its NUL ends with the attribute";
}

TEST(LinkMessage, OtherMessagesArePassedOver) {
  const Bytes link = MessageBuilder(RTM_NEWLINK).header(linkHeader(1)).build();
  const Bytes address = MessageBuilder(RTM_NEWADDR).header(addressHeader(AF_INET, 1, 24)).build();
  const Bytes second = MessageBuilder(RTM_NEWLINK).header(linkHeader(2)).build();
  const auto links = recordsIn<LinkRecord>(link + address + second);
  ASSERT_EQ(links.size(), 2U);
  EXPECT_EQ(links[0].index, 1);
  EXPECT_EQ(links[1].index, 2);
}

TEST(LinkMessage, EveryTruncationIsHarmless) {
  const Bytes whole = MessageBuilder(RTM_NEWLINK)
                          .header(linkHeader(7))
                          .text(IFLA_IFNAME, "eth7")
                          .value(IFLA_STATS64, rtnl_link_stats64{})
                          .build();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_TRUE(recordsIn<LinkRecord>(cut).empty()) << size;
    // The same with a header that admits to the truncation.
    if (size < sizeof(nlmsghdr)) continue;
    Bytes honest = cut;
    const auto length = static_cast<std::uint32_t>(size);
    std::memcpy(honest.data(), &length, sizeof length);
    EXPECT_LE(recordsIn<LinkRecord>(honest).size(), 1U) << size;
  }
}

TEST(LinkMessage, ThatClaimsMoreThanTwoGigabytesIsNotRead) {
  Bytes message = MessageBuilder(RTM_NEWLINK).header(linkHeader(7)).build();
  for (const std::uint32_t length : {0x80000000U, 0x80000020U, 0xfffffff0U, 0xffffffffU}) {
    std::memcpy(message.data(), &length, sizeof length);
    EXPECT_TRUE(recordsIn<LinkRecord>(message).empty()) << length;
  }
}

TEST(LinkMessage, OfRepeatedAttributesTakesTheFirst) {
  const auto links = recordsIn<LinkRecord>(MessageBuilder(RTM_NEWLINK)
                                               .header(linkHeader(7))
                                               .text(IFLA_IFNAME, "eth7")
                                               .text(IFLA_IFNAME, "eth8")
                                               .build());
  ASSERT_EQ(links.size(), 1U);
  EXPECT_EQ(links[0].name, "eth7");
}

TEST(AddressMessage, IsTheLocalEndOfAPointToPointLink) {
  const auto addresses = recordsIn<AddressRecord>(MessageBuilder(RTM_NEWADDR)
                                                      .header(addressHeader(AF_INET, 4, 30))
                                                      .bytes(IFA_ADDRESS, {10, 0, 0, 2})
                                                      .bytes(IFA_LOCAL, {10, 0, 0, 1})
                                                      .build());
  ASSERT_EQ(addresses.size(), 1U);
  EXPECT_EQ(addresses[0].linkIndex, 4);
  EXPECT_EQ(addresses[0].family, AF_INET);
  EXPECT_EQ(addresses[0].prefixLength, 30U);
  EXPECT_THAT(addresses[0].address, ElementsAre(10, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(AddressMessage, OfIpv6HasSixteenBytes) {
  const Bytes text = {0xfd, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
  const auto addresses = recordsIn<AddressRecord>(MessageBuilder(RTM_NEWADDR)
                                                      .header(addressHeader(AF_INET6, 4, 64))
                                                      .bytes(IFA_ADDRESS, text)
                                                      .build());
  ASSERT_EQ(addresses.size(), 1U);
  EXPECT_EQ(addresses[0].family, AF_INET6);
  EXPECT_EQ(addresses[0].address.front(), 0xfd);
  EXPECT_EQ(addresses[0].address.back(), 2);
}

TEST(AddressMessage, WithoutAnAddressOrOfAnotherFamilyIsSkipped) {
  const Bytes none = MessageBuilder(RTM_NEWADDR).header(addressHeader(AF_INET, 4, 30)).build();
  const Bytes shortOne = MessageBuilder(RTM_NEWADDR)
                             .header(addressHeader(AF_INET6, 4, 64))
                             .bytes(IFA_ADDRESS, {10, 0, 0, 2})
                             .build();
  const Bytes other = MessageBuilder(RTM_NEWADDR)
                          .header(addressHeader(AF_PACKET, 4, 0))
                          .bytes(IFA_ADDRESS, {1, 2, 3, 4})
                          .build();
  EXPECT_TRUE(recordsIn<AddressRecord>(none + shortOne + other).empty());
}

struct Received {
  AnswerState state;
  std::vector<LinkRecord> links;
};

void receive(const Bytes& piece, Received& received) {
  readPiece(piece.data(), piece.size(), received.state, received.links);
}

Received receive(const Bytes& piece) {
  Received received;
  receive(piece, received);
  return received;
}

TEST(Answer, OfADumpEndsWithTheDoneMessage) {
  const Bytes link = MessageBuilder(RTM_NEWLINK).header(linkHeader(1)).build();
  const Bytes done = MessageBuilder(NLMSG_DONE).header(std::int32_t{0}).build();
  Received received = receive(link + link);
  EXPECT_FALSE(received.state.complete);
  receive(link + done, received);
  EXPECT_TRUE(received.state.complete);
  EXPECT_EQ(received.state.error, 0);
  EXPECT_FALSE(received.state.interrupted);
  EXPECT_EQ(received.links.size(), 3U);
}

TEST(Answer, ThatIsOneMessageEndsWithIt) {
  const Received received = receive(MessageBuilder(RTM_NEWLINK, 0).header(linkHeader(1)).build());
  EXPECT_TRUE(received.state.complete);
  EXPECT_EQ(received.links.size(), 1U);
}

TEST(Answer, CarriesTheKernelsRefusal) {
  nlmsgerr refusal{};
  refusal.error = -ENODEV;
  const Received received = receive(MessageBuilder(NLMSG_ERROR, 0).header(refusal).build());
  EXPECT_TRUE(received.state.complete);
  EXPECT_EQ(received.state.error, ENODEV);
  EXPECT_TRUE(received.links.empty());
}

TEST(Answer, OfADumpThatFailsInTheEndCarriesTheError) {
  const Received received = receive(MessageBuilder(NLMSG_DONE).header(std::int32_t{-EIO}).build());
  EXPECT_TRUE(received.state.complete);
  EXPECT_EQ(received.state.error, EIO);
}

TEST(Answer, WhoseErrorHasNoPositiveCounterpartIsStillAnError) {
  const auto smallest = std::numeric_limits<std::int32_t>::min();
  EXPECT_GT(receive(MessageBuilder(NLMSG_DONE).header(smallest).build()).state.error, 0);
}

TEST(Answer, ToWhichTheTablesChangedIsMarkedInterrupted) {
  const Bytes link =
      MessageBuilder(RTM_NEWLINK, NLM_F_MULTI | NLM_F_DUMP_INTR).header(linkHeader(1)).build();
  const Bytes done = MessageBuilder(NLMSG_DONE).header(std::int32_t{0}).build();
  EXPECT_TRUE(receive(link + done).state.interrupted);
}

}  // namespace
}  // namespace LinuxHost
