#include "platform/linux/hardware/smart_logs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LinuxHost {
namespace {

using Hardware::Disk;

// ---- NVMe ----

std::string nvmeLog() {
  std::string log(512, '\0');
  log[0] = 0x05;
  log[1] = static_cast<char>(0x5F);  // 351 K
  log[2] = 0x01;
  log[3] = 3;
  log[4] = 10;
  log[5] = 101;
  log[128] = static_cast<char>(0xE8);  // 1000 hours
  log[129] = 0x03;
  log[160] = 7;
  return log;
}

TEST(NvmeSmart, IsDecoded) {
  Disk disk;
  decodeNvmeSmart(nvmeLog(), disk);
  EXPECT_EQ(disk.criticalWarning, 5);
  EXPECT_EQ(disk.temperature, 78);
  EXPECT_EQ(disk.spare, 3);
  EXPECT_EQ(disk.spareThreshold, 10);
  EXPECT_EQ(disk.used, 101);
  EXPECT_EQ(disk.powerOnHours, 1000u);
  EXPECT_EQ(disk.mediaErrors, 7u);
}

TEST(NvmeSmart, CountersThatDoNotFitAreTheLargest) {
  std::string log = nvmeLog();
  log[168] = 1;
  Disk disk;
  decodeNvmeSmart(log, disk);
  EXPECT_EQ(disk.mediaErrors, UINT64_MAX);
}

TEST(NvmeSmart, AShortLogChangesNothing) {
  Disk disk;
  decodeNvmeSmart(nvmeLog().substr(0, 511), disk);
  decodeNvmeSmart("", disk);
  EXPECT_EQ(disk.criticalWarning, std::nullopt);
}

// ---- ATA ----

std::string withChecksum(std::string page) {
  unsigned char sum = 0;
  for (std::size_t i = 0; i < 511; ++i) sum = static_cast<unsigned char>(sum + page[i]);
  page[511] = static_cast<char>(-sum);
  return page;
}

/// SMART data with attributes: number, raw value.
std::string smartData(const std::vector<std::pair<int, unsigned>>& attributes) {
  std::string page(512, '\0');
  std::size_t at = 2;
  for (const auto& [number, raw] : attributes) {
    page[at] = static_cast<char>(number);
    page[at + 3] = 100;
    page[at + 4] = 100;
    for (int i = 0; i < 4; ++i) page[at + 5 + i] = static_cast<char>(raw >> (8 * i) & 0xFF);
    at += 12;
  }
  return withChecksum(page);
}

TEST(AtaSmart, IsDecoded) {
  Disk disk;
  decodeAtaSmart(smartData({{5, 2}, {9, 1000}, {194, 38}, {197, 8}}), disk);
  EXPECT_EQ(disk.pendingSectors, 8u);
  EXPECT_EQ(disk.badSectors, 10u);
  EXPECT_EQ(disk.powerOnHours, 1000u);
  EXPECT_EQ(disk.temperature, 38);
}

TEST(AtaSmart, APageThatDoesNotAddUpOrIsCutTellsNothing) {
  const std::string page = smartData({{197, 8}});
  std::string changed = page;
  changed.back() = static_cast<char>(changed.back() + 1);
  for (const std::string& bad : {changed, page.substr(1), page.substr(0, 511), std::string()}) {
    Disk disk;
    decodeAtaSmart(bad, disk);
    EXPECT_EQ(disk.pendingSectors, std::nullopt);
  }
}

TEST(AtaSmart, ACountThatIsNotSetIsNone) {
  Disk disk;
  decodeAtaSmart(smartData({{197, 0xFFFFFFFF}, {190, 41}}), disk);
  EXPECT_EQ(disk.pendingSectors, std::nullopt);
  EXPECT_EQ(disk.temperature, 41);
}

TEST(AtaRegistersOfSense, AreThoseOfTheStatusReturn) {
  // Descriptor form; one descriptor: ATA status return, 12 bytes.
  std::string sense("\x72\x01\x00\x1d\x00\x00\x00\x0e", 8);
  sense += std::string("\x09\x0c\x00\x00\x00\xff\x00\x00\x00\x4f\x00\xc2\x00\x50", 14);
  ASSERT_TRUE(ataRegisters(sense));
  EXPECT_EQ(ataRegisters(sense)->count, 0xFF);
  EXPECT_EQ(smartPassed(*ataRegisters(sense)), 1);
  sense[17] = '\xf4';
  sense[19] = '\x2c';
  EXPECT_EQ(smartPassed(*ataRegisters(sense)), 0);
  sense[19] = 0;
  EXPECT_EQ(smartPassed(*ataRegisters(sense)), std::nullopt);
  for (std::size_t size = 0; size < sense.size(); ++size) {
    EXPECT_FALSE(ataRegisters(sense.substr(0, size))) << size;
  }
}

// ---- SCSI ----

std::string exceptionsPage(unsigned code, unsigned qualifier, unsigned celsius) {
  std::string page("\x2f\x00\x00\x08\x00\x00\x03\x04", 8);
  page += static_cast<char>(code);
  page += static_cast<char>(qualifier);
  page += static_cast<char>(celsius);
  return page + '\0';
}

TEST(ScsiExceptions, TellPredictionAndTemperature) {
  Disk disk;
  decodeScsiExceptions(exceptionsPage(0, 0, 34), disk);
  EXPECT_EQ(disk.failurePrediction, "");
  EXPECT_EQ(disk.temperature, 34);
  decodeScsiExceptions(exceptionsPage(0x5D, 0x10, 34), disk);
  EXPECT_EQ(disk.failurePrediction, "failure prediction threshold exceeded (5D/10)");
  decodeScsiExceptions(exceptionsPage(0x0B, 0x01, 34), disk);
  EXPECT_EQ(disk.failurePrediction, "temperature exceeded (0B/01)");
}

TEST(ScsiExceptions, AnotherPageOrAShortOneChangesNothing) {
  const std::string page = exceptionsPage(0x5D, 0, 34);
  for (std::size_t size = 0; size < 10; ++size) {
    Disk disk;
    decodeScsiExceptions(page.substr(0, size), disk);
    EXPECT_EQ(disk.failurePrediction, "") << size;
  }
  Disk disk;
  decodeScsiExceptions("\x0d" + page.substr(1), disk);
  EXPECT_EQ(disk.failurePrediction, "");
}

TEST(ScsiSense, TellsStandby) {
  const std::string fixed("\x70\x00\x02\x00\x00\x00\x00\x0a\x00\x00\x00\x00\x5e\x00", 14);
  ASSERT_TRUE(parseSense(fixed));
  EXPECT_TRUE(tellsStandby(*parseSense(fixed)));
  const std::string stopped("\x72\x02\x04\x02\x00\x00\x00\x00", 8);
  ASSERT_TRUE(parseSense(stopped));
  EXPECT_TRUE(tellsStandby(*parseSense(stopped)));
  const std::string awake("\x72\x00\x00\x00\x00\x00\x00\x00", 8);
  EXPECT_FALSE(tellsStandby(*parseSense(awake)));
  EXPECT_FALSE(parseSense(""));
  EXPECT_FALSE(parseSense(fixed.substr(0, 13)));
}

}  // namespace
}  // namespace LinuxHost
