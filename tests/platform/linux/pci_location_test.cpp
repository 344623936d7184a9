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

/// A machine with a PCI function, which carries a virtio device, and another virtio device.
class PciDeviceOfAPort : public testing::Test {
 protected:
  PciDeviceOfAPort() {
    tree.file("devices/pci0000:00/0000:03:00.1/vendor", "0x8086\n")
        .file("devices/pci0000:00/0000:03:00.1/device", "0x10fb\n")
        .file("devices/pci0000:00/0000:03:00.1/virtio2/vendor", "0x1af4\n")
        .directory("devices/platform/virtio-mmio/virtio0")
        .link("bus/pci/devices/0000:03:00.1", "devices/pci0000:00/0000:03:00.1")
        .link("bus/virtio/devices/virtio2", "devices/pci0000:00/0000:03:00.1/virtio2")
        .link("bus/virtio/devices/virtio0", "devices/platform/virtio-mmio/virtio0");
  }

  SysTree tree;
};

TEST_F(PciDeviceOfAPort, IsTheDeviceItself) {
  const auto location = readPciLocation({"0000:03:00.1", "pci"}, tree.root());
  ASSERT_TRUE(location.has_value());
  EXPECT_EQ(location->bus, 3);
  EXPECT_EQ(location->function, 1);
  EXPECT_EQ(location->vendorId, 0x8086);
  EXPECT_EQ(location->deviceId, 0x10fb);
}

TEST_F(PciDeviceOfAPort, IsTheOneThatCarriesAVirtioDevice) {
  const auto location = readPciLocation({"virtio2", "virtio"}, tree.root());
  ASSERT_TRUE(location.has_value());
  EXPECT_EQ(location->bus, 3);
  EXPECT_EQ(location->vendorId, 0x8086) << "of the PCI function";
}

TEST_F(PciDeviceOfAPort, IsAbsentOnAnotherBus) {
  EXPECT_FALSE(readPciLocation({"1-1:1.0", "usb"}, tree.root()).has_value());
  EXPECT_FALSE(readPciLocation({"virtio0", "virtio"}, tree.root()).has_value());
  EXPECT_FALSE(readPciLocation({"virtio9", "virtio"}, tree.root()).has_value());
  EXPECT_FALSE(readPciLocation({"0000:03:00.1", ""}, tree.root()).has_value());
}

TEST_F(PciDeviceOfAPort, IsLocatedWithoutSysfs) {
  const auto location = readPciLocation({"0000:03:00.1", "pci"}, "/nowhere");
  ASSERT_TRUE(location.has_value());
  EXPECT_EQ(location->bus, 3);
  EXPECT_EQ(location->vendorId, 0);
}

}  // namespace
}  // namespace LinuxHost
