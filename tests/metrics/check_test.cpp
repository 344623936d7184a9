#include "metrics/check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/metrics/scripted_host.h"

namespace orv::test {
namespace {

using metrics::CheckResult;
using metrics::CheckSettings;
using metrics::CheckState;
using metrics::HeartbeatFacts;
using metrics::HostFacts;
using metrics::PortFacts;
using metrics::StoredState;
using metrics::ThresholdRange;
using metrics::Verdict;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr double kNow = 1'700'000'000;

HostFacts goodHost() {
  HostFacts facts;
  facts.host = "host-7";
  facts.bootTime = kNow - 86'400;
  facts.rollup = 5;
  facts.ports = {{"eth0", true, true, 100}, {"eth1", false, false, 0}};
  return facts;
}

StoredState before(double seconds, std::uint64_t errors) {
  return {CheckState{kNow - seconds, "host-7", {{"eth0", errors}}}, ""};
}

CheckResult judge(const HostFacts& facts, const StoredState& previous = {},
                  const CheckSettings& settings = metrics::defaultCheck()) {
  return metrics::judge(facts, HeartbeatFacts{kNow - 2, 5}, previous, settings, kNow);
}

TEST(Check, AGoodHostIsToldInOneLineWithItsFigures) {
  const CheckResult result = judge(goodHost());
  EXPECT_EQ(result.verdict, Verdict::kOk);
  EXPECT_EQ(result.line,
            "ORVANE OK - health OK; no latched record; 1 port up; heartbeat 2 s ago |"
            " 'health'=5;~:5;~:15;0 'latched'=0;;;0 'latched_worst'=0;~:5;~:15;0"
            " 'ports_down'=0;0;;0 'heartbeat_age'=2s;;;0");
}

TEST(Check, HealthIsAWarningAndFromMajorFailuresOnCritical) {
  for (const auto& [health, verdict] : {std::pair<double, Verdict>{0, Verdict::kOk},
                                        {5, Verdict::kOk},
                                        {10, Verdict::kWarning},
                                        {15, Verdict::kWarning},
                                        {20, Verdict::kCritical},
                                        {30, Verdict::kCritical}}) {
    HostFacts facts = goodHost();
    facts.rollup = health;
    EXPECT_EQ(judge(facts).verdict, verdict) << health;
    facts = goodHost();
    facts.records = {{"CIM_Sensor fan-1", health}};
    EXPECT_EQ(judge(facts).verdict, verdict) << "latched " << health;
  }
}

TEST(Check, LatchedElementsAreNamed) {
  HostFacts facts = goodHost();
  facts.records = {{"CIM_Sensor fan-1", 10}, {"CIM_Sensor t", 0}, {"Orvane_DiskDrive sda", 25}};
  const CheckResult result = judge(facts);
  EXPECT_EQ(result.verdict, Verdict::kCritical);
  EXPECT_THAT(result.line, StartsWith("ORVANE CRITICAL - latched: CIM_Sensor fan-1 was degraded, "
                                      "Orvane_DiskDrive sda was critical failure |"));
  EXPECT_THAT(result.line, HasSubstr("'latched'=3;;;0 'latched_worst'=25;~:5;~:15;0"));
}

TEST(Check, AnEnabledPortWithoutALinkIsDown) {
  HostFacts facts = goodHost();
  facts.ports[0].up = false;
  const CheckResult result = judge(facts);
  EXPECT_EQ(result.verdict, Verdict::kWarning);
  EXPECT_THAT(result.line, StartsWith("ORVANE WARNING - down: eth0 |"));
  EXPECT_THAT(result.line, HasSubstr("'ports_down'=1;0;;0"));
}

TEST(Check, NamedPortsMustBeThereAndUp) {
  CheckSettings settings = metrics::defaultCheck();
  settings.ports = {"eth1", "eth9"};
  settings.down.critical = ThresholdRange::parse("1");
  HostFacts facts = goodHost();
  facts.ports[0].up = false;
  const CheckResult result = judge(facts, {}, settings);
  EXPECT_EQ(result.verdict, Verdict::kCritical);
  EXPECT_THAT(result.line, HasSubstr(" - down: eth1, eth9 (missing) |"));
}

TEST(Check, APortThatDoesNotTellItsStateIsUnknown) {
  HostFacts facts = goodHost();
  facts.ports[1].enabled = facts.ports[1].up = std::nullopt;
  const CheckResult result = judge(facts);
  EXPECT_EQ(result.verdict, Verdict::kUnknown);
  EXPECT_THAT(result.line, StartsWith("ORVANE UNKNOWN - port eth1 does not report its state |"));
}

TEST(Check, ErrorsPerSecondAreToldBetweenTwoRuns) {
  const CheckResult few = judge(goodHost(), before(60, 70));
  EXPECT_EQ(few.verdict, Verdict::kOk);
  EXPECT_THAT(few.line, HasSubstr("'eth0_errors'=0.5;1;10;0"));
  EXPECT_EQ(judge(goodHost(), before(30, 10)).verdict, Verdict::kWarning);
  const CheckResult many = judge(goodHost(), before(5, 0));
  EXPECT_EQ(many.verdict, Verdict::kCritical);
  EXPECT_THAT(many.line, HasSubstr("port eth0: 20 errors per second"));
  ASSERT_TRUE(many.next);
  EXPECT_EQ(many.next->time, kNow);
  EXPECT_EQ(many.next->host, "host-7");
  EXPECT_EQ(many.next->errors.at("eth0"), 100U);
}

TEST(Check, StatesThatTellNothingAreBegunAnew) {
  struct Row {
    StoredState previous;
    const char* note;
  };
  StoredState other = before(60, 0);
  other.state->host = "host-8";
  const Row rows[] = {{before(-60, 0), "from the future"},
                      {before(90'000, 0), "was restarted since the last check"},
                      {other, "is of host host-8"},
                      {{std::nullopt, "state file /x is damaged"}, "/x is damaged"}};
  for (const Row& row : rows) {
    const CheckResult result = judge(goodHost(), row.previous);
    EXPECT_EQ(result.verdict, Verdict::kOk) << row.note;
    EXPECT_THAT(result.line, HasSubstr(row.note));
    EXPECT_THAT(result.line, Not(HasSubstr("_errors")));
    ASSERT_TRUE(result.next) << row.note;
    EXPECT_EQ(result.next->time, kNow);
  }
}

TEST(Check, ACounterThatWentBackAndANewPortTellNoRate) {
  const CheckResult result = judge(goodHost(), before(60, 101));
  EXPECT_EQ(result.verdict, Verdict::kOk);
  EXPECT_THAT(result.line, Not(HasSubstr("_errors")));
  ASSERT_TRUE(result.next);
  EXPECT_EQ(result.next->errors.at("eth0"), 100U);
}

TEST(Check, TwoRunsInOneSecondKeepTheEarlierState) {
  const CheckResult result = judge(goodHost(), before(0.5, 0));
  EXPECT_FALSE(result.next);
  EXPECT_THAT(result.line, Not(HasSubstr("_errors")));
}

TEST(Check, AHeartbeatThatDoesNotComeIsCritical) {
  const CheckResult result = metrics::judge(goodHost(), HeartbeatFacts{std::nullopt, 5}, {},
                                            metrics::defaultCheck(), kNow);
  EXPECT_EQ(result.verdict, Verdict::kCritical);
  EXPECT_THAT(result.line, HasSubstr("no heartbeat in 5 s"));
}

TEST(Check, TheHeartbeatsAgeHasThresholds) {
  CheckSettings settings = metrics::defaultCheck();
  settings.heartbeat.warning = ThresholdRange::parse("1");
  const CheckResult result = judge(goodHost(), {}, settings);
  EXPECT_EQ(result.verdict, Verdict::kWarning);
  EXPECT_THAT(result.line, HasSubstr("last heartbeat 2 s ago"));
  EXPECT_THAT(result.line, EndsWith("'heartbeat_age'=2s;1;;0"));
  EXPECT_THAT(metrics::judge(goodHost(), std::nullopt, {}, settings, kNow).line,
              Not(HasSubstr("heartbeat")))
      << "where it is not looked at";
}

TEST(Check, AFaultThatIsSeenComesBeforeOneThatCannotBeSeen) {
  HostFacts facts = goodHost();
  facts.failures = {"Orvane_EPStatisticalInformation cannot be read: failed"};
  EXPECT_EQ(judge(facts).verdict, Verdict::kUnknown);
  facts.rollup = 10;
  const CheckResult result = judge(facts);
  EXPECT_EQ(result.verdict, Verdict::kWarning);
  EXPECT_THAT(result.line, HasSubstr("health degraded; Orvane_EPStatisticalInformation cannot"));
}

TEST(Check, OddNamesBreakNeitherTheLineNorTheFigures) {
  HostFacts facts = goodHost();
  facts.ports = {{"a|b'c=d\ne", true, false, 5}};
  StoredState previous = before(60, 0);
  previous.state->errors = {{"a|b'c=d\ne", 0}};
  const CheckResult result = judge(facts, previous);
  EXPECT_THAT(result.line, HasSubstr("down: a/b'c=d e |"));
  EXPECT_THAT(result.line, HasSubstr("'a/b''c_d e_errors'=0.0833;1;10;0"));
  EXPECT_THAT(result.line, Not(HasSubstr("\n")));
}

TEST(Check, ReadsTheHost) {
  ScriptedHost host;
  host.instances["Orvane_RollupHealthState"] = {
      instance("Orvane_RollupHealthState", {{"HealthState", number(10, CMPI_uint16)}})};
  host.instances["Orvane_LatchedHealthState"] = {
      instance("Orvane_LatchedHealthState", {{"EventId", text("0")},
                                             {"LatchedClassName", text("CIM_Sensor")},
                                             {"HealthState", number(20, CMPI_uint16)}})};
  host.elements["0"].keys = {{"DeviceID", text("fan-1")}};
  host.instances["Orvane_EthernetPort"] = {
      instance("Orvane_EthernetPort", {{"DeviceID", text("eth0")},
                                       {"SystemName", text("host-7")},
                                       {"EnabledState", number(6, CMPI_uint16)}}),
      instance("Orvane_EthernetPort",
               {{"DeviceID", text("eth1")}, {"SystemName", text("host-7")}})};
  host.instances["Orvane_EPStatisticalInformation"] = {
      instance("Orvane_EPStatisticalInformation",
               {{"InstanceID", text("Orvane:Orvane_EPStatisticalInformation:eth0")},
                {"errorsRx", number(3)},
                {"errorsTx", number(4)}})};
  host.instances["Orvane_HypervisorSoftwareIdentity"] = {
      instance("Orvane_HypervisorSoftwareIdentity", {{"LastStartTime", time(1600000000)}})};
  const HostFacts facts = metrics::readHost(host.ask(), "root/cimv2");
  EXPECT_EQ(facts.host, "host-7");
  EXPECT_EQ(facts.bootTime, 1600000000);
  EXPECT_EQ(facts.rollup, 10);
  ASSERT_EQ(facts.records.size(), 1U);
  EXPECT_EQ(facts.records[0].element, "CIM_Sensor fan-1");
  EXPECT_EQ(facts.records[0].health, 20);
  ASSERT_EQ(facts.ports.size(), 2U);
  EXPECT_EQ(facts.ports[0].enabled, true);
  EXPECT_EQ(facts.ports[0].up, false);
  EXPECT_EQ(facts.ports[0].errors, 7U);
  EXPECT_FALSE(facts.ports[1].up);
  EXPECT_FALSE(facts.ports[1].errors);
  EXPECT_TRUE(facts.failures.empty());
}

TEST(Check, ClassesThatFailAreTold) {
  ScriptedHost host;
  host.failures["Orvane_EthernetPort"] = CMPI_RC_ERR_FAILED;
  const HostFacts facts = metrics::readHost(host.ask(), "root/cimv2");
  ASSERT_EQ(facts.failures.size(), 1U);
  EXPECT_THAT(facts.failures[0], StartsWith("Orvane_EthernetPort cannot be read: "));
}

}  // namespace
}  // namespace orv::test
