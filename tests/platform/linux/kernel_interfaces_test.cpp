#include "platform/linux/kernel_interfaces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/socket.h>

namespace LinuxHost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

LinkRecord link(int index, const std::string& name, unsigned flags = IFF_UP) {
  LinkRecord record;
  record.index = index;
  record.name = name;
  record.flags = flags;
  return record;
}

AddressRecord ipv4(int linkIndex, std::array<unsigned char, 4> address, unsigned prefixLength) {
  AddressRecord record;
  record.linkIndex = linkIndex;
  record.family = AF_INET;
  record.prefixLength = prefixLength;
  std::copy(address.begin(), address.end(), record.address.begin());
  return record;
}

AddressRecord ipv6(int linkIndex, unsigned char last, unsigned prefixLength) {
  AddressRecord record;
  record.linkIndex = linkIndex;
  record.family = AF_INET6;
  record.prefixLength = prefixLength;
  record.address = {0xfd};
  record.address.back() = last;
  return record;
}

TEST(KernelInterfaces, AreAllButLoopbackInIndexOrder) {
  const auto interfaces =
      kernelInterfaces({link(7, "b"), link(1, "lo", IFF_UP | IFF_LOOPBACK), link(2, "a")}, {});
  ASSERT_THAT(interfaces, SizeIs(2)) << "an interface without addresses is one";
  EXPECT_EQ(interfaces[0].name, "a");
  EXPECT_EQ(interfaces[1].name, "b");
  EXPECT_FALSE(interfaces[0].ipv4.has_value());
  EXPECT_THAT(interfaces[0].ipv6, IsEmpty());
}

TEST(KernelInterfaces, HaveTheFirstIpv4Address) {
  const auto interfaces =
      kernelInterfaces({link(2, "a")}, {ipv4(2, {10, 0, 0, 7}, 24), ipv4(2, {10, 0, 0, 8}, 16)});
  ASSERT_THAT(interfaces, SizeIs(1));
  ASSERT_TRUE(interfaces[0].ipv4.has_value());
  EXPECT_THAT(interfaces[0].ipv4->address, ElementsAre(10, 0, 0, 7));
  EXPECT_THAT(interfaces[0].ipv4->netmask, ElementsAre(255, 255, 255, 0));
}

TEST(KernelInterfaces, HaveEveryIpv6AddressInOrder) {
  const auto interfaces = kernelInterfaces(
      {link(2, "a")}, {ipv6(2, 2, 64), ipv4(2, {10, 0, 0, 7}, 24), ipv6(2, 1, 128)});
  ASSERT_THAT(interfaces, SizeIs(1));
  ASSERT_THAT(interfaces[0].ipv6, SizeIs(2));
  EXPECT_EQ(interfaces[0].ipv6[0].text, "fd00::2");
  EXPECT_EQ(interfaces[0].ipv6[0].prefixLength, 64U);
  EXPECT_EQ(interfaces[0].ipv6[1].text, "fd00::1");
  EXPECT_EQ(interfaces[0].ipv6[1].prefixLength, 128U);
}

TEST(KernelInterfaces, HaveNoAddressesOfOtherLinks) {
  const auto interfaces =
      kernelInterfaces({link(2, "a"), link(1, "lo", IFF_LOOPBACK)},
                       {ipv4(3, {10, 0, 0, 7}, 24), ipv4(1, {127, 0, 0, 1}, 8)});
  ASSERT_THAT(interfaces, SizeIs(1));
  EXPECT_FALSE(interfaces[0].ipv4.has_value());
}

TEST(Netmask, HasAsManyBitsAsThePrefix) {
  EXPECT_THAT(netmaskOf(0), ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(netmaskOf(1), ElementsAre(128, 0, 0, 0));
  EXPECT_THAT(netmaskOf(19), ElementsAre(255, 255, 224, 0));
  EXPECT_THAT(netmaskOf(31), ElementsAre(255, 255, 255, 254));
  EXPECT_THAT(netmaskOf(32), ElementsAre(255, 255, 255, 255));
  EXPECT_THAT(netmaskOf(200), ElementsAre(255, 255, 255, 255));
}

}  // namespace
}  // namespace LinuxHost
