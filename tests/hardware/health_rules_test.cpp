#include "hardware/health_rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace Hardware {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The judgement at the first look.
template <typename Facts>
Judgement judged(const Facts& facts) {
  CounterBaselines baselines;
  const std::string id = "element";
  return judge(facts, Growth(baselines, id));
}

/// The judgement at the second look, when the facts have become others.
template <typename Facts>
Judgement judgedAfter(const Facts& before, const Facts& after) {
  CounterBaselines baselines;
  const std::string id = "element";
  judge(before, Growth(baselines, id));
  return judge(after, Growth(baselines, id));
}

template <typename Facts, typename Change>
Facts changed(Facts facts, Change change) {
  change(facts);
  return facts;
}

void expectHealth(const Judgement& judgement, Health health, const std::string& words) {
  EXPECT_EQ(judgement.health, health) << words;
  EXPECT_THAT(judgement.words, ElementsAre(words));
}

// ---- Sensors ----

Sensor temperature(std::int32_t reading) {
  Sensor sensor;
  sensor.sensorType = 2;
  sensor.reading = reading;
  sensor.low = 5000;
  sensor.high = 80000;
  sensor.lowCritical = -5000;
  sensor.highCritical = 95000;
  return sensor;
}

TEST(SensorHealth, IsOkUpToTheLimits) {
  for (const std::int32_t reading : {5000, 40000, 80000}) {
    EXPECT_EQ(judged(temperature(reading)).health, kOk) << reading;
    EXPECT_THAT(judged(temperature(reading)).words, IsEmpty()) << reading;
  }
  EXPECT_EQ(judged(Sensor{}).health, kOk);
}

TEST(SensorHealth, IsDegradedPastALimit) {
  expectHealth(judged(temperature(80500)), kDegraded, "80.5 C, maximum 80 C");
  expectHealth(judged(temperature(4999)), kDegraded, "4.999 C, minimum 5 C");
}

TEST(SensorHealth, IsCriticalAtACriticalLimit) {
  const Judgement hot = judged(temperature(95000));
  EXPECT_EQ(hot.health, kCritical);
  EXPECT_THAT(hot.words, ElementsAre("95 C, critical from 95 C", "95 C, maximum 80 C"));
  EXPECT_EQ(judged(temperature(-5000)).health, kCritical);
}

TEST(SensorHealth, FollowsTheChipsFlags) {
  const auto with = [](bool Sensor::*flag) {
    return judged(changed(temperature(40000), [&](Sensor& s) { s.*flag = true; }));
  };
  expectHealth(with(&Sensor::alarm), kCritical, "alarm of the chip (40 C)");
  expectHealth(with(&Sensor::limitAlarm), kDegraded, "limit alarm of the chip (40 C)");
  expectHealth(with(&Sensor::fault), kMajor, "sensor fault");
}

TEST(SensorHealth, NamesTheUnit) {
  Sensor fan;
  fan.sensorType = 5;
  fan.reading = 0;
  fan.low = 600;
  expectHealth(judged(fan), kDegraded, "0 rpm, minimum 600 rpm");
  Sensor voltage;
  voltage.sensorType = 3;
  voltage.reading = 12700;
  voltage.high = 12600;
  expectHealth(judged(voltage), kDegraded, "12.7 V, maximum 12.6 V");
}

// ---- Memory ----

MemoryModule module(std::uint64_t correctable, std::uint64_t uncorrectable) {
  MemoryModule module;
  module.correctableErrors = correctable;
  module.uncorrectableErrors = uncorrectable;
  return module;
}

TEST(MemoryHealth, IsOkWithErrorsFromBeforeTheStart) {
  EXPECT_EQ(judged(module(17, 0)).health, kOk);
  EXPECT_EQ(judged(MemoryModule{}).health, kOk);
}

TEST(MemoryHealth, IsDegradedWithNewCorrectableErrors) {
  expectHealth(judgedAfter(module(14, 0), module(17, 0)), kDegraded,
               "3 new correctable errors since start (17 in all)");
}

TEST(MemoryHealth, IsCriticalWithUncorrectableErrors) {
  expectHealth(judged(module(0, 2)), kCritical, "2 uncorrectable errors");
}

// ---- Power ----

TEST(PowerSupplyHealth, FollowsTheReportedHealth) {
  const std::pair<const char*, Health> rows[] = {{"Good", kOk},
                                                 {"Unknown", kOk},
                                                 {"", kOk},
                                                 {"Dead", kCritical},
                                                 {"Overheat", kMajor},
                                                 {"Over voltage", kMajor},
                                                 {"Over current", kMajor},
                                                 {"Unspecified failure", kMajor},
                                                 {"Watchdog timer expire", kMinor},
                                                 {"Safety timer expire", kMinor},
                                                 {"Hot", kDegraded},
                                                 {"Cold", kDegraded},
                                                 {"Calibration required", kDegraded}};
  for (const auto& [word, health] : rows) {
    EXPECT_EQ(judged(changed(PowerSupply{}, [&](auto& p) { p.health = word; })).health, health)
        << word;
    EXPECT_EQ(judged(changed(Battery{}, [&](auto& b) { b.health = word; })).health, health) << word;
  }
}

TEST(PowerSupplyHealth, OfMainsWithoutInputIsDegraded) {
  PowerSupply mains;
  mains.type = "Mains";
  mains.online = 1;
  EXPECT_EQ(judged(mains).health, kOk);
  mains.online = 0;
  expectHealth(judged(mains), kDegraded, "offline: no input");
  mains.type = "USB";
  EXPECT_EQ(judged(mains).health, kOk);
}

TEST(BatteryHealth, FollowsLevelAndStatus) {
  Battery battery;
  battery.status = "Charging";
  battery.charge = 4;
  EXPECT_EQ(judged(battery).health, kOk);
  battery.capacityLevel = "Critical";
  expectHealth(judged(battery), kCritical, "charge critical (4 %)");
  battery.capacityLevel = "Low";
  expectHealth(judged(battery), kDegraded, "charge low (4 %)");
  battery.capacityLevel = "Normal";
  battery.status = "Discharging";
  expectHealth(judged(battery), kDegraded, "discharging (4 %)");
}

// ---- Disks ----

TEST(DiskHealth, FollowsEachBitOfTheCriticalWarning) {
  struct Row {
    std::uint16_t warning;
    Health health;
    const char* words;
  };
  const Row rows[] = {
      {1, kMajor, "critical warning: spare below threshold (3 %)"},
      {2, kMinor, "critical warning: temperature (81 C)"},
      {4, kCritical, "critical warning: reliability degraded"},
      {8, kCritical, "critical warning: media are read-only"},
      {16, kMajor, "critical warning: backup of volatile memory failed"},
      {32, kMajor, "critical warning: persistent memory region unreliable"},
  };
  for (const Row& row : rows) {
    Disk disk;
    disk.criticalWarning = row.warning;
    disk.spare = 3;
    disk.temperature = 81;
    expectHealth(judged(disk), row.health, row.words);
  }
}

TEST(DiskHealth, WarnsOfSpareAndWear) {
  Disk disk;
  disk.spare = 10;
  disk.spareThreshold = 10;
  disk.used = 99;
  EXPECT_EQ(judged(disk).health, kOk);
  disk.spare = 9;
  expectHealth(judged(disk), kMajor, "spare below threshold (9 %)");
  disk.spare = 100;
  disk.used = 100;
  expectHealth(judged(disk), kDegraded, "100 % of the expected life used");
}

TEST(DiskHealth, FollowsStateAndSmart) {
  for (const char* state : {"offline", "transport-offline", "dead", "failed"}) {
    expectHealth(judged(changed(Disk{}, [&](Disk& d) { d.state = state; })), kCritical,
                 std::string("device is ") + state);
  }
  for (const char* state : {"", "running", "live"}) {
    EXPECT_EQ(judged(changed(Disk{}, [&](Disk& d) { d.state = state; })).health, kOk);
  }
  expectHealth(judged(changed(Disk{}, [](Disk& d) { d.smartPassed = 0; })), kCritical,
               "SMART overall status: failed");
  EXPECT_EQ(judged(changed(Disk{}, [](Disk& d) { d.smartPassed = 1; })).health, kOk);
  expectHealth(judged(changed(Disk{}, [](Disk& d) { d.pendingSectors = 8; })), kDegraded,
               "8 pending sectors");
  expectHealth(judged(changed(Disk{}, [](Disk& d) { d.failurePrediction = "drive too hot"; })),
               kMajor, "predicts: drive too hot");
}

TEST(DiskHealth, GrowingMediaErrorsDegrade) {
  Disk before;
  before.mediaErrors = 4;
  Disk after;
  after.mediaErrors = 5;
  EXPECT_EQ(judged(before).health, kOk);
  expectHealth(judgedAfter(before, after), kDegraded, "1 new media errors since start (5 in all)");
}

// ---- Controllers and ports ----

TEST(ControllerHealth, FollowsGrowingErrors) {
  PciFunction before;
  before.correctableErrors = 1;
  before.nonFatalErrors = 1;
  before.fatalErrors = 1;
  EXPECT_EQ(judged(before).health, kOk);
  const auto after = [&](auto counter) {
    return judgedAfter(before, changed(before, [&](PciFunction& p) { p.*counter = 2; })).health;
  };
  EXPECT_EQ(after(&PciFunction::correctableErrors), kDegraded);
  EXPECT_EQ(after(&PciFunction::nonFatalErrors), kMajor);
  EXPECT_EQ(after(&PciFunction::fatalErrors), kCritical);
}

TEST(ControllerHealth, ALinkThatIsDownIsMajor) {
  PciFunction function;
  function.linkWidth = 0;
  EXPECT_EQ(judged(function).health, kOk);  // no link: it is not on PCI Express
  function.maxLinkWidth = 8;
  expectHealth(judged(function), kMajor, "PCI link down");
}

TEST(StoragePortHealth, AnEmptyPortIsOk) { EXPECT_EQ(judged(StoragePort{}).health, kOk); }

TEST(StoragePortHealth, ALinkThatWasUpAndIsDownIsMajor) {
  StoragePort up;
  up.speed = 6'000'000'000;
  expectHealth(judgedAfter(up, StoragePort{}), kMajor, "link down");
}

TEST(StoragePortHealth, ALinkThatWasUpAndIsNotToldIsUnknown) {
  StoragePort up;
  up.speed = 6'000'000'000;
  StoragePort silent;
  silent.refused = "no answer within 2 s";
  expectHealth(judgedAfter(up, silent), kUnknown, "no answer within 2 s");
}

TEST(StoragePortHealth, ADownLinkWithADeviceIsMajor) {
  StoragePort port;
  port.deviceAttached = 1;
  expectHealth(judged(port), kMajor, "link down");
  port.speed = 1;
  EXPECT_EQ(judged(port).health, kOk);
  port.linkState = "Link Rate Failed";
  EXPECT_EQ(judged(port).health, kMajor);
}

TEST(StoragePortHealth, GrowingCountersDegrade) {
  StoragePort before;
  before.invalidDwords = before.disparityErrors = before.lossesOfSync = before.resetProblems = 3;
  for (auto counter : {&StoragePort::invalidDwords, &StoragePort::disparityErrors,
                       &StoragePort::lossesOfSync, &StoragePort::resetProblems}) {
    EXPECT_EQ(judgedAfter(before, changed(before, [&](StoragePort& p) { p.*counter = 4; })).health,
              kDegraded);
  }
}

// ---- Arrays ----

Pool array(const char* level, std::uint32_t disks, std::uint32_t missing) {
  Pool pool;
  pool.level = level;
  pool.state = "clean";
  pool.disks = disks;
  pool.missing = missing;
  return pool;
}

TEST(PoolHealth, FollowsWhatTheLevelTolerates) {
  struct Row {
    const char* level;
    std::uint32_t disks, missing;
    Health health;
  };
  const Row rows[] = {
      {"raid1", 2, 0, kOk},        {"raid1", 2, 1, kDegraded},  {"raid1", 3, 2, kDegraded},
      {"raid1", 2, 2, kCritical},  {"raid5", 3, 1, kDegraded},  {"raid5", 3, 2, kCritical},
      {"raid6", 4, 2, kDegraded},  {"raid6", 4, 3, kCritical},  {"raid4", 3, 1, kDegraded},
      {"raid10", 4, 2, kDegraded}, {"raid10", 4, 3, kCritical}, {"raid0", 2, 1, kCritical},
      {"linear", 2, 1, kCritical},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(judged(array(row.level, row.disks, row.missing)).health, row.health)
        << row.level << " " << row.missing << " of " << row.disks;
  }
  expectHealth(judged(array("raid1", 2, 1)), kDegraded, "array degraded: 1 of 2 members missing");
  expectHealth(judged(array("raid0", 2, 1)), kCritical, "array failed: 1 of 2 members missing");
}

TEST(PoolHealth, FollowsTheCopiesOfARaid10) {
  struct Row {
    std::uint32_t disks, copies, missing;
    Health health;
  };
  const Row rows[] = {
      {3, 3, 2, kDegraded},           {3, 3, 3, kCritical}, {4, 2, 2, kDegraded},
      {4, 2, 3, kCritical},           {5, 2, 2, kDegraded}, {5, 2, 3, kCritical},
      {6, 3, 4, kDegraded},           {6, 3, 5, kCritical}, {4, 4, 3, kDegraded},
      {4, 4, 4, kCritical},           {2, 1, 1, kCritical}, {2, 0, 1, kCritical},
      {3, 4000000000u, 3, kCritical},
  };
  for (const Row& row : rows) {
    Pool pool = array("raid10", row.disks, row.missing);
    pool.copies = row.copies;
    EXPECT_EQ(judged(pool).health, row.health)
        << row.missing << " of " << row.disks << " with " << row.copies << " copies";
  }
}

TEST(PoolHealth, TellsThatItRebuilds) {
  Pool pool = array("raid1", 2, 1);
  pool.syncAction = "recover";
  expectHealth(judged(pool), kDegraded, "array degraded: 1 of 2 members missing, rebuilding");
}

TEST(PoolHealth, ABrokenOrInactiveArrayIsCritical) {
  for (const char* state : {"broken", "inactive"}) {
    Pool pool = array("raid1", 2, 0);
    pool.state = state;
    expectHealth(judged(pool), kCritical, std::string("array is ") + state);
  }
}

TEST(VolumeHealth, FollowsTheFileSystem) {
  Volume volume;
  volume.mountPoint = "/srv";
  volume.errors = 0;
  EXPECT_EQ(judged(volume).health, kOk);
  expectHealth(judged(changed(volume, [](Volume& v) { v.readOnlyRemount = true; })), kMajor,
               "file system at /srv became read-only");
  expectHealth(judged(changed(volume, [](Volume& v) { v.errors = 3; })), kMajor,
               "3 file system errors");
  expectHealth(judged(changed(volume, [](Volume& v) { v.suspended = true; })), kDegraded,
               "suspended: requests wait");
}

TEST(ExtentHealth, FollowsTheMembersState) {
  const std::pair<const char*, Health> rows[] = {{"in_sync", kOk},
                                                 {"spare", kOk},
                                                 {"", kOk},
                                                 {"faulty", kCritical},
                                                 {"faulty,spare", kCritical},
                                                 {"in_sync,blocked", kMajor},
                                                 {"in_sync,write_error", kDegraded},
                                                 {"in_sync,want_replacement", kDegraded},
                                                 {"not_faulty", kOk}};
  for (const auto& [state, health] : rows) {
    EXPECT_EQ(judged(changed(Extent{}, [&](Extent& e) { e.state = state; })).health, health)
        << state;
  }
  Extent before;
  before.errors = 0;
  Extent after;
  after.errors = 8;
  expectHealth(judgedAfter(before, after), kDegraded,
               "8 new corrected read errors since start (8 in all)");
}

// ---- All ----

TEST(RefusedHealth, IsUnknownWithTheReason) {
  Disk disk;
  disk.refused = "asleep";
  expectHealth(judged(disk), kUnknown, "asleep");
}

TEST(RefusedHealth, DoesNotHideWhatIsKnown) {
  Disk disk;
  disk.refused = "permission denied";
  disk.state = "offline";
  EXPECT_EQ(judged(disk).health, kCritical);
  EXPECT_THAT(judged(disk).words, ElementsAre("device is offline", "permission denied"));
}

TEST(OperationalStatus, FollowsHealth) {
  EXPECT_EQ(operationalStatusOf(kUnknown), 0);
  EXPECT_EQ(operationalStatusOf(kOk), 2);
  EXPECT_EQ(operationalStatusOf(kDegraded), 3);
  EXPECT_EQ(operationalStatusOf(kMinor), 6);
  EXPECT_EQ(operationalStatusOf(kMajor), 6);
  EXPECT_EQ(operationalStatusOf(kCritical), 6);
  EXPECT_EQ(operationalStatusOf(kNonRecoverable), 7);
}

const char* wordFor(Health health) {
  switch (health) {
    case kDegraded:
      return "10 degraded";
    case kMinor:
      return "15 minor";
    case kMajor:
      return "20 major";
    case kCritical:
      return "25 critical";
    default:
      return "?";
  }
}

// The page shows the rules between two lines that mark them.
TEST(HealthRules, AreDocumentedAsTheyAre) {
  std::ifstream in(ORV_SOURCE_DIR "/docs/hardware.md");
  ASSERT_TRUE(in.good());
  std::ostringstream text;
  text << in.rdbuf();
  std::string rules = "| element | condition | HealthState |\n|---|---|---|\n";
  for (const DocumentedRule& rule : documentedRules()) {
    rules += "| " + rule.element + " | " + rule.condition + " | " + wordFor(rule.health) + " |\n";
  }
  EXPECT_NE(text.str().find(rules), std::string::npos) << "expected in docs/hardware.md:\n"
                                                       << rules;
}

}  // namespace
}  // namespace Hardware
