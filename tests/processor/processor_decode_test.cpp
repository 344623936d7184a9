#include "processor/processor_decode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace OrvProcessor {
namespace {

// Registers by the offset of their word.
constexpr std::size_t kFeatureEbx = 64;
constexpr std::size_t kFeatureEcx = 68;
constexpr std::size_t kExtendedEcx = 100;
constexpr std::size_t kExtendedEdx = 104;

constexpr std::string_view kIntel = "GenuntelineI";
constexpr std::string_view kAmd = "AuthcAMDenti";

using CoreIdentification = std::array<std::uint8_t, 200>;

HsiCore valueOf(const CoreIdentification& bytes) {
  HsiCore core{};
  static_assert(sizeof core == sizeof bytes);
  std::memcpy(&core, bytes.data(), sizeof core);
  return core;
}

CoreIdentification coreOf(std::string_view vendorRegisters) {
  CoreIdentification core{};
  std::copy(vendorRegisters.begin(), vendorRegisters.end(), core.begin() + 48);
  return core;
}

CoreIdentification withBit(CoreIdentification core, std::size_t offset, unsigned bit) {
  core[offset + bit / 8] = static_cast<std::uint8_t>(1U << bit % 8);
  return core;
}

ProcessorRecord decode(const CoreIdentification& core) {
  ProcessorRecord record;
  decodeIdentification(valueOf(core), record);
  return record;
}

struct VendorCase {
  std::string_view registers;
  std::uint16_t code;
};

class VendorCode : public testing::TestWithParam<VendorCase> {};

TEST_P(VendorCode, FollowsFromTheRegisters) {
  EXPECT_EQ(vendorCode(valueOf(coreOf(GetParam().registers))), GetParam().code)
      << GetParam().registers;
}

constexpr VendorCase kVendorCases[] = {
    {"GenuntelineI", 2}, {"AuthcAMDenti", 3}, {"GenuineIntel", 1},
    {"AuthenticAMD", 1}, {"genuntelineI", 1}, {"", 1},
    {"Genuntelinex", 1}, {"CyrixInstead", 1},
};
INSTANTIATE_TEST_SUITE_P(Vendors, VendorCode, testing::ValuesIn(kVendorCases));

struct FeatureBit {
  const char* feature;
  std::string_view vendor;
  std::size_t offset;
  unsigned bit;
  bool ProcessorRecord::*flag;
};

constexpr FeatureBit kFeatureBits[] = {
    {"VTSupported", kAmd, kExtendedEcx, 2, &ProcessorRecord::virtualization},
    {"VTSupported", kIntel, kFeatureEcx, 5, &ProcessorRecord::virtualization},
    {"XDSupported", kAmd, kExtendedEdx, 20, &ProcessorRecord::noExecute},
    {"XDSupported", kIntel, kExtendedEdx, 20, &ProcessorRecord::noExecute},
    {"LMSupported", kAmd, kExtendedEdx, 29, &ProcessorRecord::longMode},
    {"LMSupported", kIntel, kExtendedEdx, 29, &ProcessorRecord::longMode},
};

constexpr bool ProcessorRecord::*kFlags[] = {
    &ProcessorRecord::virtualization, &ProcessorRecord::noExecute, &ProcessorRecord::longMode};

const FeatureBit* featureAt(std::string_view vendor, std::size_t offset, unsigned bit) {
  for (const FeatureBit& row : kFeatureBits) {
    if (row.vendor == vendor && row.offset == offset && row.bit == bit) return &row;
  }
  return nullptr;
}

// Every bit of every register, one at a time: it sets its own flag and no other.
TEST(Features, EachBitSetsItsFlagAndNoOther) {
  for (const std::string_view vendor : {kIntel, kAmd}) {
    for (const std::size_t offset : {kFeatureEbx, kFeatureEcx, kExtendedEcx, kExtendedEdx}) {
      for (unsigned bit = 0; bit < 32; ++bit) {
        const ProcessorRecord record = decode(withBit(coreOf(vendor), offset, bit));
        const FeatureBit* feature = featureAt(vendor, offset, bit);
        for (const auto flag : kFlags) {
          EXPECT_EQ(record.*flag, feature != nullptr && feature->flag == flag)
              << vendor << " word " << offset << " bit " << bit;
        }
        const unsigned brand = offset == kFeatureEbx && bit < 8 ? 1U << bit : 0U;
        EXPECT_EQ(record.brandId, brand) << vendor << " word " << offset << " bit " << bit;
      }
    }
  }
}

TEST(Features, ValueIsFoundByName) {
  for (const FeatureBit& row : kFeatureBits) {
    const CoreIdentification core = withBit(coreOf(row.vendor), row.offset, row.bit);
    EXPECT_EQ(featureValue(valueOf(core), vendorCode(valueOf(core)), row.feature), 1U)
        << row.feature;
  }
  EXPECT_EQ(featureValue(valueOf(coreOf(kIntel)), kVendorGenuineIntel, "NoSuchFeature"), 0U);
}

TEST(Features, BrandIsTheLowByte) {
  for (const std::string_view vendor : {kIntel, kAmd}) {
    CoreIdentification core = coreOf(vendor);
    core[kFeatureEbx] = 0xA5;
    core[kFeatureEbx + 1] = 0xFF;
    EXPECT_EQ(decode(core).brandId, 0xA5);
  }
}

TEST(Features, OtherVendorHasNone) {
  CoreIdentification core;
  core.fill(0xFF);
  const ProcessorRecord record = decode(core);
  EXPECT_EQ(record.vendor, kVendorOther);
  EXPECT_EQ(record.brandId, 0);
  EXPECT_FALSE(record.virtualization || record.noExecute || record.longMode);
}

TEST(Stepping, IsByteThreeInDecimal) {
  CoreIdentification core = coreOf(kIntel);
  core[0] = core[1] = core[2] = core[4] = 0x11;
  EXPECT_EQ(decode(core).stepping, "0");
  core[3] = 255;
  EXPECT_EQ(decode(core).stepping, "255");
}

TEST(Decoding, LeavesTheRestOfTheRecordAlone) {
  ProcessorRecord record;
  record.name = "cpu-3";
  record.coreCount = 8;
  record.hardwareThread = true;
  record.powerControlSupported = true;
  record.status = kCpuEnabled;
  decodeIdentification(HsiCore{}, record);
  EXPECT_EQ(record.name, "cpu-3");
  EXPECT_EQ(record.coreCount, 8U);
  EXPECT_TRUE(record.hardwareThread);
  EXPECT_TRUE(record.powerControlSupported);
  EXPECT_EQ(record.status, kCpuEnabled);
}

TEST(ModelName, EndsAtNul) {
  EXPECT_EQ(cleanModelName(std::string_view("Example\0CPU", 11)), "Example");
  EXPECT_EQ(cleanModelName(std::string(48, '\0')), "");
}

TEST(ModelName, IsCutAtFortyEightCharacters) {
  EXPECT_EQ(cleanModelName(std::string(48, 'x')), std::string(48, 'x'));
  EXPECT_EQ(cleanModelName(std::string(60, 'x')), std::string(48, 'x'));
}

TEST(ModelName, CharactersThatDoNotPrintBecomeSpaces) {
  EXPECT_EQ(cleanModelName("A\tB\nC\x7F"
                           "D\x80\xFFZ\x01"),
            "A B C D  Z ");
  EXPECT_EQ(cleanModelName("  Example(R) CPU @ 2.60GHz ~ "), "  Example(R) CPU @ 2.60GHz ~ ");
}

struct PolicyCase {
  std::string_view text;
  bool supported;
  bool enabled;
};

class PowerPolicy : public testing::TestWithParam<PolicyCase> {};

TEST_P(PowerPolicy, GivesThePair) {
  ProcessorRecord record;
  decodePowerPolicy(GetParam().text, record);
  EXPECT_EQ(record.powerControlSupported, GetParam().supported) << GetParam().text;
  EXPECT_EQ(record.powerControlEnabled, GetParam().enabled) << GetParam().text;
}

constexpr PolicyCase kPolicyCases[] = {
    {"off", false, false},       {"OFF", false, false},        {"Off", false, false},
    {"official", false, false},  {"of", true, false},          {"", true, false},
    {" off", true, false},       {"dynamic", true, true},      {"Dynamic", true, true},
    {"DYNAMIC", true, true},     {"dynamically", true, true},  {"dynami", true, false},
    {"static", true, false},     {"performance", true, false}, {{"dyn\0amic", 8}, true, false},
    {{"\0off", 4}, true, false},
};
INSTANTIATE_TEST_SUITE_P(Texts, PowerPolicy, testing::ValuesIn(kPolicyCases));

TEST(PowerPolicyText, ReplacesWhatTheRecordHeld) {
  ProcessorRecord record;
  decodePowerPolicy("dynamic", record);
  decodePowerPolicy("off", record);
  EXPECT_FALSE(record.powerControlSupported);
  EXPECT_FALSE(record.powerControlEnabled);
}

TEST(Brand, IsPaddedWithSpaces) {
  EXPECT_EQ(brandText(0), "0x   0");
  EXPECT_EQ(brandText(5), "0x   5");
  EXPECT_EQ(brandText(0x1F), "0x  1f");
  EXPECT_EQ(brandText(255), "0x  ff");
}

}  // namespace
}  // namespace OrvProcessor
