#include "health/health_monitor.h"

#include <syslog.h>

#include <algorithm>

#include "tests/health/health_fixture.h"
#include "tests/support/syslog_capture.h"

namespace orv::test {

namespace {

using broker::ContextTable;
using broker::Fault;
using broker::TestBroker;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HealthCycle : public HealthTest {
 protected:
  using HealthTest::HealthTest;

  std::vector<std::string> latchedClasses() const {
    std::vector<std::string> names;
    for (const auto& record : store_.healthList()) names.emplace_back(record->className);
    return names;
  }
  const OrvLatchedHealth::HealthInfo& record(std::size_t index) const {
    return *store_.healthList().at(index);
  }
};

TEST_F(HealthCycle, AsksForTheTwelveClassesInOrderWithoutAPropertyList) {
  poll();
  std::vector<ScriptedCall> expected;
  for (const std::string& name : monitoredClasses()) {
    expected.push_back({"root/cimv2", name, false});
  }
  EXPECT_EQ(scriptedHardware().calls(), expected);
  EXPECT_THAT(syslogLines(), IsEmpty());
}

TEST_F(HealthCycle, NewRecordsAndEventIdsComeInTheOrderOfTheClasses) {
  std::vector<std::string> reversed = monitoredClasses();
  std::reverse(reversed.begin(), reversed.end());
  for (const std::string& name : reversed) {
    ScriptedElement element = device(name, "x", 10);
    if (name == "CIM_PhysicalMemory") element.keys = {{"Tag", "x"}, {"CreationClassName", name}};
    if (name == "Orvane_StoragePool") element.keys = {{"InstanceID", "x"}};
    scriptedHardware().set(name, {element});
  }
  EXPECT_EQ(poll(), 10);
  EXPECT_EQ(latchedClasses(), monitoredClasses());
  for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(record(i).eventId, i);
}

TEST_F(HealthCycle, LatchesTheElementsPathAtTheTimeOfTheClock) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "fan", 20)});
  poll(1'234'567'890);
  ASSERT_EQ(store_.healthList().size(), 1u);
  EXPECT_EQ(record(0).timestamp, 1'234'567'890u);
  EXPECT_STREQ(record(0).nameSpace, "root/cimv2");
  EXPECT_STREQ(record(0).hostName, "NULL");
  ASSERT_EQ(record(0).keyCount, 4u);
  EXPECT_EQ(*elementPath(record(0)),
            makePath("CIM_Sensor", {{"SystemCreationClassName", "OMC_UnitaryComputerSystem"},
                                    {"SystemName", "host"},
                                    {"CreationClassName", "CIM_Sensor"},
                                    {"DeviceID", "fan"}}));
}

TEST_F(HealthCycle, TenTenFiveFifteenIsOneRecordOfTwoEvents) {
  const std::uint16_t states[] = {10, 10, 5, 15};
  std::vector<std::uint32_t> events;
  std::time_t now = 1000;
  for (const std::uint16_t state : states) {
    scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "fan", state)});
    poll(now);
    now += 120;
    ASSERT_EQ(store_.healthList().size(), 1u);
    events.push_back(record(0).eventId);
  }
  EXPECT_THAT(events, ElementsAre(0, 0, 0, 1));
  EXPECT_EQ(record(0).healthState, 15);
  EXPECT_EQ(record(0).timestamp, 1360u);
}

TEST_F(HealthCycle, TwentyThenTenKeepsTwentyAndItsEvent) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "fan", 20)});
  poll();
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "fan", 10)});
  EXPECT_EQ(poll(), 10);
  EXPECT_EQ(record(0).healthState, 20);
  EXPECT_EQ(record(0).eventId, 0u);
}

TEST_F(HealthCycle, AllOkLatchesNothingAndRollsUpToFive) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "fan", 5)});
  EXPECT_EQ(poll(), 5);
  EXPECT_THAT(store_.healthList(), IsEmpty());
}

TEST_F(HealthCycle, NoInstanceRollsUpToZero) { EXPECT_EQ(poll(), 0); }

TEST_F(HealthCycle, InstancesWithoutAStateAreSkipped) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "fan", std::nullopt)});
  EXPECT_EQ(poll(), 0);
  EXPECT_THAT(store_.healthList(), IsEmpty());
  EXPECT_THAT(syslogLines(), IsEmpty());
}

TEST_F(HealthCycle, RollUpIsTheGreatestStateOfAllClasses) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "a", 5), device("CIM_Sensor", "b", 30),
                                        device("CIM_Sensor", "c", 0)});
  scriptedHardware().set("Orvane_DiskDrive", {device("Orvane_DiskDrive", "d", 25)});
  EXPECT_EQ(poll(), 30);
  EXPECT_EQ(store_.healthList().size(), 3u) << "state 0 is not OK";
}

TEST_F(HealthCycle, RollUpGoesDownAgainWhileTheLatchStays) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "a", 30)});
  EXPECT_EQ(poll(), 30);
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "a", 5)});
  EXPECT_EQ(poll(), 5);
  EXPECT_EQ(record(0).healthState, 30);
}

TEST_F(HealthCycle, AFailingClassIsLoggedAndTheOthersArePolled) {
  scriptedHardware().fail("CIM_Processor", CMPI_RC_ERR_FAILED);
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "a", 10)});
  scriptedHardware().set("Orvane_Battery", {device("Orvane_Battery", "b", 20)});
  EXPECT_EQ(poll(), 20);
  EXPECT_THAT(latchedClasses(), ElementsAre("CIM_Sensor", "Orvane_Battery"));
  EXPECT_THAT(
      syslogLines(),
      ElementsAre(SyslogLine{LOG_ERR, "Failed to check health status of class CIM_Processor\n"}));
}

TEST_F(HealthCycle, EveryFailingClassHasItsLogLine) {
  std::vector<std::string> expected;
  for (const std::string& name : monitoredClasses()) {
    scriptedHardware().fail(name, CMPI_RC_ERR_NOT_SUPPORTED);
    expected.push_back("Failed to check health status of class " + name + "\n");
  }
  EXPECT_EQ(poll(), 0);
  EXPECT_EQ(syslogTexts(), expected);
}

TEST_F(HealthCycle, ReleasesTheThreadsMemoryOnceForEachClass) {
  poll();
  EXPECT_EQ(broker_.contextReleaseCalls(), 12u);
}

TEST_F(HealthCycle, DoesNotReleaseTheThreadsMemoryAfterAFailedClass) {
  scriptedHardware().fail("CIM_Processor", CMPI_RC_ERR_FAILED);
  scriptedHardware().fail("Orvane_StoragePool", CMPI_RC_ERR_FAILED);
  poll();
  EXPECT_EQ(broker_.contextReleaseCalls(), 10u);
}

TEST_F(HealthCycle, AFailureInTheMiddleOfAClassKeepsWhatCameBefore) {
  scriptedHardware().set("CIM_Sensor",
                         {device("CIM_Sensor", "a", 10), device("CIM_Sensor", "b", 20),
                          device("CIM_Sensor", "c", 30)});
  // The second element's path cannot be had.
  broker_.inject({"instance.getObjectPath", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED, 1, 1});
  EXPECT_EQ(poll(), 20) << "its state counts, the third element's is not seen";
  ASSERT_EQ(store_.healthList().size(), 1u);
  EXPECT_EQ(record(0).healthState, 10);
  EXPECT_THAT(syslogTexts(), ElementsAre("Failed to check health status of class CIM_Sensor\n"));
}

TEST_F(HealthCycle, LeavesNoObjectBehind) {
  for (const char* name : {"CIM_Sensor", "Orvane_DiskDrive"}) {
    scriptedHardware().set(name, {device(name, "a", 10), device(name, "b", 5)});
  }
  scriptedHardware().fail("CIM_Processor", CMPI_RC_ERR_FAILED);
  poll();
  const std::size_t before = TestBroker::liveObjectsOfThisThread();
  poll();
  EXPECT_EQ(TestBroker::liveObjectsOfThisThread(), before);
}

class SevenSlotsCycle : public HealthCycle {
 protected:
  SevenSlotsCycle() : HealthCycle(healthBrokerOptions(), ContextTable::kSevenSlots) {}
};

TEST_F(SevenSlotsCycle, DataBehindTheTableIsNotInvokedAndNothingIsLeftBehind) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "a", 10)});
  const std::size_t before = TestBroker::liveObjectsOfThisThread();
  EXPECT_EQ(poll(), 10);
  EXPECT_EQ(TestBroker::liveObjectsOfThisThread(), before);
  EXPECT_EQ(broker_.contextReleaseCalls(), 0u);
}

class NullSlotCycle : public HealthCycle {
 protected:
  NullSlotCycle() : HealthCycle(healthBrokerOptions(), ContextTable::kSevenSlotsNull) {}
};

TEST_F(NullSlotCycle, ANullWordBehindTheTableIsNotInvoked) {
  EXPECT_EQ(poll(), 0);
  EXPECT_THAT(syslogLines(), IsEmpty());
}

class OddHardwareCycle : public HealthCycle {
 protected:
  OddHardwareCycle() : HealthCycle(healthBrokerOptions(kOddHardwareMof)) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  }
};

TEST_F(OddHardwareCycle, AKeylessElementIsDroppedAndItsEventIdIsAGap) {
  scriptedHardware().set("Orvane_Battery", {{{}, 20}});
  scriptedHardware().set("Orvane_StorageVolume", {device("Orvane_StorageVolume", "v", 10)});
  EXPECT_EQ(poll(), 20) << "it counts in the roll-up";
  ASSERT_EQ(store_.healthList().size(), 1u);
  EXPECT_EQ(record(0).eventId, 1u);
  EXPECT_THAT(syslogTexts(),
              ElementsAre("Failed to copy object, dropping health state 20 for Orvane_Battery\n"));
  EXPECT_EQ(broker_.contextReleaseCalls(), 12u) << "the class has not failed";
}

TEST_F(OddHardwareCycle, ANumericKeyDropsTheElementAndTheNextOnesAreTaken) {
  ScriptedElement odd{{{"Name", "c"}, {"Number", "7", true}}, 20};
  scriptedHardware().set("Orvane_Controller", {odd, odd});
  poll();
  EXPECT_THAT(store_.healthList(), IsEmpty());
  store_.latch(makePath("CIM_Sensor", {{"DeviceID", "a"}}), 10, 0);
  EXPECT_EQ(record(0).eventId, 2u) << "the two took one each";
  EXPECT_THAT(syslogTexts(),
              ElementsAre("Orvane_Controller has a non string key, this in not supported\n",
                          "Failed to copy object, dropping health state 20 for Orvane_Controller\n",
                          "Orvane_Controller has a non string key, this in not supported\n",
                          "Failed to copy object, dropping health state 20 for "
                          "Orvane_Controller\n"));
}

TEST_F(OddHardwareCycle, AStateOfAnotherTypeFailsTheClass) {
  ScriptedElement odd{{{"Name", "d"}}, 20, true};
  scriptedHardware().set("Orvane_DiskDrive", {odd});
  EXPECT_EQ(poll(), 0);
  EXPECT_THAT(syslogTexts(),
              ElementsAre("Failed to check health status of class Orvane_DiskDrive\n"));
}

TEST_F(OddHardwareCycle, AKeyThatWasNeverSetEndsTheProcess) {
  ScriptedElement odd = device("Orvane_StorageVolume", "v", 20);
  odd.keys[3].isNull = true;
  scriptedHardware().set("Orvane_StorageVolume", {odd});
  EXPECT_EXIT(poll(), ::testing::KilledBySignal(SIGABRT),
              "Latched health state failed to allocate memory for object keys\n");
}

class CycleWithoutHardware : public HealthCycle {
 protected:
  CycleWithoutHardware() : HealthCycle(brokerWithoutProviders("schema")) {}
};

TEST_F(CycleWithoutHardware, FindsNoneOfTheClassesOfTheShippedSchemaAndLogsNothing) {
  EXPECT_EQ(poll(), 0);
  EXPECT_THAT(syslogTexts(), IsEmpty());
}

class CycleWithUnknownClasses : public HealthCycle {
 protected:
  CycleWithUnknownClasses() : HealthCycle(brokerWithoutProviders("schema/base")) {}
};

TEST_F(CycleWithUnknownClasses, LogsEachClassThatTheBrokerDoesNotKnow) {
  EXPECT_EQ(poll(), 0);
  EXPECT_EQ(syslogTexts().size(), 8u);
}

}  // namespace

}  // namespace orv::test
