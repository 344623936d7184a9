#include "health/latched_health_state.h"

#include <memory>
#include <mutex>
#include <type_traits>

#include "cmpi/cmpi_status.h"
#include "health/latched_instance.h"
#include "health/monitor_state.h"
#include "tests/health/health_fixture.h"

namespace orv::test {

namespace {

using broker::Fault;
using broker::Instance;
using broker::ObjectPath;
using broker::RecordingResult;
using broker::RequestScope;
using broker::Value;
using OrvLatchedHealth::monitorState;
using OrvLatchedHealth::OrvLatchedHealthState;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kLatched[] = "Orvane_LatchedHealthState";
constexpr char kRollup[] = "Orvane_RollupHealthState";

/// What an operation answered and returned.
struct Answer {
  CMPIrc rc = CMPI_RC_OK;
  std::string message;
  std::vector<Instance> instances;
  std::vector<ObjectPath> paths;
  int doneCount = 0;
};

/// A provider object without threads; the store is filled by hand.
class LatchedHealthState : public HealthTest {
 protected:
  LatchedHealthState() : provider_(binding(), context()) {}

  static void latch(const char* id, std::uint16_t state, std::uint32_t now = 1'600'000'000) {
    monitorState().store.latch(makePath("CIM_Sensor", {{"DeviceID", id}}), state, now);
  }

  template <typename Operation>
  Answer run(Operation operation) {
    RecordingResult sink(*scope_);
    CmpiResult result(sink.record());
    Answer answer;
    try {
      const CmpiStatus status = operation(result);
      answer = {status.rc(), status.msg() == nullptr ? "" : status.msg(), {}, {}, 0};
    } catch (const CmpiStatus& status) {
      answer = {status.rc(), status.msg() == nullptr ? "" : status.msg(), {}, {}, 0};
    }
    answer.instances = sink.instances();
    answer.paths = sink.paths();
    answer.doneCount = sink.doneCount();
    return answer;
  }

  Answer names(const std::string& className) {
    return run([&](CmpiResult& result) {
      return provider_.enumInstanceNames(context(), result, makePath(className, {}));
    });
  }
  Answer instances(const std::string& className, const char** properties = nullptr) {
    return run([&](CmpiResult& result) {
      return provider_.enumInstances(context(), result, makePath(className, {}), properties);
    });
  }
  Answer get(const CmpiObjectPath& path, const char** properties = nullptr) {
    return run([&](CmpiResult& result) {
      return provider_.getInstance(context(), result, path, properties);
    });
  }
  Answer getEvent(const char* eventId) { return get(makePath(kLatched, {{"EventId", eventId}})); }

  OrvLatchedHealthState provider_;
};

TEST_F(LatchedHealthState, IsAnInstanceProviderAndPrivatelyAnIndicationProvider) {
  EXPECT_TRUE((std::is_convertible_v<OrvLatchedHealthState*, CmpiInstanceMI*>));
  EXPECT_TRUE((std::is_base_of_v<CmpiIndicationMI, OrvLatchedHealthState>));
  EXPECT_FALSE((std::is_convertible_v<OrvLatchedHealthState*, CmpiIndicationMI*>));
  EXPECT_FALSE(provider_.isUnloadable());
}

TEST_F(LatchedHealthState, EmptyStoreGivesNoNameAndNoDone) {
  const Answer answer = names(kLatched);
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_THAT(answer.paths, IsEmpty());
  EXPECT_EQ(answer.doneCount, 0);
}

TEST_F(LatchedHealthState, EmptyStoreGivesNoInstanceAndNoDone) {
  const Answer answer = instances(kLatched);
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_THAT(answer.instances, IsEmpty());
  EXPECT_EQ(answer.doneCount, 0);
}

TEST_F(LatchedHealthState, NamesComeInListOrderWithTheEventIdAsText) {
  latch("a", 10);
  latch("b", 10);
  latch("a", 20);  // event 2, still first
  const Answer answer = names(kLatched);
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  ASSERT_EQ(answer.paths.size(), 2u);
  EXPECT_EQ(answer.paths[0].toText(), "root/cimv2:Orvane_LatchedHealthState.EventId=\"2\"");
  EXPECT_EQ(answer.paths[1].toText(), "root/cimv2:Orvane_LatchedHealthState.EventId=\"1\"");
}

TEST_F(LatchedHealthState, NamesCarryTheClassAsTheRequestSpellsIt) {
  latch("a", 10);
  const Answer answer = names("orvane_LATCHEDhealthstate");
  ASSERT_EQ(answer.paths.size(), 1u);
  EXPECT_EQ(answer.paths[0].className, "orvane_LATCHEDhealthstate");
}

TEST_F(LatchedHealthState, InstanceHasTheFivePropertiesInOrder) {
  latch("a", 20, 1'600'000'000);
  const Answer answer = instances(kLatched);
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  ASSERT_EQ(answer.instances.size(), 1u);
  const Instance& instance = answer.instances[0];
  EXPECT_THAT(instance.setOrder, ElementsAre("LatchedClassName", "LatchedNamespace", "EventId",
                                             "HealthState", "Timestamp"));
  EXPECT_EQ(*instance.property("LatchedClassName"), Value::ofString("CIM_Sensor"));
  EXPECT_EQ(*instance.property("LatchedNamespace"), Value::ofString("root/cimv2"));
  EXPECT_EQ(*instance.property("EventId"), Value::ofString("0"));
  EXPECT_EQ(*instance.property("HealthState"), Value::ofUnsigned(CMPI_uint16, 20));
  EXPECT_EQ(instance.property("Timestamp")->dateTime().microseconds, 1'600'000'000'000'000u);
  EXPECT_FALSE(instance.property("Timestamp")->dateTime().interval);
}

TEST_F(LatchedHealthState, InstancesComeInListOrder) {
  latch("a", 10);
  latch("b", 10);
  latch("a", 20);
  const Answer answer = instances(kLatched);
  ASSERT_EQ(answer.instances.size(), 2u);
  EXPECT_EQ(answer.instances[0].property("EventId")->text(), "2");
  EXPECT_EQ(answer.instances[1].property("EventId")->text(), "1");
}

TEST_F(LatchedHealthState, PropertyListIsApplied) {
  latch("a", 10);
  const char* list[] = {"HealthState", nullptr};
  const Answer answer = instances(kLatched, list);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_THAT(answer.instances[0].setOrder, ElementsAre("EventId", "HealthState"));
  EXPECT_EQ(answer.instances[0].property("LatchedClassName"), nullptr);
}

TEST_F(LatchedHealthState, GetInstanceFindsTheEvent) {
  latch("a", 10);
  latch("b", 25);
  const Answer answer = getEvent("1");
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(answer.instances[0].property("HealthState")->number(), 25u);
  EXPECT_EQ(answer.instances[0].path.toText(),
            "root/cimv2:Orvane_LatchedHealthState.EventId=\"1\"");
}

TEST_F(LatchedHealthState, GetInstanceServesTheClassInAnyCase) {
  latch("a", 10);
  EXPECT_EQ(get(makePath("ORVANE_latchedHealthState", {{"EventId", "0"}})).rc, CMPI_RC_OK);
}

/// What the broker answers to reading the key's text depends on which time it is read.
TEST_F(LatchedHealthState, TextOfTheKeyMayFailAtAnyCall) {
  for (int passing = 0; passing < 4; ++passing) {
    const CmpiObjectPath path = makePath(kLatched, {{"EventId", "7"}});
    broker_.inject({"string.getCharPtr", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED, passing});
    std::uint32_t id = 0;
    const bool found = OrvLatchedHealth::findEventIdKey(path, id);
    broker_.clearFaults();
    EXPECT_EQ(found, passing > 0) << passing;
    EXPECT_EQ(id, found ? 7U : 0U) << passing;
  }
}

struct EventIdCase {
  const char* text;
  std::uint32_t event;
};

TEST_F(LatchedHealthState, EventIdIsTheNumberInFrontOfTheText) {
  const EventIdCase cases[] = {{"7abc", 7},
                               {"abc", 0},
                               {"", 0},
                               {" 12", 12},
                               {"+3", 3},
                               {"-1", 4294967295u},
                               {"4294967295", 4294967295u},
                               {"0007", 7}};
  for (const EventIdCase& c : cases) {
    std::uint32_t id = 99;
    EXPECT_TRUE(OrvLatchedHealth::findEventIdKey(makePath(kLatched, {{"EventId", c.text}}), id));
    EXPECT_EQ(id, c.event) << '"' << c.text << '"';
  }
}

TEST_F(LatchedHealthState, GetInstanceOfSevenAbcLooksUpSeven) {
  for (int i = 0; i < 8; ++i) latch(std::to_string(i).c_str(), static_cast<std::uint16_t>(10 + i));
  EXPECT_EQ(getEvent("7abc").instances.at(0).property("HealthState")->number(), 17u);
  EXPECT_EQ(getEvent("abc").instances.at(0).property("HealthState")->number(), 10u);
}

TEST_F(LatchedHealthState, GetInstanceOfAnUnknownEventFails) {
  latch("a", 10);
  const Answer answer = getEvent("1");
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(answer.message, "failed to get instances");
  EXPECT_THAT(answer.instances, IsEmpty());
  EXPECT_EQ(answer.doneCount, 0);
}

TEST_F(LatchedHealthState, GetInstanceWithoutAUsableEventIdFails) {
  latch("a", 10);
  CmpiObjectPath numeric = makePath(kLatched, {});
  numeric.setKey("EventId", CmpiData(CMPIUint64{0}));
  for (const CmpiObjectPath& path : {makePath(kLatched, {}), numeric}) {
    const Answer answer = get(path);
    EXPECT_EQ(answer.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(answer.message, "failed to get instances");
    EXPECT_EQ(answer.doneCount, 0);
  }
}

TEST_F(LatchedHealthState, GetInstanceWithANullEventIdFails) {
  latch("a", 10);
  broker_.inject({"path.getKey", Fault::Effect::kNullValue});
  const Answer answer = getEvent("0");
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(answer.message, "failed to get instances");
}

TEST_F(LatchedHealthState, RollUpNameIsFixed) {
  const Answer answer = names("orvane_rollupHEALTHstate");
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  ASSERT_EQ(answer.paths.size(), 1u);
  EXPECT_EQ(answer.paths[0].toText(),
            "root/cimv2:Orvane_RollupHealthState.Name=\"Orvane Rollup Health State\"");
}

TEST_F(LatchedHealthState, RollUpIsZeroBeforeTheFirstCycle) {
  const Answer answer = instances(kRollup);
  EXPECT_EQ(answer.rc, CMPI_RC_OK);
  EXPECT_EQ(answer.doneCount, 1);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_THAT(answer.instances[0].setOrder, ElementsAre("Name", "HealthState"));
  EXPECT_EQ(*answer.instances[0].property("Name"), Value::ofString("Orvane Rollup Health State"));
  EXPECT_EQ(*answer.instances[0].property("HealthState"), Value::ofUnsigned(CMPI_uint16, 0));
}

TEST_F(LatchedHealthState, RollUpIsTheLastCyclesWorstState) {
  monitorState().rollupHealthState = 25;
  EXPECT_EQ(instances(kRollup).instances.at(0).property("HealthState")->number(), 25u);
}

TEST_F(LatchedHealthState, RollUpIsServedWhileTheStoreIsLocked) {
  const std::lock_guard<OMC::Mutex> lock(monitorState().latchedHealthMutex);
  EXPECT_EQ(instances(kRollup).rc, CMPI_RC_OK);
  EXPECT_EQ(names(kRollup).rc, CMPI_RC_OK);
  EXPECT_EQ(get(makePath(kRollup, {})).rc, CMPI_RC_OK);
}

TEST_F(LatchedHealthState, RollUpPropertyListIsApplied) {
  const char* list[] = {"Name", nullptr};
  const Answer answer = instances(kRollup, list);
  ASSERT_EQ(answer.instances.size(), 1u);
  EXPECT_EQ(answer.instances[0].property("HealthState"), nullptr);
}

TEST_F(LatchedHealthState, GetInstanceOfTheRollUpIgnoresTheKey) {
  monitorState().rollupHealthState = 5;
  for (const CmpiObjectPath& path :
       {makePath(kRollup, {{"Name", "something else"}}), makePath(kRollup, {})}) {
    const Answer answer = get(path);
    EXPECT_EQ(answer.rc, CMPI_RC_OK);
    EXPECT_EQ(answer.doneCount, 1);
    ASSERT_EQ(answer.instances.size(), 1u);
    EXPECT_EQ(answer.instances[0].property("Name")->text(), "Orvane Rollup Health State");
    EXPECT_EQ(answer.instances[0].property("HealthState")->number(), 5u);
  }
}

TEST_F(LatchedHealthState, AnotherClassFailsInTheEnumerationsAndIsNotFoundInGetInstance) {
  for (const Answer& answer : {names("CIM_Sensor"), instances("CIM_Sensor")}) {
    EXPECT_EQ(answer.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(answer.message, "invalid class name");
    EXPECT_EQ(answer.doneCount, 0);
  }
  const Answer answer = get(makePath("CIM_Sensor", {{"EventId", "0"}}));
  EXPECT_EQ(answer.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(answer.message, "invalid class name");
  EXPECT_EQ(answer.doneCount, 0);
}

TEST_F(LatchedHealthState, NoLatchCanBeCreatedChangedOrDeleted) {
  latch("a", 10);
  const CmpiObjectPath path = makePath(kLatched, {{"EventId", "0"}});
  const CmpiInstance instance(path);
  const auto statuses = {
      run([&](CmpiResult& r) { return provider_.createInstance(context(), r, path, instance); }),
      run([&](CmpiResult& r) {
        return provider_.setInstance(context(), r, path, instance, nullptr);
      }),
      run([&](CmpiResult& r) { return provider_.deleteInstance(context(), r, path); }),
      run([&](CmpiResult& r) { return provider_.execQuery(context(), r, path, "WQL", "q"); })};
  for (const Answer& answer : statuses) EXPECT_EQ(answer.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(monitorState().store.healthList().size(), 1u);
}

TEST_F(LatchedHealthState, ReadingDoesNotClearALatch) {
  latch("a", 10);
  names(kLatched);
  instances(kLatched);
  getEvent("0");
  EXPECT_EQ(instances(kLatched).instances.size(), 1u);
}

TEST_F(LatchedHealthState, FilterOperationsDoNothing) {
  const CmpiSelectExp filter(nullptr);
  const CmpiObjectPath path = makePath("Orvane_KernelIPChangedIndication", {});
  const char* name = "Orvane_KernelIPChangedIndication";
  EXPECT_EQ(provider_.authorizeFilter(context(), filter, name, path, nullptr).rc(), CMPI_RC_OK);
  EXPECT_EQ(provider_.mustPoll(context(), filter, name, path).rc(), CMPI_RC_OK);
  EXPECT_EQ(provider_.activateFilter(context(), filter, name, path, 1).rc(), CMPI_RC_OK);
  EXPECT_EQ(provider_.deActivateFilter(context(), filter, name, path, 1).rc(), CMPI_RC_OK);
  EXPECT_FALSE(monitorState().kernelIpIndication.isEnabled());
}

TEST_F(LatchedHealthState, EnablingAndDisablingSwitchesTheDetector) {
  EXPECT_EQ(provider_.enableIndications().rc(), CMPI_RC_OK);
  EXPECT_TRUE(monitorState().kernelIpIndication.isEnabled());
  EXPECT_EQ(provider_.disableIndications().rc(), CMPI_RC_OK);
  EXPECT_FALSE(monitorState().kernelIpIndication.isEnabled());
}

TEST_F(LatchedHealthState, EnablingDoesNotWaitForTheMonitors) {
  const std::lock_guard<OMC::Mutex> lock(monitorState().latchedHealthMutex);
  EXPECT_EQ(provider_.enableIndications().rc(), CMPI_RC_OK);
  EXPECT_EQ(provider_.disableIndications().rc(), CMPI_RC_OK);
}

TEST_F(LatchedHealthState, CleanupThatIsNotTerminatingAnswersNeverUnload) {
  EXPECT_EQ(provider_.cleanup(context(), false).rc(), CMPI_RC_NEVER_UNLOAD);
}

}  // namespace

}  // namespace orv::test
