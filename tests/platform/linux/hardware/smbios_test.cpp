#include "platform/linux/hardware/smbios.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LinuxHost {
namespace {

using testing::IsEmpty;

/// A structure: type, handle, fields after the header, strings.
std::string structure(std::uint8_t type, std::uint16_t handle, const std::string& fields,
                      const std::vector<std::string>& strings) {
  std::string bytes;
  bytes += static_cast<char>(type);
  bytes += static_cast<char>(4 + fields.size());
  bytes += static_cast<char>(handle & 0xFF);
  bytes += static_cast<char>(handle >> 8);
  bytes += fields;
  for (const std::string& text : strings) bytes += text + '\0';
  if (strings.empty()) bytes += '\0';
  return bytes + '\0';
}

/// The fields of a memory device of version 2.8, from offset 4; positions as in the format.
class MemoryFields {
 public:
  MemoryFields& byte(std::size_t offset, unsigned value) {
    bytes_[offset - 4] = static_cast<char>(value);
    return *this;
  }
  MemoryFields& word(std::size_t offset, unsigned value) {
    return byte(offset, value & 0xFF).byte(offset + 1, value >> 8 & 0xFF);
  }
  MemoryFields& doubleWord(std::size_t offset, unsigned value) {
    return word(offset, value & 0xFFFF).word(offset + 2, value >> 16);
  }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_ = std::string(0x22 - 4, '\0');
};

MemoryFields sixteenGigabytes() {
  MemoryFields fields;
  fields.word(0x08, 72).word(0x0A, 64).word(0x0C, 16384).byte(0x0E, 0x09).byte(0x10, 1);
  fields.byte(0x11, 2).byte(0x12, 0x1A).word(0x15, 3200).byte(0x17, 3).byte(0x18, 4);
  return fields.byte(0x1A, 5).word(0x20, 2933);
}
const std::vector<std::string> kStrings = {"DIMM_A1", "BANK 0", "Example", "S123", "P-1   "};

TEST(Smbios, ReadsAMemoryDevice) {
  const auto devices =
      parseMemoryDevices(structure(17, 0x1100, sixteenGigabytes().bytes(), kStrings));
  ASSERT_EQ(devices.size(), 1u);
  const SmbiosMemoryDevice& device = devices[0];
  EXPECT_EQ(device.handle, 0x1100);
  EXPECT_EQ(device.locator, "DIMM_A1");
  EXPECT_EQ(device.bank, "BANK 0");
  EXPECT_EQ(device.manufacturer, "Example");
  EXPECT_EQ(device.serialNumber, "S123");
  EXPECT_EQ(device.partNumber, "P-1");
  EXPECT_EQ(device.capacity, std::uint64_t{16} << 30);
  EXPECT_EQ(device.totalWidth, 72);
  EXPECT_EQ(device.dataWidth, 64);
  EXPECT_EQ(device.transferRate, 2933u);
  EXPECT_EQ(cimMemoryType(device.type), 26);
  EXPECT_EQ(cimFormFactor(device.formFactor), 8);
}

TEST(Smbios, ReadsEveryFormOfSize) {
  const auto capacity = [](MemoryFields fields) {
    return parseMemoryDevices(structure(17, 1, fields.bytes(), {})).at(0).capacity;
  };
  EXPECT_EQ(capacity(MemoryFields().word(0x0C, 0)), 0u);
  EXPECT_EQ(capacity(MemoryFields().word(0x0C, 0xFFFF)), std::nullopt);
  EXPECT_EQ(capacity(MemoryFields().word(0x0C, 0x8200)), std::uint64_t{512} << 10);
  EXPECT_EQ(capacity(MemoryFields().word(0x0C, 0x7FFF).doubleWord(0x1C, 65536)),
            std::uint64_t{64} << 30);
}

TEST(Smbios, LeavesOutWhatTheFirmwareDoesNotKnow) {
  const auto devices = parseMemoryDevices(
      structure(17, 1, sixteenGigabytes().word(0x08, 0xFFFF).word(0x15, 0).word(0x20, 0).bytes(),
                {"DIMM_A1", "Not Specified", "Unknown", "To Be Filled By O.E.M.", "NO DIMM"}));
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(
      devices[0].bank + devices[0].manufacturer + devices[0].serialNumber + devices[0].partNumber,
      "");
  EXPECT_EQ(devices[0].totalWidth, std::nullopt);
  EXPECT_EQ(devices[0].transferRate, std::nullopt);
}

TEST(Smbios, PassesOverOtherStructuresAndStopsAtTheEndMark) {
  const std::string module = structure(17, 1, sixteenGigabytes().bytes(), kStrings);
  const auto devices = parseMemoryDevices(structure(0, 9, std::string(20, '\1'), {"BIOS"}) +
                                          module + structure(127, 99, "", {}) + module);
  EXPECT_EQ(devices.size(), 1u);
}

TEST(Smbios, AShortStructureOfAnOlderVersionLacksTheLaterFields) {
  const auto devices = parseMemoryDevices(
      structure(17, 1, sixteenGigabytes().bytes().substr(0, 0x15 - 4), kStrings));
  ASSERT_EQ(devices.size(), 1u);
  EXPECT_EQ(devices[0].capacity, std::uint64_t{16} << 30);
  EXPECT_EQ(devices[0].serialNumber, "");
}

TEST(Smbios, AMalformedTableIsReadAsFarAsItIsWellFormed) {
  const std::string module = structure(17, 1, sixteenGigabytes().bytes(), kStrings);
  for (std::size_t size = 0; size < module.size(); ++size) {
    EXPECT_THAT(parseMemoryDevices(module.substr(0, size)), IsEmpty()) << size;
    EXPECT_EQ(parseMemoryDevices(module + module.substr(0, size)).size(), 1u) << size;
  }
  EXPECT_THAT(parseMemoryDevices(std::string(1000, '\0')), IsEmpty());
  EXPECT_THAT(parseMemoryDevices(std::string(1000, '\xff')), IsEmpty());
}

TEST(Smbios, AStringNumberThatIsNotThereIsNoText) {
  const auto devices =
      parseMemoryDevices(structure(17, 1, sixteenGigabytes().byte(0x10, 200).bytes(), {"only"}));
  EXPECT_EQ(devices.at(0).locator, "");
}

TEST(Smbios, AHugeTableIsRead) {
  std::string table;
  for (std::uint16_t i = 0; i < 5000; ++i) {
    table += structure(17, i, sixteenGigabytes().bytes(), kStrings);
  }
  EXPECT_EQ(parseMemoryDevices(table).size(), 5000u);
}

}  // namespace
}  // namespace LinuxHost
