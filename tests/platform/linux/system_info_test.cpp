#include "platform/system_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/host_nodes.h"
#include "platform/linux/pinned_thread.h"
#include "platform/linux/sysfs.h"
#include "tests/platform/linux/kernel_information.h"
#include "tests/platform/linux/sys_tree.h"
#include "tests/platform/linux/tool_output.h"

namespace LinuxHost {
namespace {

TEST(Signature, IsTwentyOneAndNothingElse) {
  EXPECT_EQ(HSI_CheckSig(21), 0);
  for (const int signature : {0, 20, 22, -21, 2100}) EXPECT_NE(HSI_CheckSig(signature), 0);
}

TEST(NodeCalls, RefuseUnknownNodesAndWrongSizes) {
  ASSERT_EQ(HSI_CheckSig(21), 0);
  unsigned char value[600] = {7};
  EXPECT_NE(HSI_Get(1, nullptr, value, 4), 0);
  EXPECT_NE(HSI_Get(kHsiCpuModel, nullptr, value, sizeof(HsiIpv6Address)), 0);
  EXPECT_NE(HSI_Get(kHsiCpuModel, nullptr, value, 0), 0);
  EXPECT_NE(HSI_Get(kHsiCpuModel, nullptr, nullptr, 48), 0);
  EXPECT_EQ(value[0], 7) << "a failed call changes nothing";
  EXPECT_NE(HSI_Get(kHsiNetInterfaces, nullptr, value, 0), 0) << "a list has no value";
}

TEST(NodeCalls, RefuseParametersOfNodesWithoutInstances) {
  ASSERT_EQ(HSI_CheckSig(21), 0);
  EXPECT_FALSE(nodeValue<36>(kHsiTopology, parameterList(0)).has_value());
  EXPECT_FALSE(nodeNames(kHsiNetInterfaces, parameterList({"eth0"})).has_value());
}

TEST(NodeCalls, RefuseListsOfNodesThatHaveNone) {
  ASSERT_EQ(HSI_CheckSig(21), 0);
  HSI_ParamList* list = nullptr;
  EXPECT_NE(HSI_GetInstanceListAlloc(kHsiCpuModel, nullptr, &list), 0);
  EXPECT_NE(HSI_GetInstanceListAlloc(12345, nullptr, &list), 0);
  EXPECT_NE(HSI_GetInstanceListAlloc(kHsiPackage, nullptr, nullptr), 0);
  EXPECT_EQ(list, nullptr);
}

TEST(NodeCalls, RefuseParametersOfTheWrongNumberOrKind) {
  ASSERT_EQ(HSI_CheckSig(21), 0);
  EXPECT_FALSE(nodeValue<4>(kHsiPackage).has_value());
  EXPECT_FALSE(nodeValue<4>(kHsiPackage, parameterList({"0"})).has_value());
  EXPECT_FALSE(nodeValue<4>(kHsiPackage, parameterList(-1)).has_value());
  EXPECT_FALSE(nodeValue<4>(kHsiPackage, parameterList(1000000)).has_value());
  EXPECT_FALSE(nodeValue<200>(kHsiCore, parameterList(1000000)).has_value());
  EXPECT_FALSE(nodeValue<160>(kHsiCoreState, parameterList(1000000)).has_value());
  EXPECT_FALSE(nodeValue<76>(kHsiCoreDetail, parameterList(1000000)).has_value());
  EXPECT_FALSE(nodeValue<4>(kHsiInterfaceIpv4).has_value());
  EXPECT_FALSE(nodeValue<4>(kHsiInterfaceIpv4, parameterList(0)).has_value());
  EXPECT_FALSE(nodeValue<4>(kHsiInterfaceIpv4, parameterList({"nosuch"})).has_value());
  EXPECT_FALSE(nodeNames(kHsiInterfaceIpv6List, parameterList({"nosuch"})).has_value());
  EXPECT_FALSE(
      nodeValue<sizeof(HsiIpv6Address)>(kHsiInterfaceIpv6, parameterList({"nosuch"})).has_value());
}

// The nodes on a made-up host of two packages, in which CPU 2 is offline.
class NodesOfAMadeUpHost : public testing::Test {
 protected:
  NodesOfAMadeUpHost() {
    const std::string cpu = "devices/system/cpu/";
    tree.file(cpu + "present", "0-2\n").file(cpu + "online", "0-1\n");
    tree.file(cpu + "cpu0/topology/physical_package_id", "1\n");
    tree.file(cpu + "cpu1/topology/physical_package_id", "0\n");
    tree.file(cpu + "smt/active", "1\n");
    tree.file(cpu + "cpufreq/policy0/scaling_governor", "schedutil\n");
  }

  template <typename Value>
  std::optional<Value> read(std::uint32_t number, const HSI_ParamList& parameters = {}) {
    Value value{};
    if (readNode(view, number, &parameters, &value, sizeof value) != 0) return {};
    return value;
  }
  static HSI_ParamList instance(std::int32_t number) { return {{{false, number, {}}}, 0}; }
  std::size_t listed(std::uint32_t number) {
    HSI_ParamList* list = nullptr;
    EXPECT_EQ(listNode(view, number, nullptr, &list), 0);
    const ListPtr owner(list);
    return HSI_ParamListUsedCount(list);
  }

  SysTree tree;
  HostView view{tree.root(), [](unsigned) { return ThreadCounts{1, 2}; }};
};

TEST_F(NodesOfAMadeUpHost, CountPackagesAndTheirCores) {
  EXPECT_EQ(listed(kHsiPackage), 2U);
  EXPECT_EQ(listed(kHsiCore), 3U);
  EXPECT_EQ(read<HsiCoreCount>(kHsiPackage, instance(0)), 2U);
  EXPECT_EQ(read<HsiCoreCount>(kHsiPackage, instance(1)), 1U);
}

TEST_F(NodesOfAMadeUpHost, TellWhichCoresRun) {
  EXPECT_EQ(read<HsiCoreState>(kHsiCoreState, instance(0))->running, 1);
  EXPECT_EQ(read<HsiCoreState>(kHsiCoreState, instance(1))->running, 0)
      << "CPU 2, in CPU 1's package";
  EXPECT_EQ(read<HsiCoreState>(kHsiCoreState, instance(2))->running, 1);
  EXPECT_TRUE(read<HsiCoreDetail>(kHsiCoreDetail, instance(1)).has_value());
}

TEST_F(NodesOfAMadeUpHost, TellThreadsAndPowerPolicy) {
  EXPECT_EQ(read<HsiTopology>(kHsiTopology)->hyperThreading, 1U);
  const auto power = read<HsiPowerManagement>(kHsiPowerManagement);
  ASSERT_TRUE(power.has_value());
  EXPECT_STREQ(power->policy, "dynamic");
}

TEST_F(NodesOfAMadeUpHost, SeeThreadsInTheCoresWhereTheKernelSaysNothing) {
  tree.remove("devices/system/cpu/smt");
  EXPECT_EQ(read<HsiTopology>(kHsiTopology)->hyperThreading, 0U);
  tree.file("devices/system/cpu/cpu1/topology/physical_package_id", "1\n")
      .file("devices/system/cpu/cpu1/topology/core_cpus_list", "0-1\n");
  view = HostView(tree.root(), [](unsigned) { return ThreadCounts{2, 4}; });
  EXPECT_EQ(read<HsiTopology>(kHsiTopology)->hyperThreading, 1U);
}

// Where CPUID tells of threads that the kernel takes for cores, the kernel's word counts for
// offline CPUs as it does for the others.
TEST_F(NodesOfAMadeUpHost, HaveCoresOfOneThreadWhereTheKernelSaysSo) {
  tree.file("devices/system/cpu/smt/control", "on\n");
  view = HostView(tree.root(), [](unsigned) { return ThreadCounts{2, 2}; });
  EXPECT_EQ(listed(kHsiCore), 2U);
  tree.file("devices/system/cpu/smt/control", "notsupported\n");
  view = HostView(tree.root(), [](unsigned) { return ThreadCounts{2, 2}; });
  EXPECT_EQ(listed(kHsiCore), 3U);
}

TEST_F(NodesOfAMadeUpHost, ReadTheHostOnce) {
  EXPECT_EQ(listed(kHsiCore), 3U);
  tree.remove("devices/system/cpu");
  EXPECT_EQ(listed(kHsiCore), 3U);
  EXPECT_EQ(listed(kHsiPackage), 2U);
}

// The processor nodes on this machine.

std::optional<unsigned long> lscpuNumber(const std::string& text, const std::string& label) {
  const auto value = labelled(text, label);
  if (!value || value->empty() || value->find_first_not_of("0123456789") != std::string::npos) {
    return {};
  }
  return std::stoul(*value);
}

TEST(ProcessorNodes, AgreeWithLscpu) {
  const auto lscpu = toolOutput("lscpu");
  if (!lscpu) GTEST_SKIP() << "no lscpu command";
  ASSERT_EQ(HSI_CheckSig(21), 0);
  const auto packages = nodeNumbers(kHsiPackage);
  const auto cores = nodeNumbers(kHsiCore);
  ASSERT_TRUE(packages.has_value() && cores.has_value());
  if (const auto sockets = lscpuNumber(*lscpu, "Socket(s)")) {
    EXPECT_EQ(packages->size(), *sockets);
  }

  std::size_t coreCount = 0;
  for (const std::int32_t package : *packages) {
    const auto count = nodeValue<4>(kHsiPackage, parameterList(package));
    ASSERT_TRUE(count.has_value());
    coreCount += count->at(0) + 256U * count->at(1);
  }
  EXPECT_EQ(coreCount, cores->size());
  const auto perSocket = lscpuNumber(*lscpu, "Core(s) per socket");
  if (perSocket && !labelled(*lscpu, "Off-line CPU(s) list")) {
    EXPECT_EQ(coreCount, *perSocket * packages->size());
  }

  const auto topology = nodeValue<36>(kHsiTopology);
  ASSERT_TRUE(topology.has_value());
  if (const auto threads = lscpuNumber(*lscpu, "Thread(s) per core")) {
    EXPECT_EQ(topology->at(0) != 0, *threads > 1);
  }
}

TEST(ProcessorNodes, IdentifyEachCoreAsLscpuDoes) {
  const auto lscpu = toolOutput("lscpu");
  if (!lscpu) GTEST_SKIP() << "no lscpu command";
  ASSERT_EQ(HSI_CheckSig(21), 0);
  const auto model = nodeValue<48>(kHsiCpuModel);
  ASSERT_TRUE(model.has_value());
  const std::string brand(reinterpret_cast<const char*>(model->data()),
                          strnlen(reinterpret_cast<const char*>(model->data()), model->size()));
  if (const auto name = labelled(*lscpu, "Model name")) {
    EXPECT_EQ(brand, *name);
  }
  for (const std::int32_t core : nodeNumbers(kHsiCore).value_or(std::vector<std::int32_t>())) {
    const auto data = nodeValue<200>(kHsiCore, parameterList(core));
    ASSERT_TRUE(data.has_value()) << core;
    if (const auto stepping = lscpuNumber(*lscpu, "Stepping")) {
      EXPECT_EQ(data->at(3), *stepping);
    }
    if (const auto family = lscpuNumber(*lscpu, "CPU family")) {
      EXPECT_EQ(data->at(0), *family);
    }
    const auto vendor = labelled(*lscpu, "Vendor ID");
    const std::string words(reinterpret_cast<const char*>(data->data()) + 48, 12);
    // The registers' order here is EBX, ECX, EDX; the text's is EBX, EDX, ECX.
    const std::string text = words.substr(0, 4) + words.substr(8, 4) + words.substr(4, 4);
    if (vendor) {
      EXPECT_EQ(text, *vendor);
    }
    const bool longMode = (data->at(107) & 0x20) != 0;
    if (const auto modes = labelled(*lscpu, "CPU op-mode(s)")) {
      EXPECT_EQ(longMode, modes->find("64-bit") != std::string::npos);
    }
  }
}

TEST(ProcessorNodes, ShowTheOnlineCpusRunning) {
  ASSERT_EQ(HSI_CheckSig(21), 0);
  std::size_t running = 0;
  for (const std::int32_t core : nodeNumbers(kHsiCore).value_or(std::vector<std::int32_t>())) {
    const auto state = nodeValue<160>(kHsiCoreState, parameterList(core));
    ASSERT_TRUE(state.has_value());
    running += state->at(64) != 0 ? 1 : 0;
    EXPECT_TRUE(nodeValue<76>(kHsiCoreDetail, parameterList(core)).has_value());
  }
  const auto siblings = toolOutput(
      "cat /sys/devices/system/cpu/cpu*/topology/thread_siblings_list | sort -u | wc -l");
  if (!siblings) GTEST_SKIP() << "no sysfs topology";
  EXPECT_EQ(running, std::stoul(*siblings));
}

TEST(ProcessorNodes, TellTheGovernorsPolicy) {
  ASSERT_EQ(HSI_CheckSig(21), 0);
  const auto power = nodeValue<588>(kHsiPowerManagement);
  ASSERT_TRUE(power.has_value());
  const std::string policy = reinterpret_cast<const char*>(power->data()) + 8;
  const auto governor = readText("/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor");
  if (!governor) {
    EXPECT_EQ(policy, "off");
  } else {
    EXPECT_THAT(policy, testing::AnyOf("dynamic", "static"));
  }
}

TEST(ProcessorNodes, AnswerAThreadThatMayNotMove) {
  // A thread on one CPU still gets an answer about every core, and stays there.
  std::thread([] {
    const PinnedThread pinned(0);
    const int cpu = sched_getcpu();
    ASSERT_EQ(HSI_CheckSig(21), 0);
    for (const std::int32_t core : nodeNumbers(kHsiCore).value_or(std::vector<std::int32_t>())) {
      EXPECT_TRUE(nodeValue<200>(kHsiCore, parameterList(core)).has_value());
    }
    cpu_set_t allowed;
    ASSERT_EQ(sched_getaffinity(0, sizeof allowed, &allowed), 0);
    if (CPU_COUNT(&allowed) == 1) {
      EXPECT_EQ(sched_getcpu(), cpu);
    }
  }).join();
}

TEST(ProcessorNodes, AnswerManyThreadsAtOnce) {
  std::vector<std::thread> threads;
  std::vector<int> failures(8, 0);
  for (int& failed : failures) {
    threads.emplace_back([&failed] {
      for (int round = 0; round < 20; ++round) {
        failed += HSI_CheckSig(21) == 0 ? 0 : 1;
        failed += nodeNumbers(kHsiCore).has_value() ? 0 : 1;
        failed += nodeValue<200>(kHsiCore, parameterList(0)).has_value() ? 0 : 1;
        failed += nodeNames(kHsiNetInterfaces).has_value() ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::accumulate(failures.begin(), failures.end(), 0), 0);
}

}  // namespace
}  // namespace LinuxHost
