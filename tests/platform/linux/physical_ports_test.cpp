#include "platform/linux/physical_ports.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/if_arp.h>

#include <utility>

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

/// As kernels tell it that name the parent device of a link.
LinkRecord deviceLink(int index, const std::string& name, unsigned hardwareType = ARPHRD_ETHER) {
  LinkRecord record = link(index, name, hardwareType);
  record.parent = ParentDevice{"0000:03:00.0", "pci"};
  record.parentsAreNamed = true;
  return record;
}

LinkRecord virtualLink(int index, const std::string& name, unsigned hardwareType = ARPHRD_ETHER) {
  LinkRecord record = link(index, name, hardwareType);
  record.parentsAreNamed = true;
  return record;
}

constexpr char kNoSysfs[] = "/nowhere";

/// Copies of the ports among `links`.
std::vector<LinkRecord> portsAmong(std::vector<LinkRecord> links, const std::string& sysRoot) {
  std::vector<LinkRecord> ports;
  for (const auto& port : physicalPorts(std::move(links), sysRoot)) ports.push_back(*port);
  return ports;
}

TEST(PhysicalPorts, AreEthernetLinksOfADeviceInIndexOrderWhateverSysfsSays) {
  const auto ports =
      portsAmong({deviceLink(9, "nic1"), virtualLink(3, "veth0"), deviceLink(2, "nic0"),
                  deviceLink(4, "ib0", ARPHRD_INFINIBAND), virtualLink(1, "lo", ARPHRD_LOOPBACK)},
                 kNoSysfs);
  EXPECT_THAT(ports,
              ElementsAre(Field(&LinkRecord::name, "nic0"), Field(&LinkRecord::name, "nic1")));
}

TEST(PhysicalPorts, AreFoundByTheirOwnName) {
  const auto port = physicalPortNamed(deviceLink(2, "nic0"), "nic0", kNoSysfs);
  ASSERT_TRUE(port.has_value());
  EXPECT_EQ(port->index, 2);
}

TEST(PhysicalPorts, AreNotFoundByAnAlternativeName) {
  EXPECT_FALSE(physicalPortNamed(deviceLink(2, "nic0"), "enp3s0", kNoSysfs).has_value())
      << "the kernel answers with nic0 when asked for its alternative name";
}

TEST(PhysicalPorts, AreNotFoundWhereTheLinkIsNoPort) {
  EXPECT_FALSE(physicalPortNamed(virtualLink(3, "veth0"), "veth0", kNoSysfs).has_value());
  EXPECT_FALSE(physicalPortNamed({}, "nic0", kNoSysfs).has_value());
}

/// Below an older kernel, sysfs tells that nic0 belongs to a PCI function and veth0 to nothing.
class PortsOfAnOlderKernel : public testing::Test {
 protected:
  PortsOfAnOlderKernel() {
    tree.directory("bus/pci")
        .link("devices/pci0000:00/0000:03:00.1/subsystem", "bus/pci")
        .link("class/net/nic0/device", "devices/pci0000:00/0000:03:00.1")
        .directory("class/net/veth0");
  }

  SysTree tree;
};

TEST_F(PortsOfAnOlderKernel, AreFoundInSysfsWithTheirParent) {
  const auto ports = portsAmong({link(9, "veth0"), link(2, "nic0")}, tree.root());
  ASSERT_THAT(ports, ElementsAre(Field(&LinkRecord::name, "nic0")));
  ASSERT_TRUE(ports[0].parent.has_value());
  EXPECT_EQ(ports[0].parent->name, "0000:03:00.1");
  EXPECT_EQ(ports[0].parent->bus, "pci");
}

TEST_F(PortsOfAnOlderKernel, AreNotTakenForAnotherNamespacesLinkOfTheSameName) {
  tree.file("class/net/nic0/ifindex", "2\n");
  EXPECT_EQ(portsAmong({link(2, "nic0")}, tree.root()).size(), 1U);
  EXPECT_TRUE(portsAmong({link(3, "nic0")}, tree.root()).empty());
}

TEST_F(PortsOfAnOlderKernel, MayBelongToADeviceWithoutABus) {
  tree.remove("devices/pci0000:00/0000:03:00.1/subsystem");
  const auto ports = portsAmong({link(2, "nic0")}, tree.root());
  ASSERT_THAT(ports, ElementsAre(Field(&LinkRecord::name, "nic0")));
  EXPECT_EQ(ports[0].parent->bus, "");
}

TEST_F(PortsOfAnOlderKernel, AreNoneWhereSysfsOfAYoungerOneWouldHaveThem) {
  EXPECT_TRUE(portsAmong({virtualLink(2, "nic0")}, tree.root()).empty())
      << "the message of a younger kernel has the last word";
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
