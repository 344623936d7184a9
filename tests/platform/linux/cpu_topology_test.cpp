#include "platform/linux/cpu_topology.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

CpuEntry online(unsigned number, std::int64_t package, std::int64_t core, std::int64_t die = 0) {
  CpuEntry cpu;
  cpu.number = number;
  cpu.package = package;
  cpu.die = die;
  cpu.core = core;
  return cpu;
}

CpuEntry offline(unsigned number, std::optional<unsigned> node = {}) {
  CpuEntry cpu;
  cpu.number = number;
  cpu.online = false;
  cpu.core = number;
  cpu.numaNode = node;
  return cpu;
}

ThreadsPerCore everyCoreHas(unsigned threads) {
  return [threads](unsigned) { return threads; };
}

unsigned neverAsked(unsigned) {
  ADD_FAILURE() << "CPUID was asked without need";
  return 1;
}

/// The package as text, a core per letter: R runs, s is stopped.
std::string statesOf(const CpuPackage& package) {
  std::string states;
  for (const CpuCore& core : package.cores) states += core.onlineThreads > 0 ? 'R' : 's';
  return states;
}

TEST(CpuGroups, PutThreadsOfACoreTogether) {
  const auto packages =
      groupCpus({online(0, 0, 0), online(1, 0, 1), online(2, 0, 0), online(3, 0, 1)}, neverAsked);
  ASSERT_THAT(packages, SizeIs(1));
  EXPECT_EQ(statesOf(packages[0]), "RR");
  EXPECT_EQ(packages[0].cores[0].firstCpu, 0U);
  EXPECT_EQ(packages[0].cores[0].informant, 0U);
  EXPECT_EQ(packages[0].cores[0].onlineThreads, 2U);
  EXPECT_EQ(packages[0].cores[1].informant, 1U);
}

TEST(CpuGroups, AscendInPackageNumbers) {
  const auto packages =
      groupCpus({online(0, 3, 0), online(1, 1, 0), online(2, 3, 1), online(3, 1, 1)}, neverAsked);
  ASSERT_THAT(packages, SizeIs(2));
  EXPECT_EQ(packages[0].id, 1);
  EXPECT_EQ(packages[0].cores[0].firstCpu, 1U);
  EXPECT_EQ(packages[1].id, 3);
  EXPECT_EQ(packages[1].cores[0].firstCpu, 0U);
}

TEST(CpuGroups, TellCoresOfOneNumberOnTwoDiesApart) {
  const auto packages = groupCpus({online(0, 0, 0, 0), online(1, 0, 0, 1)}, neverAsked);
  ASSERT_THAT(packages, SizeIs(1));
  EXPECT_EQ(statesOf(packages[0]), "RR");
}

TEST(CpuGroups, HaveAStoppedCoreForAnOfflineCpu) {
  const auto packages = groupCpus({online(0, 0, 0), offline(1)}, everyCoreHas(1));
  ASSERT_THAT(packages, SizeIs(1));
  EXPECT_EQ(statesOf(packages[0]), "Rs");
  EXPECT_EQ(packages[0].cores[1].informant, 0U) << "the running core answers for it";
}

TEST(CpuGroups, PutAnOfflineCpuToThePackageOfItsNode) {
  CpuEntry first = online(0, 0, 0);
  first.numaNode = 0;
  CpuEntry second = online(1, 1, 0);
  second.numaNode = 1;
  const auto packages = groupCpus({first, second, offline(2, 0)}, everyCoreHas(1));
  ASSERT_THAT(packages, SizeIs(2));
  EXPECT_EQ(statesOf(packages[0]), "Rs");
  EXPECT_EQ(statesOf(packages[1]), "R");
}

TEST(CpuGroups, PutAnOfflineCpuOfNoKnownNodeToItsLowerNeighboursPackage) {
  const auto packages = groupCpus(
      {offline(0), online(1, 0, 0), offline(2), online(3, 1, 0), offline(4)}, everyCoreHas(1));
  ASSERT_THAT(packages, SizeIs(2));
  EXPECT_EQ(statesOf(packages[0]), "sRs") << "in the order of CPU numbers";
  EXPECT_EQ(statesOf(packages[1]), "Rs");
  EXPECT_EQ(packages[0].cores[0].informant, 1U);
}

TEST(CpuGroups, DoNotTakeTheSecondThreadsOfRunningCoresForCores) {
  // SMT is switched off: CPUs 2 and 3 are the second threads of the two cores.
  const auto packages =
      groupCpus({online(0, 0, 0), online(1, 0, 1), offline(2), offline(3)}, everyCoreHas(2));
  ASSERT_THAT(packages, SizeIs(1));
  EXPECT_EQ(statesOf(packages[0]), "RR");
}

TEST(CpuGroups, CountAStoppedCoreOfTwoThreadsOnce) {
  // Of three cores with two threads each, the second (CPUs 1 and 4) is offline.
  const auto packages = groupCpus(
      {online(0, 0, 0), offline(1), online(2, 0, 2), online(3, 0, 0), offline(4), online(5, 0, 2)},
      everyCoreHas(2));
  ASSERT_THAT(packages, SizeIs(1));
  EXPECT_EQ(statesOf(packages[0]), "RsR");
}

TEST(CpuGroups, CompleteEachRunningCoreToItsOwnNumberOfThreads) {
  // CPU 0's core has two threads, CPU 1's has one: of the offline CPUs one is a thread, one a core.
  const auto packages = groupCpus({online(0, 0, 0), online(1, 0, 1), offline(2), offline(3)},
                                  [](unsigned cpu) { return cpu == 0 ? 2U : 1U; });
  ASSERT_THAT(packages, SizeIs(1));
  EXPECT_EQ(statesOf(packages[0]), "RRs");
}

TEST(CpuGroups, WhoseCpusDoNotTellTheirThreadsTakeThemFromThoseThatRun) {
  const auto packages =
      groupCpus({online(0, 0, 0), online(1, 0, 0), offline(2), offline(3)}, everyCoreHas(0));
  ASSERT_THAT(packages, SizeIs(1));
  EXPECT_EQ(statesOf(packages[0]), "Rs");
}

TEST(CpuGroups, KeepAnOfflineCpuThatTellsItsPlaceThere) {
  CpuEntry located = online(1, 0, 1);
  located.online = false;
  const auto packages = groupCpus({online(0, 0, 0), located}, neverAsked);
  ASSERT_THAT(packages, SizeIs(1));
  EXPECT_EQ(statesOf(packages[0]), "Rs");
}

TEST(CpuGroups, OfAPackageThatDoesNotRunAskAnotherOne) {
  CpuEntry stopped = online(0, 0, 0);
  stopped.online = false;
  const auto packages = groupCpus({stopped, online(1, 1, 0)}, neverAsked);
  ASSERT_THAT(packages, SizeIs(2));
  EXPECT_EQ(statesOf(packages[0]), "s");
  EXPECT_EQ(packages[0].cores[0].informant, 1U);
}

TEST(CpuGroups, OfNoCpusAreNone) { EXPECT_THAT(groupCpus({}, neverAsked), IsEmpty()); }

TEST(PresentCpus, AreReadWithTheirTopology) {
  SysTree tree;
  tree.file("devices/system/cpu/present", "0-1,4\n")
      .file("devices/system/cpu/online", "0,4\n")
      .file("devices/system/cpu/cpu0/topology/physical_package_id", "1\n")
      .file("devices/system/cpu/cpu0/topology/die_id", "2\n")
      .file("devices/system/cpu/cpu0/topology/core_id", "3\n")
      .directory("devices/system/cpu/cpu0/node1")
      .directory("devices/system/cpu/cpu1/node0")
      .directory("devices/system/cpu/cpu4");
  const auto cpus = readCpus(tree.root());
  ASSERT_THAT(cpus, SizeIs(3));
  EXPECT_TRUE(cpus[0].online);
  EXPECT_THAT(cpus[0].package, Optional(1));
  EXPECT_EQ(cpus[0].die, 2);
  EXPECT_EQ(cpus[0].core, 3);
  EXPECT_THAT(cpus[0].numaNode, Optional(1U));
  EXPECT_EQ(cpus[1].number, 1U);
  EXPECT_FALSE(cpus[1].online);
  EXPECT_EQ(cpus[1].package, std::nullopt);
  EXPECT_THAT(cpus[1].numaNode, Optional(0U));
  EXPECT_TRUE(cpus[2].online);
  EXPECT_THAT(cpus[2].package, Optional(0)) << "online without topology";
  EXPECT_EQ(cpus[2].core, 4);
  EXPECT_EQ(cpus[2].numaNode, std::nullopt);
}

TEST(PresentCpus, AreAllOnlineWhereTheKernelListsNoOnlineOnes) {
  SysTree tree;
  tree.file("devices/system/cpu/present", "0-1\n");
  const auto cpus = readCpus(tree.root());
  ASSERT_THAT(cpus, SizeIs(2));
  EXPECT_TRUE(cpus[1].online);
}

TEST(PresentCpus, CannotBeReadWithoutTheirList) {
  const SysTree tree;
  EXPECT_THROW(readCpus(tree.root()), std::runtime_error);
}

TEST(Smt, IsActiveWhenTheKernelSaysSo) {
  SysTree tree;
  tree.file("devices/system/cpu/smt/active", "1\n");
  EXPECT_TRUE(readSmtActive(tree.root(), {}));
  tree.file("devices/system/cpu/smt/active", "0\n");
  EXPECT_FALSE(readSmtActive(tree.root(), {{0, {{0, 2, 0}}}}));
}

TEST(Smt, IsSeenInTheCoresWhereTheKernelSaysNothing) {
  const SysTree tree;
  EXPECT_FALSE(readSmtActive(tree.root(), {{0, {{0, 1, 0}, {1, 1, 1}}}}));
  EXPECT_TRUE(readSmtActive(tree.root(), {{0, {{0, 1, 0}}}, {1, {{1, 2, 1}}}}));
}

TEST(PowerPolicy, IsOffWithoutFrequencyScaling) {
  SysTree tree;
  EXPECT_EQ(readPowerPolicy(tree.root()), "off");
  tree.directory("devices/system/cpu/cpufreq");
  EXPECT_EQ(readPowerPolicy(tree.root()), "off");
}

struct GovernorRow {
  const char* governor;
  const char* driver;
  const char* policy;
};

class Governor : public testing::TestWithParam<GovernorRow> {};

TEST_P(Governor, GivesThePolicy) {
  SysTree tree;
  const std::string policy = "devices/system/cpu/cpufreq/policy0/";
  tree.file(policy + "scaling_governor", std::string(GetParam().governor) + "\n")
      .file(policy + "scaling_driver", std::string(GetParam().driver) + "\n");
  EXPECT_EQ(readPowerPolicy(tree.root()), GetParam().policy)
      << GetParam().governor << " of " << GetParam().driver;
}

INSTANTIATE_TEST_SUITE_P(Table, Governor,
                         testing::Values(GovernorRow{"ondemand", "acpi-cpufreq", "dynamic"},
                                         GovernorRow{"conservative", "acpi-cpufreq", "dynamic"},
                                         GovernorRow{"schedutil", "intel_cpufreq", "dynamic"},
                                         GovernorRow{"powersave", "intel_pstate", "dynamic"},
                                         GovernorRow{"powersave", "amd-pstate-epp", "dynamic"},
                                         GovernorRow{"powersave", "acpi-cpufreq", "static"},
                                         GovernorRow{"performance", "intel_pstate", "static"},
                                         GovernorRow{"performance", "acpi-cpufreq", "static"},
                                         GovernorRow{"userspace", "acpi-cpufreq", "static"}));

TEST(PowerPolicy, IsDynamicWhenOneCpusGovernorIs) {
  SysTree tree;
  tree.file("devices/system/cpu/cpufreq/policy0/scaling_governor", "performance\n")
      .file("devices/system/cpu/cpufreq/policy4/scaling_governor", "schedutil\n");
  EXPECT_EQ(readPowerPolicy(tree.root()), "dynamic");
}

}  // namespace
}  // namespace LinuxHost
