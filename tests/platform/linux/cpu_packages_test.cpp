#include "platform/linux/cpu_packages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/cpu_topology.h"
#include "tests/platform/linux/sys_tree.h"

namespace LinuxHost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// `core` is the lowest CPU that shares its core.
CpuEntry online(unsigned number, std::int64_t package, unsigned core) {
  CpuEntry cpu;
  cpu.number = number;
  cpu.package = package;
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

CpuEntry onNode(CpuEntry cpu, unsigned node) {
  cpu.numaNode = node;
  return cpu;
}

AskThreads told(unsigned perCore, unsigned perPackage) {
  return [=](unsigned) { return ThreadCounts{perCore, perPackage}; };
}

ThreadCounts neverAsked(unsigned) {
  ADD_FAILURE() << "the processor was asked without need";
  return {};
}

/// The packages as texts, a core per letter: R runs, s is stopped.
std::vector<std::string> statesOf(const std::vector<CpuPackage>& packages) {
  std::vector<std::string> all;
  for (const CpuPackage& package : packages) {
    std::string& states = all.emplace_back();
    for (const CpuCore& core : package.cores) states += core.onlineThreads > 0 ? 'R' : 's';
  }
  return all;
}

TEST(CpuPackages, PutThreadsOfACoreTogether) {
  const auto packages =
      groupCpus({online(0, 0, 0), online(1, 0, 1), online(2, 0, 0), online(3, 0, 1)}, neverAsked);
  ASSERT_THAT(statesOf(packages), ElementsAre("RR"));
  EXPECT_EQ(packages[0].cores[0].firstCpu, 0U);
  EXPECT_EQ(packages[0].cores[0].informant, 0U);
  EXPECT_EQ(packages[0].cores[0].onlineThreads, 2U);
  EXPECT_EQ(packages[0].cores[1].informant, 1U);
}

TEST(CpuPackages, AscendInTheirNumbers) {
  const auto packages =
      groupCpus({online(0, 3, 0), online(1, 1, 1), online(2, 3, 2), online(3, 1, 3)}, neverAsked);
  ASSERT_THAT(packages, SizeIs(2));
  EXPECT_EQ(packages[0].id, 1);
  EXPECT_EQ(packages[0].cores[0].firstCpu, 1U);
  EXPECT_EQ(packages[1].id, 3);
  EXPECT_EQ(packages[1].cores[0].firstCpu, 0U);
}

TEST(CpuPackages, OfNoCpusAreNone) { EXPECT_THAT(groupCpus({}, neverAsked), IsEmpty()); }

TEST(CpuPackages, KeepAnOfflineCpuThatTellsItsPlaceThere) {
  CpuEntry located = online(1, 0, 1);
  located.online = false;
  EXPECT_THAT(statesOf(groupCpus({online(0, 0, 0), located}, neverAsked)), ElementsAre("Rs"));
}

TEST(StoppedCore, IsAskedAboutAtARunningOneOfItsPackage) {
  const auto packages =
      groupCpus({offline(0), online(1, 0, 1), online(2, 1, 2), online(3, 1, 3)}, told(1, 2));
  ASSERT_THAT(statesOf(packages), ElementsAre("sR", "RR")) << "in the order of CPU numbers";
  EXPECT_EQ(packages[0].cores[0].informant, 1U);
}

TEST(StoppedCore, OfAPackageThatDoesNotRunIsAskedAboutAtAnother) {
  CpuEntry stopped = online(0, 0, 0);
  stopped.online = false;
  const auto packages = groupCpus({stopped, online(1, 1, 1)}, neverAsked);
  ASSERT_THAT(statesOf(packages), ElementsAre("s", "R"));
  EXPECT_EQ(packages[0].cores[0].informant, 1U);
}

// A machine of two packages with two cores each, which have two threads each, as sysfs shows it
// with some CPUs offline. Every row has the same answer.

/// Package and core of each of the eight CPUs.
struct Numbering {
  const char* name;
  unsigned package[8];
  unsigned core[8];  // within the machine
};

constexpr Numbering kSecondThreadsLast = {
    "second threads last", {0, 0, 1, 1, 0, 0, 1, 1}, {0, 1, 2, 3, 0, 1, 2, 3}};
constexpr Numbering kThreadsSideBySide = {
    "threads side by side", {0, 0, 0, 0, 1, 1, 1, 1}, {0, 0, 1, 1, 2, 2, 3, 3}};

enum class Nodes { kNone, kOne, kOnePerPackage, kOnePerCore };

struct MachineRow {
  const char* what;
  Numbering numbering;
  std::set<unsigned> offline;
  std::vector<std::string> states;
};

std::ostream& operator<<(std::ostream& out, const MachineRow& row) {
  return out << row.what << ", " << row.numbering.name;
}

std::string list(const std::set<unsigned>& numbers) {
  std::string text;
  for (const unsigned number : numbers) text += (text.empty() ? "" : ",") + std::to_string(number);
  return text + "\n";
}

void describe(const MachineRow& row, Nodes nodes, SysTree& tree) {
  const std::string all = "devices/system/cpu/";
  std::set<unsigned> running;
  for (unsigned cpu = 0; cpu < 8; ++cpu) {
    if (row.offline.count(cpu) == 0) running.insert(cpu);
  }
  tree.file(all + "present", "0-7\n").file(all + "online", list(running));
  const Numbering& n = row.numbering;
  for (unsigned cpu = 0; cpu < 8; ++cpu) {
    const std::string directory = all + "cpu" + std::to_string(cpu) + "/";
    if (nodes == Nodes::kOne) tree.directory(directory + "node0");
    if (nodes == Nodes::kOnePerPackage) {
      tree.directory(directory + "node" + std::to_string(n.package[cpu]));
    }
    if (nodes == Nodes::kOnePerCore) {
      tree.directory(directory + "node" + std::to_string(n.core[cpu]));
    }
    if (running.count(cpu) == 0) continue;  // nothing else is told about an offline CPU
    std::set<unsigned> siblings;
    for (const unsigned other : running) {
      if (n.core[other] == n.core[cpu]) siblings.insert(other);
    }
    // Core numbers repeat in the packages and are the same for two cores of one.
    tree.file(directory + "topology/physical_package_id", std::to_string(n.package[cpu]) + "\n")
        .file(directory + "topology/core_id", "0\n")
        .file(directory + "topology/core_cpus_list", list(siblings));
  }
}

class TwoPackages : public testing::TestWithParam<MachineRow> {
 protected:
  std::vector<std::string> statesWith(Nodes nodes, const AskThreads& ask) {
    SysTree tree;
    describe(GetParam(), nodes, tree);
    return statesOf(groupCpus(readCpus(tree.root()), ask));
  }
};

TEST_P(TwoPackages, AreSeenInOneNode) {
  EXPECT_EQ(statesWith(Nodes::kOne, told(2, 4)), GetParam().states);
}

TEST_P(TwoPackages, AreSeenWithoutNodes) {
  EXPECT_EQ(statesWith(Nodes::kNone, told(2, 4)), GetParam().states);
}

TEST_P(TwoPackages, AreSeenAsANodeEach) {
  EXPECT_EQ(statesWith(Nodes::kOnePerPackage, told(2, 4)), GetParam().states);
}

TEST_P(TwoPackages, AreSeenWithANodePerCore) {
  EXPECT_EQ(statesWith(Nodes::kOnePerCore, told(2, 4)), GetParam().states);
}

TEST_P(TwoPackages, AreSeenAsANodeEachWhenTheProcessorTellsThreadsAlone) {
  EXPECT_EQ(statesWith(Nodes::kOnePerPackage, told(2, 0)), GetParam().states);
}

const std::vector<std::string> kAllRun = {"RR", "RR"};

INSTANTIATE_TEST_SUITE_P(
    Rows, TwoPackages,
    testing::Values(
        MachineRow{"all online", kSecondThreadsLast, {}, kAllRun},
        MachineRow{"all online", kThreadsSideBySide, {}, kAllRun},
        MachineRow{"a second thread of package 1", kSecondThreadsLast, {7}, kAllRun},
        MachineRow{"a first thread of package 1", kSecondThreadsLast, {2}, kAllRun},
        MachineRow{"a thread of package 1", kThreadsSideBySide, {5}, kAllRun},
        MachineRow{"last core of package 1", kSecondThreadsLast, {3, 7}, {"RR", "Rs"}},
        MachineRow{"first core of package 1", kSecondThreadsLast, {2, 6}, {"RR", "sR"}},
        MachineRow{"last core of package 1", kThreadsSideBySide, {6, 7}, {"RR", "Rs"}},
        MachineRow{"first core of package 1", kThreadsSideBySide, {4, 5}, {"RR", "sR"}},
        MachineRow{"last core of package 0", kSecondThreadsLast, {1, 5}, {"Rs", "RR"}},
        MachineRow{"last core of package 0", kThreadsSideBySide, {2, 3}, {"Rs", "RR"}},
        MachineRow{"SMT off", kSecondThreadsLast, {4, 5, 6, 7}, kAllRun},
        MachineRow{"SMT off", kThreadsSideBySide, {1, 3, 5, 7}, kAllRun},
        MachineRow{
            "SMT off, a core of package 1", kSecondThreadsLast, {3, 4, 5, 6, 7}, {"RR", "Rs"}},
        MachineRow{"a thread of package 0, a core of package 1",
                   kSecondThreadsLast,
                   {3, 4, 7},
                   {"RR", "Rs"}},
        MachineRow{
            "package 1, or added and never online", kSecondThreadsLast, {2, 3, 6, 7}, {"RR", "ss"}},
        MachineRow{
            "package 1, or added and never online", kThreadsSideBySide, {4, 5, 6, 7}, {"RR", "ss"}},
        MachineRow{"package 0", kSecondThreadsLast, {0, 1, 4, 5}, {"ss", "RR"}}));

TEST(OfflinePackage, IsLeftOutWhereNothingTellsOfIt) {
  const std::vector<CpuEntry> cpus = {onNode(online(0, 0, 0), 0), onNode(online(1, 0, 1), 0),
                                      offline(2, 0), offline(3, 0)};
  EXPECT_THAT(statesOf(groupCpus(cpus, told(0, 0))), ElementsAre("RR"))
      << "neither the processor nor the nodes tell";
  EXPECT_THAT(statesOf(groupCpus(cpus, told(1, 2))), ElementsAre("RR", "ss"));
}

TEST(OfflinePackage, HasTheSizeThatTheProcessorTells) {
  const auto packages = groupCpus({online(0, 0, 0), online(1, 0, 1), offline(2), offline(3),
                                   offline(4), offline(5), offline(6)},
                                  told(1, 2));
  EXPECT_THAT(statesOf(packages), ElementsAre("RR", "ss", "ss", "s"));
  EXPECT_EQ(packages[3].id, 3);
  EXPECT_EQ(packages[3].cores[0].informant, 0U);
}

TEST(OfflineNode, IsNoPackageWherePackagesSpanNodes) {
  // Package 0 is nodes 0 and 1, package 1 is nodes 2 and 3; node 1 is offline.
  const std::vector<CpuEntry> cpus = {onNode(online(0, 0, 0), 0), offline(1, 1),
                                      onNode(online(2, 1, 2), 2), onNode(online(3, 1, 3), 3)};
  EXPECT_THAT(statesOf(groupCpus(cpus, told(1, 2))), ElementsAre("Rs", "RR"));
  EXPECT_THAT(statesOf(groupCpus(cpus, told(0, 0))), ElementsAre("Rs", "RR"))
      << "the larger package shows that the smaller one has room";
}

TEST(OfflineCpu, GoesToThePackageOfItsNodeAndToNoOther) {
  const auto packages = groupCpus({onNode(online(0, 0, 0), 0), onNode(online(1, 1, 1), 1),
                                   offline(2, 0), onNode(online(3, 1, 3), 1)},
                                  told(1, 2));
  EXPECT_THAT(statesOf(packages), ElementsAre("Rs", "RR"));
}

TEST(OfflineCpu, GoesToTheNearestLowerPackageThatHasRoom) {
  const auto packages = groupCpus(
      {online(0, 0, 0), offline(1), online(2, 1, 2), offline(3), online(4, 2, 4), online(5, 2, 5)},
      told(1, 2));
  EXPECT_THAT(statesOf(packages), ElementsAre("Rs", "Rs", "RR"));
}

TEST(OfflineCpu, CompletesEachRunningCoreToItsOwnNumberOfThreads) {
  // CPU 0's core has two threads, CPU 1's has one: of the offline CPUs one is a thread, one a core.
  const AskThreads hybrid = [](unsigned cpu) { return ThreadCounts{cpu == 0 ? 2U : 1U, 4}; };
  EXPECT_THAT(
      statesOf(groupCpus({online(0, 0, 0), online(1, 0, 1), offline(2), offline(3)}, hybrid)),
      ElementsAre("RRs"));
}

TEST(OfflineCpu, IsAsMuchOfACoreAsRunningOnesShowWhereTheProcessorDoesNotTell) {
  const auto packages =
      groupCpus({online(0, 0, 0), online(1, 0, 0), online(2, 0, 2), online(3, 0, 2),
                 online(4, 1, 4), online(5, 1, 4), offline(6), offline(7)},
                told(0, 0));
  EXPECT_THAT(statesOf(packages), ElementsAre("RR", "Rs"));
}

}  // namespace
}  // namespace LinuxHost
