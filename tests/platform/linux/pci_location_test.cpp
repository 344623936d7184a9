#include "platform/linux/pci_location.h"

#include <gtest/gtest.h>

#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {
namespace {

TEST(PciAddress, IsTakenApart) {
  const auto location = parsePciAddress("00a1:b3:1f.7");
  ASSERT_TRUE(location.has_value());
  EXPECT_EQ(location->segment, 0xa1);
  EXPECT_EQ(location->bus, 0xb3);
  EXPECT_EQ(location->slot, 0x1f);
  EXPECT_EQ(location->function, 7);
}

TEST(PciAddress, MustBeWholeAndInRange) {
  for (const char* text :
       {"", "virtio2", "0000:03:00", "0000:03:00.", "0000:03:00.8", "0000:03:20.0", "0000:100:00.0",
        "0000:03:00.1x", "0000:03.00:1", "10000:e1:00.0"}) {
    EXPECT_FALSE(parsePciAddress(text).has_value()) << text;
  }
}

/// A PCI function 0000:03:00.1 and the buses of a small machine.
void addPciFunction(SysTree& tree) {
  tree.directory("bus/pci").directory("bus/virtio").directory("bus/usb");
  tree.file("devices/pci0000:00/0000:03:00.1/vendor", "0x8086\n")
      .file("devices/pci0000:00/0000:03:00.1/device", "0x10fb\n")
      .link("devices/pci0000:00/0000:03:00.1/subsystem", "bus/pci");
}

TEST(PciDeviceOfAPort, IsTheDeviceItself) {
  SysTree tree;
  addPciFunction(tree);
  tree.link("class/net/nic0/device", "devices/pci0000:00/0000:03:00.1");
  const auto location = readPciLocation(tree.root() + "/class/net/nic0/device");
  ASSERT_TRUE(location.has_value());
  EXPECT_EQ(location->bus, 3);
  EXPECT_EQ(location->function, 1);
  EXPECT_EQ(location->vendorId, 0x8086);
  EXPECT_EQ(location->deviceId, 0x10fb);
}

TEST(PciDeviceOfAPort, IsTheParentOfAVirtioDevice) {
  SysTree tree;
  addPciFunction(tree);
  tree.file("devices/pci0000:00/0000:03:00.1/virtio2/vendor", "0x1af4\n")
      .link("devices/pci0000:00/0000:03:00.1/virtio2/subsystem", "bus/virtio")
      .link("class/net/nic0/device", "devices/pci0000:00/0000:03:00.1/virtio2");
  const auto location = readPciLocation(tree.root() + "/class/net/nic0/device");
  ASSERT_TRUE(location.has_value());
  EXPECT_EQ(location->vendorId, 0x8086) << "of the PCI function";
}

TEST(PciDeviceOfAPort, IsAbsentBelowAnotherBus) {
  SysTree tree;
  addPciFunction(tree);
  tree.link("devices/pci0000:00/0000:03:00.1/usb1/subsystem", "bus/usb")
      .link("class/net/nic0/device", "devices/pci0000:00/0000:03:00.1/usb1")
      .directory("devices/platform/virtio-mmio")
      .link("devices/platform/virtio-mmio/virtio0/subsystem", "bus/virtio")
      .link("class/net/nic1/device", "devices/platform/virtio-mmio/virtio0");
  EXPECT_FALSE(readPciLocation(tree.root() + "/class/net/nic0/device").has_value());
  EXPECT_FALSE(readPciLocation(tree.root() + "/class/net/nic1/device").has_value());
  EXPECT_FALSE(readPciLocation(tree.root() + "/class/net/nic2/device").has_value());
}

}  // namespace
}  // namespace LinuxHost
