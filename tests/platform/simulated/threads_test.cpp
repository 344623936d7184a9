#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "platform/host_version.h"
#include "platform/network_info.h"
#include "platform/system_info.h"
#include "tests/support/simulated_host_file.h"

namespace {

/// A host whose every part carries the same number, so that a mixture is noticed.
std::string hostNumbered(unsigned number) {
  const std::string text = std::to_string(number);
  return "{\"ports\": [{\"name\": \"a\", \"mtu\": " + text +
         "}, {\"name\": \"b\", \"mtu\": " + text +
         "}], \"processors\": {\"hyperThreading\": " + text +
         ", \"packages\": [{\"coreCount\": " + text +
         "}]}, \"version\": {\"buildNumber\": " + text + ", \"version\": \"" + text + "\"}}";
}

std::uint32_t readWord(std::uint32_t node, const HSI_ParamList* parameters, std::size_t size) {
  std::array<std::uint32_t, 16> value{};
  EXPECT_EQ(HSI_Get(node, parameters, value.data(), size), 0);
  return value[0];
}

void queryOnce() {
  HykCtl::Network::NetworkInfoImpl info;
  const auto pnics = info.GetPnics();
  ASSERT_EQ(pnics.size(), 2U);
  EXPECT_EQ(pnics[0]->GetMtu(), pnics[1]->GetMtu());
  EXPECT_EQ(info.GetPnicByName("b")->GetMtu(), pnics[1]->GetMtu());

  ASSERT_EQ(HSI_CheckSig(21), 0);
  HSI_ParamList* first = HSI_ParamListCreate(1, 1);
  HSI_ParamListAddInt(first, 0);
  EXPECT_EQ(readWord(605, nullptr, 36), readWord(608, first, 4));
  HSI_ParamListDestroy(first);

  HykuserVersion_SystemVersion version{};
  ASSERT_EQ(HykuserVersion_GetSystemVersion(&version), 0);
  EXPECT_EQ(version.version, std::to_string(version.buildNumber));
}

TEST(SimulatedHostThreads, ThirtyTwoQueryWhileTheFileIsReplaced) {
  constexpr unsigned kThreads = 32;
  constexpr unsigned kRounds = 20;
  const SimulatedHostFile file(hostNumbered(0));
  std::atomic<unsigned> running{kThreads};
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < kThreads; ++i) {
    threads.emplace_back([&running] {
      for (unsigned round = 0; round < kRounds; ++round) queryOnce();
      --running;
    });
  }
  // Renamed into place, so that no reader meets half a file.
  const std::string next = file.path() + ".next";
  for (unsigned number = 1; running != 0; ++number) {
    std::ofstream(next) << hostNumbered(number % 1000);
    std::filesystem::rename(next, file.path());
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
