#include "platform/linux/cpu_topology.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {
namespace {

using testing::Optional;
using testing::SizeIs;

TEST(PresentCpus, AreReadWithTheirTopology) {
  SysTree tree;
  tree.file("devices/system/cpu/present", "0-1,4\n")
      .file("devices/system/cpu/online", "0,4\n")
      .file("devices/system/cpu/cpu0/topology/physical_package_id", "1\n")
      .file("devices/system/cpu/cpu0/topology/core_cpus_list", "0,4\n")
      .directory("devices/system/cpu/cpu0/node1")
      .directory("devices/system/cpu/cpu1/node0")
      .file("devices/system/cpu/cpu4/topology/core_cpus_list", "0,4\n");
  const auto cpus = readCpus(tree.root());
  ASSERT_THAT(cpus, SizeIs(3));
  EXPECT_TRUE(cpus[0].online);
  EXPECT_THAT(cpus[0].package, Optional(1));
  EXPECT_EQ(cpus[0].core, 0U);
  EXPECT_THAT(cpus[0].numaNode, Optional(1U));
  EXPECT_EQ(cpus[1].number, 1U);
  EXPECT_FALSE(cpus[1].online);
  EXPECT_EQ(cpus[1].package, std::nullopt);
  EXPECT_THAT(cpus[1].numaNode, Optional(0U));
  EXPECT_TRUE(cpus[2].online);
  EXPECT_THAT(cpus[2].package, Optional(0)) << "online without a package";
  EXPECT_EQ(cpus[2].core, 0U) << "of CPU 0's core";
  EXPECT_EQ(cpus[2].numaNode, std::nullopt);
}

TEST(PresentCpus, AreToldApartByTheirSiblingsBelowOlderKernels) {
  SysTree tree;
  tree.file("devices/system/cpu/present", "0-2\n")
      .file("devices/system/cpu/cpu1/topology/thread_siblings_list", "1-2\n")
      .file("devices/system/cpu/cpu2/topology/thread_siblings_list", "1-2\n");
  const auto cpus = readCpus(tree.root());
  ASSERT_THAT(cpus, SizeIs(3));
  EXPECT_EQ(cpus[0].core, 0U) << "a core of its own";
  EXPECT_EQ(cpus[1].core, 1U);
  EXPECT_EQ(cpus[2].core, 1U);
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

TEST(Smt, IsWhatTheKernelSays) {
  SysTree tree;
  EXPECT_EQ(readSmtActive(tree.root()), std::nullopt);
  tree.file("devices/system/cpu/smt/active", "1\n");
  EXPECT_THAT(readSmtActive(tree.root()), Optional(true));
  tree.file("devices/system/cpu/smt/active", "0\n");
  EXPECT_THAT(readSmtActive(tree.root()), Optional(false));
}

TEST(Smt, IsImpossibleWhereTheKernelSaysSo) {
  SysTree tree;
  EXPECT_TRUE(readSmtPossible(tree.root()));
  for (const char* control : {"on", "off", "forceoff", "notimplemented"}) {
    tree.file("devices/system/cpu/smt/control", std::string(control) + "\n");
    EXPECT_TRUE(readSmtPossible(tree.root())) << control;
  }
  tree.file("devices/system/cpu/smt/control", "notsupported\n");
  EXPECT_FALSE(readSmtPossible(tree.root()));
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
