#include "platform/linux/cpuid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace LinuxHost {
namespace {

using Bytes = std::array<unsigned char, 200>;

Bytes bytesOf(const HsiCore& core) {
  Bytes bytes{};
  static_assert(sizeof core == sizeof bytes);
  std::memcpy(bytes.data(), &core, sizeof core);
  return bytes;
}

std::uint32_t wordAt(const Bytes& data, std::size_t offset) {
  std::uint32_t word = 0;
  std::memcpy(&word, data.data() + offset, sizeof word);
  return word;
}

std::string brandText(const CpuidLeaves& leaves) {
  const auto brand = brandOf(leaves);
  return std::string(brand.data(), strnlen(brand.data(), brand.size()));
}

CpuidLeaves withBrand(const std::string& text) {
  CpuidLeaves leaves;
  std::memcpy(leaves.brand.data(), text.data(),
              std::min(text.size(), std::tuple_size_v<HsiCpuModel>));
  return leaves;
}

TEST(IdentificationData, HasTheRegistersAtTheirPlaces) {
  CpuidLeaves leaves;
  leaves.vendor = {0x16, 0x756e6547, 0x6c65746e, 0x49656e69};
  leaves.features = {0x000306a9, 0x01000805, 0x7fbae3ff, 0xbfebfbff};
  leaves.extendedMaximum = {0x80000008, 1, 2, 3};
  leaves.extended = {4, 5, 6, 7};
  const auto data = bytesOf(identificationOf(leaves));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(data.data()) + 48, 12), "GenuntelineI");
  EXPECT_EQ(wordAt(data, 44), 0x16U);
  EXPECT_EQ(wordAt(data, 60), 0x000306a9U);
  EXPECT_EQ(wordAt(data, 64), 0x01000805U);
  EXPECT_EQ(wordAt(data, 68), 0x7fbae3ffU);
  EXPECT_EQ(wordAt(data, 72), 0xbfebfbffU);
  EXPECT_EQ(wordAt(data, 76), 0x80000008U);
  EXPECT_EQ(wordAt(data, 92), 4U);
  EXPECT_EQ(wordAt(data, 96), 5U);
  EXPECT_EQ(wordAt(data, 100), 6U);
  EXPECT_EQ(wordAt(data, 104), 7U);
}

TEST(IdentificationData, BeginsWithFamilyModelTypeAndStepping) {
  CpuidLeaves leaves;
  leaves.features.eax = 0x000306a9;  // family 6, model 0x3a, stepping 9
  auto data = bytesOf(identificationOf(leaves));
  EXPECT_EQ(data[0], 6);
  EXPECT_EQ(data[1], 0x3a);
  EXPECT_EQ(data[2], 0);
  EXPECT_EQ(data[3], 9);
  leaves.features.eax = 0x00a20f12;  // family 0x19, model 0x21, stepping 2
  data = bytesOf(identificationOf(leaves));
  EXPECT_EQ(data[0], 0x19);
  EXPECT_EQ(data[1], 0x21);
  EXPECT_EQ(data[3], 2);
}

TEST(Brand, LosesSpacesAtBothEnds) {
  EXPECT_EQ(brandText(withBrand("     Example CPU @ 2.60GHz")), "Example CPU @ 2.60GHz");
  std::string padded = "Example 16-Core Processor";
  padded.resize(std::tuple_size_v<HsiCpuModel>, ' ');
  EXPECT_EQ(brandText(withBrand(padded)), "Example 16-Core Processor");
}

TEST(Brand, MayFillItsField) {
  const std::string full(std::tuple_size_v<HsiCpuModel>, 'x');
  EXPECT_EQ(brandText(withBrand(full)), full);
}

TEST(Brand, OfSpacesOrOfNothingIsEmpty) {
  EXPECT_EQ(brandText(withBrand(std::string(std::tuple_size_v<HsiCpuModel>, ' '))), "");
  EXPECT_EQ(brandText(CpuidLeaves{}), "");
}

TEST(ThreadsPerCore, AreThoseOfTheSmtLevel) {
  CpuidLeaves leaves;
  leaves.smtLevel = {1, 2, 0x100, 0};
  EXPECT_EQ(threadsPerCore(leaves), 2U);
  leaves.smtLevel = {5, 16, 0x201, 0};  // the core level
  EXPECT_EQ(threadsPerCore(leaves), 0U);
  EXPECT_EQ(threadsPerCore(CpuidLeaves{}), 0U);
}

TEST(ThreadsPerPackage, AreThoseOfTheCoreLevel) {
  CpuidLeaves leaves;
  leaves.coreLevel = {5, 16, 0x201, 0};
  EXPECT_EQ(threadsPerPackage(leaves), 16U);
  leaves.coreLevel = {};
  EXPECT_EQ(threadsPerPackage(leaves), 0U);
}

}  // namespace
}  // namespace LinuxHost
