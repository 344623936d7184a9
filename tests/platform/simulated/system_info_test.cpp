#include "platform/system_info.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "tests/support/simulated_host_file.h"

namespace {

/// Node 605's first word through the whole interface; nothing when it cannot be read.
std::uint32_t hyperThreading(HSI_Status expected = 0) {
  std::array<unsigned char, 36> value{};
  EXPECT_EQ(HSI_Get(605, nullptr, value.data(), value.size()), expected);
  std::uint32_t word = 0;
  std::memcpy(&word, value.data(), sizeof word);
  return word;
}

std::string hostWith(std::uint32_t hyperThreading) {
  return "{\"processors\": {\"hyperThreading\": " + std::to_string(hyperThreading) + "}}";
}

TEST(SimulatedKernelInformation, ASignatureOfAnotherInterfaceFails) {
  const SimulatedHostFile file("{}");
  EXPECT_EQ(HSI_CheckSig(21), 0);
  EXPECT_NE(HSI_CheckSig(20), 0);
  EXPECT_NE(HSI_CheckSig(0), 0);
  hyperThreading(1);
}

TEST(SimulatedKernelInformation, TheFileCanRefuseTheSignature) {
  const SimulatedHostFile file(R"({"hsi": {"signatureOk": false}})");
  EXPECT_NE(HSI_CheckSig(21), 0);
  hyperThreading(1);
}

TEST(SimulatedKernelInformation, AnUnreadableHostFailsTheSignatureAndWhatFollows) {
  const SimulatedHostFile file("{}");
  ASSERT_EQ(HSI_CheckSig(21), 0);
  file.write("{");
  EXPECT_NE(HSI_CheckSig(21), 0);
  hyperThreading(1);
  HSI_ParamList* list = nullptr;
  EXPECT_NE(HSI_GetInstanceListAlloc(608, nullptr, &list), 0);
  EXPECT_EQ(list, nullptr);
}

TEST(SimulatedKernelInformation, NothingCanBeReadBeforeTheSignature) {
  const SimulatedHostFile file("{}");
  std::thread([] {
    hyperThreading(1);
    HSI_ParamList* list = nullptr;
    EXPECT_NE(HSI_GetInstanceListAlloc(608, nullptr, &list), 0);
  }).join();
}

TEST(SimulatedKernelInformation, OneQuerySeesOneState) {
  const SimulatedHostFile file(hostWith(1));
  ASSERT_EQ(HSI_CheckSig(21), 0);
  file.write(hostWith(2));
  EXPECT_EQ(hyperThreading(), 1U);
  ASSERT_EQ(HSI_CheckSig(21), 0);
  EXPECT_EQ(hyperThreading(), 2U);
}

TEST(SimulatedKernelInformation, EachThreadHasItsOwnView) {
  const SimulatedHostFile file(hostWith(1));
  ASSERT_EQ(HSI_CheckSig(21), 0);
  file.write(hostWith(2));
  std::thread([] {
    ASSERT_EQ(HSI_CheckSig(21), 0);
    EXPECT_EQ(hyperThreading(), 2U);
  }).join();
  EXPECT_EQ(hyperThreading(), 1U);
}

TEST(SimulatedKernelInformation, ListsComeFromTheView) {
  const SimulatedHostFile file(R"({"interfaces": [{"name": "hk0"}]})");
  ASSERT_EQ(HSI_CheckSig(21), 0);
  file.write("{}");
  HSI_ParamList* list = nullptr;
  ASSERT_EQ(HSI_GetInstanceListAlloc(214, nullptr, &list), 0);
  const char* name = nullptr;
  EXPECT_EQ(HSI_ParamGetString(HSI_ParamListGetParam(list, 0), &name), 0);
  EXPECT_STREQ(name, "hk0");
  HSI_ParamListDestroy(list);
}

}  // namespace
