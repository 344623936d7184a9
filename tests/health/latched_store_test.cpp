#include "health/latched_store.h"

#include <syslog.h>

#include <csignal>
#include <cstddef>
#include <cstring>

#include "cmpi/cmpi_status.h"
#include "tests/health/failing_allocation.h"
#include "tests/health/health_fixture.h"
#include "tests/support/syslog_capture.h"

namespace orv::test {

namespace {

using broker::Fault;
using OrvLatchedHealth::buildPathFromRecord;
using OrvLatchedHealth::elementPath;
using OrvLatchedHealth::HealthInfo;
using OrvLatchedHealth::HealthKey;
using ::testing::ElementsAre;

constexpr std::uint32_t kNow = 1'600'000'000;

class LatchedStore : public HealthTest {
 protected:
  LatchedStore() { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }

  const HealthInfo& record(std::size_t index) const { return *store_.healthList().at(index); }
  std::size_t size() const { return store_.healthList().size(); }

  void latchSensor(const char* id, std::uint16_t state, std::uint32_t now = kNow) {
    store_.latch(makePath("CIM_Sensor", {{"DeviceID", id}}), state, now);
  }
  /// The event number that the next element gets; it gets it.
  std::uint32_t takenNextEventId() {
    latchSensor("one more", 10);
    return record(size() - 1).eventId;
  }
};

using LatchedStoreDeathTest = LatchedStore;

TEST_F(LatchedStore, StartsEmpty) {
  EXPECT_EQ(size(), 0u);
  EXPECT_EQ(takenNextEventId(), 0u);
}

TEST_F(LatchedStore, RecordHasItsFixedLayout) {
  // The members' order and sizes are promised to readers of a memory image.
  const HealthInfo info{};
  const auto offset = [&](const auto& member) {
    return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&info);
  };
  EXPECT_EQ(offset(info.className), 0);
  EXPECT_EQ(offset(info.nameSpace), 80);
  EXPECT_EQ(offset(info.hostName), 112);
  EXPECT_EQ(offset(info.keyCount), 192);
  EXPECT_EQ(offset(info.keys), 200);
  EXPECT_EQ(offset(info.eventId), 208);
  EXPECT_EQ(offset(info.healthState), 212);
  EXPECT_EQ(offset(info.timestamp), 216);
  EXPECT_EQ(sizeof(HealthKey), 2 * sizeof(char*));
}

TEST_F(LatchedStore, FirstRecordHasEventIdZeroAndEverythingOfTheElement) {
  store_.latch(makePath("CIM_Sensor", {{"DeviceID", "fan-1"}, {"SystemName", "h"}}), 20, kNow);
  ASSERT_EQ(size(), 1u);
  EXPECT_STREQ(record(0).className, "CIM_Sensor");
  EXPECT_STREQ(record(0).nameSpace, "root/cimv2");
  EXPECT_STREQ(record(0).hostName, "NULL");
  ASSERT_EQ(record(0).keyCount, 2u);
  EXPECT_STREQ(record(0).keys[0].name.get(), "DeviceID");
  EXPECT_STREQ(record(0).keys[0].value.get(), "fan-1");
  EXPECT_STREQ(record(0).keys[1].name.get(), "SystemName");
  EXPECT_STREQ(record(0).keys[1].value.get(), "h");
  EXPECT_EQ(record(0).eventId, 0u);
  EXPECT_EQ(record(0).healthState, 20);
  EXPECT_EQ(record(0).timestamp, kNow);
  EXPECT_EQ(takenNextEventId(), 1u);
  EXPECT_TRUE(syslogLines().empty());
}

TEST_F(LatchedStore, RepeatedStateChangesNothing) {
  latchSensor("a", 10, kNow);
  latchSensor("a", 10, kNow + 120);
  ASSERT_EQ(size(), 1u);
  EXPECT_EQ(record(0).eventId, 0u);
  EXPECT_EQ(record(0).timestamp, kNow);
  EXPECT_EQ(takenNextEventId(), 1u);
}

TEST_F(LatchedStore, WorseStateMovesTheRecordToANewEventAndTime) {
  latchSensor("a", 10, kNow);
  latchSensor("b", 10, kNow);
  latchSensor("a", 15, kNow + 240);
  ASSERT_EQ(size(), 2u);
  EXPECT_EQ(record(0).eventId, 2u);
  EXPECT_EQ(record(0).healthState, 15);
  EXPECT_EQ(record(0).timestamp, kNow + 240);
  EXPECT_STREQ(record(0).keys[0].value.get(), "a") << "the place in the list stays";
  EXPECT_EQ(record(1).eventId, 1u);
  EXPECT_EQ(takenNextEventId(), 3u);
}

TEST_F(LatchedStore, BetterStateChangesNothing) {
  latchSensor("a", 20, kNow);
  latchSensor("a", 10, kNow + 120);
  ASSERT_EQ(size(), 1u);
  EXPECT_EQ(record(0).healthState, 20);
  EXPECT_EQ(record(0).eventId, 0u);
  EXPECT_EQ(record(0).timestamp, kNow);
}

TEST_F(LatchedStore, WorseIsGreaterEvenBelowOk) {
  latchSensor("a", 0);
  latchSensor("a", 1);
  ASSERT_EQ(size(), 1u);
  EXPECT_EQ(record(0).healthState, 1);
  EXPECT_EQ(record(0).eventId, 1u);
}

TEST_F(LatchedStore, EqualKeysOfTwoClassesAreTwoElements) {
  store_.latch(makePath("CIM_Sensor", {{"DeviceID", "x"}}), 10, kNow);
  store_.latch(makePath("CIM_PowerSupply", {{"DeviceID", "x"}}), 10, kNow);
  EXPECT_EQ(size(), 2u);
}

TEST_F(LatchedStore, ClassNamesAreToldApartByCase) {
  store_.latch(makePath("CIM_Sensor", {{"DeviceID", "x"}}), 10, kNow);
  store_.latch(makePath("cim_sensor", {{"DeviceID", "x"}}), 10, kNow);
  ASSERT_EQ(size(), 2u);
  EXPECT_STREQ(record(1).className, "cim_sensor");
}

TEST_F(LatchedStore, KeyNamesAreNotToldApartByCaseButValuesAre) {
  store_.latch(makePath("CIM_Sensor", {{"DeviceID", "x"}}), 10, kNow);
  store_.latch(makePath("CIM_Sensor", {{"deviceid", "x"}}), 10, kNow);
  EXPECT_EQ(size(), 1u);
  store_.latch(makePath("CIM_Sensor", {{"DeviceID", "X"}}), 10, kNow);
  EXPECT_EQ(size(), 2u);
}

TEST_F(LatchedStore, KeysInAnotherOrderAreTheSameElement) {
  store_.latch(makePath("CIM_Sensor", {{"A", "1"}, {"B", "2"}}), 10, kNow);
  store_.latch(makePath("CIM_Sensor", {{"B", "2"}, {"A", "1"}}), 10, kNow);
  EXPECT_EQ(size(), 1u);
}

TEST_F(LatchedStore, AnElementWithMoreKeysIsAnother) {
  store_.latch(makePath("CIM_Sensor", {{"A", "1"}}), 10, kNow);
  store_.latch(makePath("CIM_Sensor", {{"A", "1"}, {"B", "2"}}), 10, kNow);
  EXPECT_EQ(size(), 2u);
}

TEST_F(LatchedStore, NamespacesAndHostsTellElementsApart) {
  store_.latch(makePath("CIM_Sensor", {{"A", "1"}}), 10, kNow);
  store_.latch(makePath("CIM_Sensor", {{"A", "1"}}, nullptr, "root/other"), 10, kNow);
  store_.latch(makePath("CIM_Sensor", {{"A", "1"}}, "far"), 10, kNow);
  ASSERT_EQ(size(), 3u);
  EXPECT_STREQ(record(1).nameSpace, "root/other");
  EXPECT_STREQ(record(2).hostName, "far");
}

TEST_F(LatchedStore, FindsTheFirstRecordOfAnEvent) {
  latchSensor("a", 10);
  latchSensor("b", 10);
  EXPECT_EQ(store_.findEvent(1), &record(1));
  EXPECT_EQ(store_.findEvent(2), nullptr);
}

TEST_F(LatchedStore, AnOldEventIsGoneOnceItsElementHasWorsened) {
  latchSensor("a", 10);
  latchSensor("a", 20);
  EXPECT_EQ(store_.findEvent(0), nullptr);
  EXPECT_EQ(store_.findEvent(1), &record(0));
}

TEST_F(LatchedStore, ElementWithoutKeysIsLoggedAndDroppedAndItsEventIdLost) {
  store_.latch(makePath("CIM_Sensor", {}), 25, kNow);
  EXPECT_EQ(size(), 0u);
  EXPECT_THAT(syslogLines(),
              ElementsAre(SyslogLine{
                  LOG_ERR, "Failed to copy object, dropping health state 25 for CIM_Sensor\n"}));
  latchSensor("a", 10);
  EXPECT_EQ(record(0).eventId, 1u);
}

TEST_F(LatchedStore, ElementWithANumericKeyIsLoggedAndDroppedAndItsEventIdLost) {
  CmpiObjectPath path = makePath("CIM_Sensor", {{"A", "1"}});
  path.setKey("Number", CmpiData(CMPIUint32{7}));
  store_.latch(path, 10, kNow);
  EXPECT_EQ(size(), 0u);
  EXPECT_EQ(takenNextEventId(), 1u);
  EXPECT_THAT(
      syslogLines(),
      ElementsAre(
          SyslogLine{LOG_ERR, "CIM_Sensor has a non string key, this in not supported\n"},
          SyslogLine{LOG_ERR, "Failed to copy object, dropping health state 10 for CIM_Sensor\n"}));
}

TEST_F(LatchedStore, NoMemoryForTheKeysIsLoggedAndTheElementDropped) {
  const CmpiObjectPath path = makePath("CIM_Sensor", {{"A", "1"}});
  {
    const FailingArrayAllocation failing;
    store_.latch(path, 10, kNow);
  }
  EXPECT_EQ(size(), 0u);
  EXPECT_EQ(takenNextEventId(), 1u);
  EXPECT_THAT(
      syslogLines(),
      ElementsAre(
          SyslogLine{LOG_ERR, "Latched health state failed to allocate memory for object keys\n"},
          SyslogLine{LOG_ERR, "Failed to copy object, dropping health state 10 for CIM_Sensor\n"}));
}

TEST_F(LatchedStoreDeathTest, AKeyWithoutAValueEndsTheProcess) {
  const CmpiObjectPath path = makePath("CIM_Sensor", {{"A", "1"}});
  broker_.inject({"path.getKeyAt", Fault::Effect::kNullValue});
  EXPECT_EXIT(store_.latch(path, 10, kNow), ::testing::KilledBySignal(SIGABRT),
              "Latched health state failed to allocate memory for object keys\n");
}

TEST_F(LatchedStoreDeathTest, AKeyThatIsNotFoundEndsTheProcess) {
  const CmpiObjectPath path = makePath("CIM_Sensor", {{"A", "1"}});
  broker_.inject({"path.getKeyAt", Fault::Effect::kStatus, CMPI_RC_ERR_NOT_FOUND});
  EXPECT_EXIT(store_.latch(path, 10, kNow), ::testing::KilledBySignal(SIGABRT),
              "Latched health state failed to allocate memory for object keys\n");
}

TEST_F(LatchedStore, AKeyThatCannotBeReadIsTheCallersFailure) {
  const CmpiObjectPath path = makePath("CIM_Sensor", {{"A", "1"}});
  broker_.inject({"path.getKeyAt", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  EXPECT_THROW(store_.latch(path, 10, kNow), CmpiStatus);
  EXPECT_EQ(size(), 0u);
}

TEST_F(LatchedStoreDeathTest, ARecordWhosePathCannotBeMadeEndsTheProcess) {
  const CmpiObjectPath path = makePath("CIM_Sensor", {{"A", "1"}});
  broker_.inject({"path.addKey", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  EXPECT_EXIT(store_.latch(path, 10, kNow), ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST_F(LatchedStore, ClassNameOf79CharactersFits) {
  const std::string name(79, 'c');
  store_.latch(makePath(name, {{"A", "1"}}), 10, kNow);
  ASSERT_EQ(size(), 1u);
  EXPECT_EQ(record(0).className, name);
  store_.latch(makePath(name, {{"A", "1"}}), 10, kNow);
  EXPECT_EQ(size(), 1u) << "and is found again";
}

TEST_F(LatchedStoreDeathTest, ClassNameOf80CharactersEndsTheProcess) {
  const CmpiObjectPath path = makePath(std::string(80, 'c'), {{"A", "1"}});
  EXPECT_EXIT(store_.latch(path, 10, kNow), ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST_F(LatchedStore, DroppingMessageHasTheRecordsCutClassName) {
  store_.latch(makePath(std::string(90, 'c'), {}), 10, kNow);
  EXPECT_THAT(syslogTexts(), ElementsAre("Failed to copy object, dropping health state 10 for " +
                                         std::string(79, 'c') + "\n"));
}

TEST_F(LatchedStore, NamespaceOf31CharactersFits) {
  const std::string nameSpace(31, 'n');
  store_.latch(makePath("C", {{"A", "1"}}, nullptr, nameSpace), 10, kNow);
  ASSERT_EQ(size(), 1u);
  EXPECT_EQ(record(0).nameSpace, nameSpace);
}

TEST_F(LatchedStoreDeathTest, NamespaceOf32CharactersEndsTheProcess) {
  const CmpiObjectPath path = makePath("C", {{"A", "1"}}, nullptr, std::string(32, 'n'));
  EXPECT_EXIT(store_.latch(path, 10, kNow), ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST_F(LatchedStore, HostOf79CharactersFits) {
  const std::string host(79, 'h');
  store_.latch(makePath("C", {{"A", "1"}}, host.c_str()), 10, kNow);
  ASSERT_EQ(size(), 1u);
  EXPECT_EQ(record(0).hostName, host);
}

TEST_F(LatchedStoreDeathTest, HostOf80CharactersEndsTheProcess) {
  const CmpiObjectPath path = makePath("C", {{"A", "1"}}, std::string(80, 'h').c_str());
  EXPECT_EXIT(store_.latch(path, 10, kNow), ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST_F(LatchedStoreDeathTest, AHostThatBeginsWithNullEndsTheProcess) {
  // It is taken for no host, so the record does not give it back.
  const CmpiObjectPath path = makePath("C", {{"A", "1"}}, "NULLAFJORD");
  EXPECT_EXIT(store_.latch(path, 10, kNow), ::testing::KilledBySignal(SIGABRT), "^$");
}

TEST_F(LatchedStore, AnEmptyHostStaysEmpty) {
  store_.latch(makePath("C", {{"A", "1"}}, ""), 10, kNow);
  ASSERT_EQ(size(), 1u);
  EXPECT_STREQ(record(0).hostName, "");
}

TEST_F(LatchedStore, ANullHostStringIsNoHost) {
  const CmpiObjectPath path = makePath("C", {{"A", "1"}});
  broker_.inject({"path.getHostname", Fault::Effect::kNullResult});
  store_.latch(path, 10, kNow);
  ASSERT_EQ(size(), 1u);
  EXPECT_STREQ(record(0).hostName, "NULL");
}

TEST_F(LatchedStore, AHostStringWithoutATextIsNoHost) {
  const CmpiObjectPath path = makePath("C", {{"A", "1"}});
  broker_.inject({"path.getHostname", Fault::Effect::kNullText});
  store_.latch(path, 10, kNow);
  ASSERT_EQ(size(), 1u);
  EXPECT_STREQ(record(0).hostName, "NULL");
}

TEST_F(LatchedStore, AHostThatCannotBeReadIsEmptyAndTheElementIsFoundAgain) {
  const CmpiObjectPath path = makePath("C", {{"A", "1"}});
  broker_.inject({"path.getHostname", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  store_.latch(path, 10, kNow);
  ASSERT_EQ(size(), 1u);
  EXPECT_STREQ(record(0).hostName, "");
  broker_.clearFaults();
  store_.latch(path, 10, kNow);
  EXPECT_EQ(size(), 1u);
}

HealthKey key(const char* name, const char* value) {
  const auto own = [](const char* text) -> std::unique_ptr<char[]> {
    if (text == nullptr) return nullptr;
    auto copy = std::make_unique<char[]>(std::strlen(text) + 1);
    std::strcpy(copy.get(), text);
    return copy;
  };
  return {own(name), own(value)};
}

HealthInfo recordWith(const char* host, std::vector<HealthKey> keys) {
  HealthInfo info{};
  std::strcpy(info.className, "CIM_Sensor");
  std::strcpy(info.nameSpace, "root/cimv2");
  std::strcpy(info.hostName, host);
  info.keyCount = static_cast<std::uint32_t>(keys.size());
  info.keys = std::make_unique<HealthKey[]>(keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) info.keys[i] = std::move(keys[i]);
  return info;
}

template <typename... Keys>
std::vector<HealthKey> keyList(Keys... keys) {
  std::vector<HealthKey> list;
  (list.push_back(std::move(keys)), ...);
  return list;
}

class PathFromRecord : public HealthTest {
 protected:
  CmpiObjectPath target_ = makePath("CIM_Sensor", {});
};

TEST_F(PathFromRecord, HasHostAndStringKeys) {
  const HealthInfo info = recordWith("far", keyList(key("A", "1"), key("B", "")));
  ASSERT_TRUE(buildPathFromRecord(info, target_));
  EXPECT_STREQ(target_.getHostname().charPtr(), "far");
  ASSERT_EQ(target_.getKeyCount(), 2u);
  EXPECT_EQ(target_.getKey("A").getType(), CMPI_string);
  EXPECT_STREQ(CmpiString(target_.getKey("A")).charPtr(), "1");
  EXPECT_STREQ(CmpiString(target_.getKey("B")).charPtr(), "");
}

TEST_F(PathFromRecord, ANullHostIsNotSet) {
  for (const char* host : {"NULL", "NULLx"}) {
    CmpiObjectPath path = makePath("CIM_Sensor", {}, "before");
    ASSERT_TRUE(buildPathFromRecord(recordWith(host, {}), path));
    EXPECT_STREQ(path.getHostname().charPtr(), "before");
  }
}

TEST_F(PathFromRecord, AnEmptyHostIsSet) {
  CmpiObjectPath path = makePath("CIM_Sensor", {}, "before");
  ASSERT_TRUE(buildPathFromRecord(recordWith("", {}), path));
  EXPECT_STREQ(path.getHostname().charPtr(), "");
}

TEST_F(PathFromRecord, WithoutKeysSucceeds) {
  EXPECT_TRUE(buildPathFromRecord(recordWith("NULL", {}), target_));
  EXPECT_EQ(target_.getKeyCount(), 0u);
}

TEST_F(PathFromRecord, FailsWithoutAKeysName) {
  EXPECT_FALSE(buildPathFromRecord(recordWith("NULL", keyList(key(nullptr, "1"))), target_));
}

TEST_F(PathFromRecord, FailsWithoutAKeysValue) {
  EXPECT_FALSE(buildPathFromRecord(recordWith("NULL", keyList(key("A", nullptr))), target_));
}

TEST_F(PathFromRecord, FailsWhenAKeyIsRefused) {
  broker_.inject({"path.addKey", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  EXPECT_FALSE(buildPathFromRecord(recordWith("NULL", keyList(key("A", "1"))), target_));
  EXPECT_FALSE(elementPath(recordWith("NULL", keyList(key("A", "1")))).has_value());
}

TEST_F(PathFromRecord, IgnoresARefusedHost) {
  broker_.inject({"path.setHostname", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  EXPECT_TRUE(buildPathFromRecord(recordWith("far", keyList(key("A", "1"))), target_));
  EXPECT_EQ(target_.getKeyCount(), 1u);
}

}  // namespace

}  // namespace orv::test
