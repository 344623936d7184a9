#include "kernelip/address_changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "tests/support/interface_list.h"

namespace {

using ORV::AddressMap;
using ORV::IAddress;
using orv::test::InterfaceList;
using testing::ElementsAre;
using testing::IsEmpty;

AddressMap snapshotOf(InterfaceList list) {
  AddressMap snapshot;
  for (const ifaddrs* entry = list.entries(); entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr->sa_family == AF_INET) {
      snapshot.emplace(entry->ifa_name, boost::make_shared<ORV::IPv4Address>(entry));
    } else {
      snapshot.emplace(entry->ifa_name, boost::make_shared<ORV::IPv6Address>(entry));
    }
  }
  return snapshot;
}

/// "interface old -> new" for each replacement, in the order in which a pass finds them.
std::vector<std::string> replacements(const InterfaceList& before, const InterfaceList& after) {
  const AddressMap previous = snapshotOf(before);
  const AddressMap current = snapshotOf(after);
  std::vector<std::string> found;
  for (const auto& [name, address] : current) {
    std::vector<boost::shared_ptr<IAddress>> vanished;
    if (!ORV::replacedAddresses(previous, current, name, address, vanished)) continue;
    for (const auto& old : vanished) {
      found.push_back(name + " " + old->getAddress() + " -> " + address->getAddress());
    }
  }
  return found;
}

TEST(AddressChanges, NoChangeIsNone) {
  const InterfaceList list = InterfaceList().ipv4("hk0", "192.0.2.1").ipv6("hk0", "2001:db8::1");
  EXPECT_THAT(replacements(list, list), IsEmpty());
}

TEST(AddressChanges, AReplacedAddressIsOne) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1"),
                           InterfaceList().ipv4("hk0", "192.0.2.2")),
              ElementsAre("hk0 192.0.2.1 -> 192.0.2.2"));
  EXPECT_THAT(replacements(InterfaceList().ipv6("hk0", "2001:db8::1"),
                           InterfaceList().ipv6("hk0", "2001:db8::2")),
              ElementsAre("hk0 2001:db8::1 -> 2001:db8::2"));
}

TEST(AddressChanges, AnAddressAddedBesideASurvivorIsNone) {
  EXPECT_THAT(replacements(InterfaceList().ipv6("hk0", "2001:db8::1"),
                           InterfaceList().ipv6("hk0", "2001:db8::1").ipv6("hk0", "2001:db8::2")),
              IsEmpty());
}

TEST(AddressChanges, AnAddressRemovedWithoutASuccessorIsNone) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk0", "192.0.2.2"),
                           InterfaceList().ipv4("hk0", "192.0.2.2")),
              IsEmpty());
}

TEST(AddressChanges, ANewInterfaceIsNone) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1"),
                           InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk1", "192.0.2.2")),
              IsEmpty());
}

TEST(AddressChanges, ARemovedInterfaceIsNone) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk1", "192.0.2.2"),
                           InterfaceList().ipv4("hk0", "192.0.2.1")),
              IsEmpty());
}

TEST(AddressChanges, ANetmaskChangeIsAReplacement) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1", "255.255.255.0"),
                           InterfaceList().ipv4("hk0", "192.0.2.1", "255.255.0.0")),
              ElementsAre("hk0 192.0.2.1 -> 192.0.2.1"));
}

TEST(AddressChanges, AnIpv6PrefixChangeIsNone) {
  EXPECT_THAT(replacements(InterfaceList().ipv6("hk0", "2001:db8::1", 64),
                           InterfaceList().ipv6("hk0", "2001:db8::1", 48)),
              IsEmpty());
}

TEST(AddressChanges, FamiliesAreComparedApart) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1"),
                           InterfaceList().ipv4("hk0", "192.0.2.2").ipv6("hk0", "2001:db8::1")),
              ElementsAre("hk0 192.0.2.1 -> 192.0.2.2"));
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1"),
                           InterfaceList().ipv6("hk0", "2001:db8::1")),
              IsEmpty());
}

TEST(AddressChanges, InterfacesAreComparedApart) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk1", "192.0.2.2"),
                           InterfaceList().ipv4("hk0", "192.0.2.2").ipv4("hk1", "192.0.2.1")),
              ElementsAre("hk0 192.0.2.1 -> 192.0.2.2", "hk1 192.0.2.2 -> 192.0.2.1"));
}

TEST(AddressChanges, TwoAddressesReplacedByOneAreTwo) {
  EXPECT_THAT(replacements(InterfaceList().ipv6("hk0", "2001:db8::1").ipv6("hk0", "2001:db8::2"),
                           InterfaceList().ipv6("hk0", "2001:db8::3")),
              ElementsAre("hk0 2001:db8::1 -> 2001:db8::3", "hk0 2001:db8::2 -> 2001:db8::3"));
}

TEST(AddressChanges, OneAddressReplacedByTwoIsTwo) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1"),
                           InterfaceList().ipv4("hk0", "192.0.2.8").ipv4("hk0", "192.0.2.5")),
              ElementsAre("hk0 192.0.2.1 -> 192.0.2.8", "hk0 192.0.2.1 -> 192.0.2.5"));
}

TEST(AddressChanges, ASurvivorBesideAReplacedAddressIsNotReported) {
  EXPECT_THAT(replacements(InterfaceList().ipv4("hk0", "192.0.2.1").ipv4("hk0", "192.0.2.2"),
                           InterfaceList().ipv4("hk0", "192.0.2.3").ipv4("hk0", "192.0.2.2")),
              ElementsAre("hk0 192.0.2.1 -> 192.0.2.3"));
}

TEST(AddressChanges, ComeInTheOrderOfNamesByTheirBytes) {
  EXPECT_THAT(
      replacements(
          InterfaceList().ipv4("b", "192.0.2.1").ipv4("a10", "192.0.2.2").ipv4("B", "192.0.2.3"),
          InterfaceList().ipv4("b", "192.0.2.4").ipv4("a10", "192.0.2.5").ipv4("B", "192.0.2.6")),
      ElementsAre("B 192.0.2.3 -> 192.0.2.6", "a10 192.0.2.2 -> 192.0.2.5",
                  "b 192.0.2.1 -> 192.0.2.4"));
}

TEST(AddressChanges, OfAnUnknownInterfaceLeaveTheListAlone) {
  const AddressMap current = snapshotOf(InterfaceList().ipv4("hk0", "192.0.2.1"));
  const boost::shared_ptr<IAddress> address = current.begin()->second;
  std::vector<boost::shared_ptr<IAddress>> vanished{address};
  EXPECT_FALSE(ORV::replacedAddresses({}, current, "hk0", address, vanished));
  EXPECT_EQ(1U, vanished.size());
}

TEST(AddressChanges, OfAKnownInterfaceStartWithAnEmptyList) {
  const AddressMap current = snapshotOf(InterfaceList().ipv4("hk0", "192.0.2.1"));
  const boost::shared_ptr<IAddress> address = current.begin()->second;
  std::vector<boost::shared_ptr<IAddress>> vanished{address, address};
  EXPECT_FALSE(ORV::replacedAddresses(current, current, "hk0", address, vanished));
  EXPECT_TRUE(vanished.empty());
}

}  // namespace
