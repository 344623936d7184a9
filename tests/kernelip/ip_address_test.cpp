#include "kernelip/ip_address.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <vector>

#include "tests/kernelip/failing_conversion.h"
#include "tests/support/interface_list.h"

namespace {

using ORV::IAddress;
using ORV::IPv4Address;
using ORV::IPv6Address;
using orv::test::InterfaceList;
using orv::test::RefusedConversions;

IPv4Address ipv4(const std::string& address, const std::string& netmask) {
  return IPv4Address(&InterfaceList().ipv4("hk0", address, netmask).last());
}

IPv6Address ipv6(const std::string& address, int prefix) {
  return IPv6Address(&InterfaceList().ipv6("hk0", address, prefix).last());
}

/// A mask that starts with `leading` and goes on with zeros, with all that the system looks at.
unsigned prefixOf(const std::vector<unsigned char>& leading) {
  std::array<unsigned char, 28> mask{};
  std::copy(leading.begin(), leading.end(), mask.begin());
  return IPv6Address::getPrefix(mask.data(), mask.size());
}

TEST(Prefix, CountsLeadingOnes) {
  EXPECT_EQ(64U, prefixOf(std::vector<unsigned char>(8, 0xFF)));
  EXPECT_EQ(128U, prefixOf(std::vector<unsigned char>(16, 0xFF)));
  EXPECT_EQ(4U, prefixOf({0xF0}));
  EXPECT_EQ(1U, prefixOf({0x80}));
  EXPECT_EQ(23U, prefixOf({0xFF, 0xFF, 0xFE}));
  EXPECT_EQ(0U, prefixOf({}));
}

TEST(Prefix, CountsEveryLengthOfAContiguousMask) {
  for (unsigned length = 0; length <= 128; ++length) {
    EXPECT_EQ(length, ipv6("2001:db8::1", static_cast<int>(length)).prefixLength());
  }
}

TEST(Prefix, IsZeroWhenAOneFollowsAZero) {
  EXPECT_EQ(0U, prefixOf({0xF8, 0x01}));
  EXPECT_EQ(0U, prefixOf({0xF1}));
  EXPECT_EQ(0U, prefixOf({0xA0}));
  EXPECT_EQ(0U, prefixOf({0x00, 0xFF}));
  EXPECT_EQ(0U, prefixOf({0x7F}));
}

TEST(Prefix, IsZeroWhenAnyByteBehindTheAddressIsNotZero) {
  for (std::size_t position = 16; position < 28; ++position) {
    std::vector<unsigned char> mask(28, 0);
    std::fill_n(mask.begin(), 8, 0xFF);
    mask[position] = 1;
    EXPECT_EQ(0U, IPv6Address::getPrefix(mask.data(), 28)) << position;
  }
}

TEST(Prefix, GoesOnBehindTheAddressWhenTheMaskIsAllOnes) {
  std::vector<unsigned char> mask(28, 0xFF);
  EXPECT_EQ(224U, IPv6Address::getPrefix(mask.data(), 28));
  mask[16] = 0xC0;
  std::fill(mask.begin() + 17, mask.end(), 0);
  EXPECT_EQ(130U, IPv6Address::getPrefix(mask.data(), 28));
}

TEST(Prefix, LooksAtNoMoreThanTheLengthGiven) {
  const unsigned char mask[] = {0xFF, 0xF0, 0x01};
  EXPECT_EQ(12U, IPv6Address::getPrefix(mask, 2));
  EXPECT_EQ(8U, IPv6Address::getPrefix(mask, 1));
  EXPECT_EQ(0U, IPv6Address::getPrefix(mask, 0));
  EXPECT_EQ(0U, IPv6Address::getPrefix(nullptr, 0));
}

TEST(Ipv4Address, KeepsFamilyAddressAndMaskAsText) {
  const IPv4Address address =
      IPv4Address(&InterfaceList().ipv4("hk0", "192.0.2.17", "255.255.240.0").last());
  EXPECT_EQ(2U, address.family());
  EXPECT_EQ("192.0.2.17", address.getAddress());
  EXPECT_EQ("255.255.240.0", address.subnetMask());
  EXPECT_EQ("Orvane_KernelIPv4ProtocolEndpoint", address.getCreationClassName());
}

TEST(Ipv4Address, HoldsTheLongestText) {
  const IPv4Address address(
      &InterfaceList().ipv4("hk0", "255.255.255.255", "255.255.255.254").last());
  EXPECT_EQ("255.255.255.255", address.getAddress());
  EXPECT_EQ("255.255.255.254", address.subnetMask());
}

TEST(Ipv4Address, ThatCannotBeConvertedIsRefused) {
  InterfaceList list;
  list.ipv4("hk0", "192.0.2.17");
  const RefusedConversions refused;
  try {
    const IPv4Address address(&list.last());
    FAIL() << "was built as " << address.getAddress();
  } catch (const std::invalid_argument& exception) {
    EXPECT_STREQ("Address conversion failed", exception.what());
  }
}

TEST(Ipv4Address, WithoutANetmaskHasAnEmptyMask) {
  const IPv4Address address(&InterfaceList().ipv4("hk0", "192.0.2.17").withoutNetmask().last());
  EXPECT_EQ("192.0.2.17", address.getAddress());
  EXPECT_EQ("", address.subnetMask());
}

TEST(Ipv6Address, KeepsFamilyAddressAndPrefix) {
  const IPv6Address address(&InterfaceList().ipv6("hk0", "2001:DB8:0:0::1", 56).last());
  EXPECT_EQ(10U, address.family());
  EXPECT_EQ("2001:db8::1", address.getAddress());
  EXPECT_EQ(56U, address.prefixLength());
  EXPECT_EQ("Orvane_KernelIPv6ProtocolEndpoint", address.getCreationClassName());
}

TEST(Ipv6Address, HoldsTheLongestText) {
  const std::string longest = "1234:5678:9abc:def1:1234:5678:9abc:def1";
  EXPECT_EQ(longest, ipv6(longest, 64).getAddress());
  EXPECT_EQ("::ffff:255.255.255.255", ipv6("::ffff:255.255.255.255", 64).getAddress());
}

TEST(Ipv6Address, ThatCannotBeConvertedIsAnEmptyText) {
  InterfaceList list;
  list.ipv6("hk0", "2001:db8::1", 48);
  const RefusedConversions refused;
  const IPv6Address address(&list.last());
  EXPECT_EQ("", address.getAddress());
  EXPECT_EQ(48U, address.prefixLength());
}

TEST(Ipv6Address, WithoutANetmaskHasNoPrefix) {
  const IPv6Address address(&InterfaceList().ipv6("hk0", "2001:db8::1").withoutNetmask().last());
  EXPECT_EQ(0U, address.prefixLength());
}

TEST(Ipv6Address, TheTwelveBytesBehindTheMaskMustBeZeroToo) {
  for (int offset = 16; offset < 28; ++offset) {
    InterfaceList list;
    list.ipv6("hk0", "2001:db8::1", 64);
    list.lastMaskBytes()[offset] = 1;
    EXPECT_EQ(0U, IPv6Address(&list.last()).prefixLength()) << offset;
  }
}

TEST(Ipv6Address, TheByteAfterThoseDoesNotCount) {
  InterfaceList list;
  list.ipv6("hk0", "2001:db8::1", 64);
  list.lastMaskBytes()[28] = 1;
  EXPECT_EQ(64U, IPv6Address(&list.last()).prefixLength());
}

TEST(AddressEquality, OfIpv4ComparesAddressAndMask) {
  const IPv4Address address = ipv4("192.0.2.1", "255.255.255.0");
  const IPv4Address same = ipv4("192.0.2.1", "255.255.255.0");
  const IPv4Address otherMask = ipv4("192.0.2.1", "255.255.0.0");
  const IPv4Address otherAddress = ipv4("192.0.2.2", "255.255.255.0");
  EXPECT_TRUE(address.isEqual(&same));
  EXPECT_FALSE(address.isEqual(&otherMask));
  EXPECT_FALSE(address.isEqual(&otherAddress));
}

TEST(AddressEquality, OfIpv6ComparesTheAddressAlone) {
  const IPv6Address address = ipv6("2001:db8::1", 64);
  const IPv6Address otherPrefix = ipv6("2001:db8::1", 48);
  const IPv6Address otherAddress = ipv6("2001:db8::2", 64);
  EXPECT_TRUE(address.isEqual(&otherPrefix));
  EXPECT_FALSE(address.isEqual(&otherAddress));
}

TEST(AddressEquality, NothingEqualsNull) {
  EXPECT_FALSE(ipv4("192.0.2.1", "255.255.255.0").isEqual(nullptr));
  EXPECT_FALSE(ipv6("2001:db8::1", 64).isEqual(nullptr));
}

TEST(AddressEquality, FamiliesDifferWhateverTheirTexts) {
  InterfaceList list4;
  list4.ipv4("hk0", "192.0.2.1").withoutNetmask();
  const IPv4Address address4(&list4.last());
  InterfaceList list6;
  list6.ipv6("hk0", "2001:db8::1").withoutNetmask();
  const RefusedConversions refused;
  const IPv6Address address6(&list6.last());  // its text is empty
  EXPECT_FALSE(address4.isEqual(&address6));
  EXPECT_FALSE(address6.isEqual(&address4));
}

TEST(AddressEquality, AnAddressEqualsItself) {
  const IPv4Address address4 = ipv4("192.0.2.1", "255.255.255.0");
  const IPv6Address address6 = ipv6("2001:db8::1", 64);
  EXPECT_TRUE(address4.isEqual(&address4));
  EXPECT_TRUE(address6.isEqual(&address6));
}

TEST(SystemList, OfThisMachineIsReadInsideItsMemory) {
  ifaddrs* list = nullptr;
  ASSERT_EQ(0, getifaddrs(&list));
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET6) continue;
    const IPv6Address address(entry);
    EXPECT_NE("", address.getAddress());
    EXPECT_LE(address.prefixLength(), 128U);
  }
  freeifaddrs(list);
}

}  // namespace
