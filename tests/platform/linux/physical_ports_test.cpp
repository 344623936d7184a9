#include "platform/linux/physical_ports.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/if_arp.h>

#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {
namespace {

using testing::ElementsAre;
using testing::Field;

LinkRecord link(int index, const std::string& name, unsigned hardwareType = ARPHRD_ETHER) {
  LinkRecord record;
  record.index = index;
  record.name = name;
  record.hardwareType = hardwareType;
  return record;
}

/// A host whose links nic0, nic1 and ib0 are devices and whose veth0 is not.
class PhysicalPorts : public testing::Test {
 protected:
  PhysicalPorts() {
    tree.directory("devices/x").directory("class/net/veth0");
    for (const char* name : {"nic0", "nic1", "ib0"}) {
      tree.link(std::string("class/net/") + name + "/device", "devices/x");
    }
  }

  SysTree tree;
};

TEST_F(PhysicalPorts, AreEthernetLinksWithADeviceInIndexOrder) {
  const auto ports =
      physicalPorts({link(9, "nic1"), link(3, "veth0"), link(2, "nic0"),
                     link(4, "ib0", ARPHRD_INFINIBAND), link(1, "lo", ARPHRD_LOOPBACK)},
                    tree.root());
  EXPECT_THAT(ports,
              ElementsAre(Field(&LinkRecord::name, "nic0"), Field(&LinkRecord::name, "nic1")));
}

TEST_F(PhysicalPorts, LoseAPortWhoseDeviceIsGone) {
  tree.remove("devices/x");
  EXPECT_TRUE(physicalPorts({link(2, "nic0")}, tree.root()).empty());
}

TEST_F(PhysicalPorts, AreNotTakenForAnotherNamespacesLinkOfTheSameName) {
  tree.file("class/net/nic0/ifindex", "2\n");
  EXPECT_EQ(physicalPorts({link(2, "nic0")}, tree.root()).size(), 1U);
  EXPECT_TRUE(physicalPorts({link(3, "nic0")}, tree.root()).empty());
}

TEST_F(PhysicalPorts, AreFoundByTheirOwnName) {
  const auto port = physicalPortNamed({link(2, "nic0")}, "nic0", tree.root());
  ASSERT_TRUE(port.has_value());
  EXPECT_EQ(port->index, 2);
}

TEST_F(PhysicalPorts, AreNotFoundByAnAlternativeName) {
  EXPECT_FALSE(physicalPortNamed({link(2, "nic0")}, "enp3s0", tree.root()).has_value())
      << "the kernel answers with nic0 when asked for its alternative name";
}

TEST_F(PhysicalPorts, AreNotFoundWhereTheLinkIsNoPort) {
  EXPECT_FALSE(physicalPortNamed({link(3, "veth0")}, "veth0", tree.root()).has_value());
  EXPECT_FALSE(physicalPortNamed({}, "nic0", tree.root()).has_value());
}

TEST(LinkName, FitsTheKernelAndIsNoPath) {
  using namespace std::string_literals;
  EXPECT_TRUE(isLinkName("eth0"));
  EXPECT_TRUE(isLinkName(std::string(15, 'n')));
  for (const std::string& name :
       {""s, "."s, ".."s, "a/b"s, "eth0\0"s, std::string(16, 'n'), std::string(200, 'n')}) {
    EXPECT_FALSE(isLinkName(name)) << name;
  }
}

}  // namespace
}  // namespace LinuxHost
