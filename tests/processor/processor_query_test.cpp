#include "processor/processor_query.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/fake_system_info.h"

namespace OrvProcessor {
namespace {

using orv::test::FakeSystemInfo;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

using Bytes = FakeSystemInfo::Bytes;

/// A host whose packages have the given numbers of cores. The kernel's own numbers of packages
/// start at 40, of cores at 70, so that they differ from positions. No core runs.
class ProcessorQuery : public testing::Test {
 protected:
  void SetUp() override {
    host_.hostValues[1444] = Bytes(588);
    host_.hostValues[605] = Bytes(36);
    host_.hostValues[606] = Bytes(48);
    setPowerPolicy("dynamic");
    setModelName("Example CPU");
  }
  void TearDown() override { EXPECT_EQ(host_.liveLists, 0) << "a parameter list was not released"; }

  void addPackage(std::uint32_t coreCount) { addPackage(coreCount, coreCount); }
  void addPackage(std::uint32_t coreCount, unsigned listedCores) {
    const auto package = 40 + static_cast<std::int32_t>(host_.instances[608].size());
    host_.instances[608].push_back(package);
    host_.instanceValues[{608, package}] = FakeSystemInfo::bytesOf(coreCount);
    for (unsigned i = 0; i < listedCores; ++i) addCore();
  }
  void addCore() {
    const auto core = 70 + static_cast<std::int32_t>(host_.instances[607].size());
    host_.instances[607].push_back(core);
    host_.instanceValues[{607, core}] = Bytes(200);
    host_.instanceValues[{607, core}][3] = static_cast<std::uint8_t>(core);
    host_.instanceValues[{800, core}] = Bytes(160);
    host_.instanceValues[{801, core}] = Bytes(76);
  }
  void run(std::int32_t core) { host_.instanceValues[{800, core}][64] = 0x80; }

  void setPowerPolicy(std::string_view text) {
    std::copy(text.begin(), text.end(), host_.hostValues[1444].begin() + 8);
  }
  void setModelName(std::string_view text) {
    std::copy(text.begin(), text.end(), host_.hostValues[606].begin());
  }
  void setVendor(std::int32_t core, std::string_view registers) {
    std::copy(registers.begin(), registers.end(), host_.instanceValues[{607, core}].begin() + 48);
  }

  HSI_Status query() { return queryProcessors(records_); }

  FakeSystemInfo& host_ = FakeSystemInfo::reset();
  std::vector<ProcessorRecord> records_;
};

TEST_F(ProcessorQuery, AsksForTheInterfaceThatItIsBuiltFor) {
  EXPECT_EQ(query(), 0);
  EXPECT_THAT(host_.signatures, ElementsAre(21));
}

TEST_F(ProcessorQuery, FailsWithoutTheInterface) {
  host_.signatureOk = false;
  addPackage(1);
  EXPECT_NE(query(), 0);
  EXPECT_THAT(host_.queries, ElementsAre());
}

TEST_F(ProcessorQuery, HostWithoutPackagesSucceedsWithNoRecords) {
  records_.resize(3);
  EXPECT_EQ(query(), 0);
  EXPECT_TRUE(records_.empty());
  EXPECT_THAT(host_.queries, ElementsAre("get 1444", "get 605", "get 606", "list 608"));
}

TEST_F(ProcessorQuery, WalksTheNodesInOrder) {
  addPackage(2);
  addPackage(1);
  run(71);
  EXPECT_EQ(query(), 0);
  EXPECT_THAT(host_.queries,
              ElementsAre("get 1444", "get 605", "get 606", "list 608", "get 608[40]",
                          "get 608[41]", "list 607", "get 607[70]", "get 800[70]", "get 800[71]",
                          "get 801[71]", "get 607[72]", "get 800[72]"));
}

TEST_F(ProcessorQuery, NamesCountPositionsInTheKernelsList) {
  addPackage(4);
  addPackage(1);
  addPackage(2);
  ASSERT_EQ(query(), 0);
  ASSERT_EQ(records_.size(), 3U);
  EXPECT_EQ(records_[0].name, "cpu-0");
  EXPECT_EQ(records_[1].name, "cpu-1");
  EXPECT_EQ(records_[2].name, "cpu-2");
  EXPECT_EQ(records_[0].coreCount, 4U);
  EXPECT_EQ(records_[1].coreCount, 1U);
  EXPECT_EQ(records_[2].coreCount, 2U);
}

TEST_F(ProcessorQuery, HostFactsAreTheSameForEveryPackage) {
  addPackage(1);
  addPackage(1);
  host_.hostValues[605][0] = 2;
  ASSERT_EQ(query(), 0);
  for (const ProcessorRecord& record : records_) {
    EXPECT_EQ(record.modelName, "Example CPU");
    EXPECT_TRUE(record.hardwareThread);
    EXPECT_TRUE(record.powerControlSupported);
    EXPECT_TRUE(record.powerControlEnabled);
  }
}

TEST_F(ProcessorQuery, HyperThreadingIsTheWholeFirstWord) {
  addPackage(1);
  ASSERT_EQ(query(), 0);
  EXPECT_FALSE(records_[0].hardwareThread);
  host_.hostValues[605][4] = 1;
  ASSERT_EQ(query(), 0);
  EXPECT_FALSE(records_[0].hardwareThread);
  host_.hostValues[605][3] = 1;
  ASSERT_EQ(query(), 0);
  EXPECT_TRUE(records_[0].hardwareThread);
}

TEST_F(ProcessorQuery, PowerPolicyBeginsAtByteEight) {
  addPackage(1);
  host_.hostValues[1444] = Bytes(588);
  host_.hostValues[1444][0] = 'x';
  setPowerPolicy("OFF");
  ASSERT_EQ(query(), 0);
  EXPECT_FALSE(records_[0].powerControlSupported);
}

TEST_F(ProcessorQuery, ValuesWithoutNulAreReadToTheirEnd) {
  addPackage(1);
  host_.hostValues[606] = Bytes(48, 'm');
  host_.hostValues[1444] = Bytes(588, 'd');
  ASSERT_EQ(query(), 0);
  EXPECT_EQ(records_[0].modelName, std::string(48, 'm'));
  EXPECT_TRUE(records_[0].powerControlSupported);
  EXPECT_FALSE(records_[0].powerControlEnabled);
}

TEST_F(ProcessorQuery, EachPackageIsIdentifiedByItsFirstCore) {
  addPackage(2);
  addPackage(2);
  setVendor(70, "GenuntelineI");
  setVendor(71, "AuthcAMDenti");
  setVendor(73, "GenuntelineI");
  ASSERT_EQ(query(), 0);
  EXPECT_EQ(records_[0].stepping, "70");
  EXPECT_EQ(records_[0].vendor, kVendorGenuineIntel);
  EXPECT_EQ(records_[1].stepping, "72");
  EXPECT_EQ(records_[1].vendor, kVendorOther);
}

TEST_F(ProcessorQuery, PackageRunsWhenAnyOfItsCoresDoes) {
  addPackage(2);
  addPackage(2);
  addPackage(2);
  run(71);
  run(74);
  run(75);
  ASSERT_EQ(query(), 0);
  EXPECT_EQ(records_[0].status, kCpuEnabled);
  EXPECT_EQ(records_[1].status, kCpuIdle);
  EXPECT_EQ(records_[2].status, kCpuEnabled);
}

TEST_F(ProcessorQuery, DetailsAreReadForTheFirstRunningCoreOnly) {
  addPackage(3);
  run(71);
  run(72);
  ASSERT_EQ(query(), 0);
  EXPECT_THAT(host_.queries, Contains("get 801[71]"));
  EXPECT_THAT(host_.queries, Not(Contains("get 801[70]")));
  EXPECT_THAT(host_.queries, Not(Contains("get 801[72]")));
  EXPECT_THAT(host_.queries, Not(Contains("get 800[72]")));
}

TEST_F(ProcessorQuery, PackageWithoutCoresIsIdle) {
  addPackage(0);
  addPackage(1);
  run(70);
  ASSERT_EQ(query(), 0);
  EXPECT_EQ(records_[0].status, kCpuIdle);
  EXPECT_EQ(records_[0].stepping, "70") << "the entry at the running index all the same";
  EXPECT_EQ(records_[1].status, kCpuEnabled);
}

TEST_F(ProcessorQuery, IndexAdvancesByTheCoreCountNotByTheCoresListed) {
  addPackage(1, 2);
  addPackage(1, 1);
  run(71);
  ASSERT_EQ(query(), 0);
  EXPECT_EQ(records_[0].status, kCpuIdle);
  EXPECT_EQ(records_[1].stepping, "71");
  EXPECT_EQ(records_[1].status, kCpuEnabled);
}

TEST_F(ProcessorQuery, MoreCoresCountedThanListedFails) {
  addPackage(3, 2);
  EXPECT_NE(query(), 0);
  EXPECT_THAT(host_.queries, Contains("get 800[71]"));
}

TEST_F(ProcessorQuery, RunningCoreIsFoundBeforeTheListEnds) {
  addPackage(3, 2);
  run(71);
  EXPECT_EQ(query(), 0);
  EXPECT_EQ(records_.at(0).coreCount, 3U);
}

TEST_F(ProcessorQuery, NextPackagePastTheEndOfTheListFails) {
  addPackage(0xFFFFFFFF, 1);
  addPackage(0xFFFFFFFF, 1);
  run(70);
  run(71);
  EXPECT_NE(query(), 0);
}

TEST_F(ProcessorQuery, PackageWithoutCoresPastTheEndOfTheListFails) {
  addPackage(1);
  addPackage(0);
  EXPECT_NE(query(), 0);
}

TEST_F(ProcessorQuery, FailureOfEachHostNodeEndsTheQueryWithItsStatus) {
  addPackage(1);
  for (const std::uint32_t node : {1444U, 605U, 606U}) {
    host_.failingReads = {{node, 17}};
    host_.queries.clear();
    EXPECT_EQ(query(), 17) << node;
    EXPECT_EQ(host_.queries.back(), "get " + std::to_string(node));
  }
}

TEST_F(ProcessorQuery, FailureOfEachInstanceNodeEndsTheQueryWithItsStatus) {
  addPackage(1);
  run(70);
  for (const std::uint32_t node : {608U, 607U, 800U, 801U}) {
    host_.failingReads = {{node, 18}};
    EXPECT_EQ(query(), 18) << node;
    EXPECT_EQ(host_.liveLists, 0) << node;
  }
}

TEST_F(ProcessorQuery, FailureOfEachListEndsTheQueryWithItsStatus) {
  addPackage(1);
  for (const std::uint32_t node : {608U, 607U}) {
    host_.failingLists = {{node, 19}};
    EXPECT_EQ(query(), 19) << node;
    EXPECT_EQ(host_.queries.back(), "list " + std::to_string(node));
    EXPECT_EQ(host_.liveLists, 0) << node;
  }
}

TEST_F(ProcessorQuery, FailureOfALaterPackageFailsTheWholeQuery) {
  addPackage(1);
  addPackage(1);
  host_.failingInstances = {{607, 71}};
  EXPECT_EQ(query(), 9);
  EXPECT_TRUE(records_.empty());
}

TEST_F(ProcessorQuery, FailureLeavesTheCallersRecordsAlone) {
  addPackage(1);
  ASSERT_EQ(query(), 0);
  host_.failingReads = {{607, 18}};
  EXPECT_EQ(query(), 18);
  EXPECT_EQ(records_.size(), 1U);
}

TEST_F(ProcessorQuery, FailsWhenNoParameterListCanBeMade) {
  addPackage(1);
  for (int created = 0; created < 2; ++created) {
    host_.creationsBeforeFailure = created;
    EXPECT_NE(query(), 0) << created;
    EXPECT_EQ(host_.liveLists, 0) << created;
  }
}

}  // namespace
}  // namespace OrvProcessor
