#include "framework/broker_process.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <vector>

#include "framework/thread_times.h"

namespace {

using ORV::brokerAge;
using ORV::brokerStart;
using ORV::parseProcessStat;
using ORV::ProcessStat;
using ORV::readProcessStat;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

constexpr char kRest[] =
    " 1 7 7 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0 98765 1000 200 18446744073709551615\n";

std::optional<ProcessStat> named(const std::string& name) {
  return parseProcessStat("42 (" + name + ") S" + kRest);
}

TEST(ProcessStat, HasNameParentAndStart) {
  const auto stat = named("sfcbd");
  ASSERT_TRUE(stat);
  EXPECT_EQ(stat->name, "sfcbd");
  EXPECT_EQ(stat->parent, 1);
  EXPECT_EQ(stat->startTicks, 98765U);
  EXPECT_FALSE(stat->ended);
}

TEST(ProcessStat, OfAProcessThatHasEnded) {
  for (const char* state : {"Z", "X"}) {
    const auto stat = parseProcessStat(std::string("42 (sfcbd) ") + state + kRest);
    ASSERT_TRUE(stat);
    EXPECT_TRUE(stat->ended) << state;
  }
}

TEST(ProcessStat, HasANameOfAnyBytes) {
  for (const char* name : {"tmux: server", "(sd-pam)", "a) S 9 9", ") S 1", "", " ", "((", "\n"}) {
    const auto stat = named(name);
    ASSERT_TRUE(stat) << name;
    EXPECT_EQ(stat->name, name);
    EXPECT_EQ(stat->parent, 1) << name;
    EXPECT_EQ(stat->startTicks, 98765U) << name;
  }
}

TEST(ProcessStat, OfAnotherFormIsNone) {
  const std::string whole = "42 (sfcbd) S" + std::string(kRest);
  const std::size_t start = whole.find(" 98765");
  for (std::size_t size = 0; size <= start + 1; ++size) {
    EXPECT_FALSE(parseProcessStat(whole.substr(0, size))) << size;
  }
  EXPECT_TRUE(parseProcessStat(whole.substr(0, start + 6)));
  EXPECT_FALSE(parseProcessStat("42 (sfcbd) S x 7 7 0 -1 4 1 2 3 4 5 6 7 8 20 0 1 0 98765 1\n"));
  EXPECT_FALSE(parseProcessStat("42 (sfcbd) S 1 7 7 0 -1 4 1 2 3 4 5 6 7 8 20 0 1 0 -98765 1\n"));
  EXPECT_FALSE(parseProcessStat(") S ("));
}

TEST(ProcessStat, OfThisProcessIsRead) {
  const auto stat = readProcessStat(getpid());
  ASSERT_TRUE(stat);
  EXPECT_EQ(stat->parent, getppid());
  EXPECT_GT(stat->startTicks, 0U);
}

TEST(ProcessStat, OfNoProcessIsNone) { EXPECT_FALSE(readProcessStat(-1)); }

/// A table of processes: number, then name, parent, start.
using Processes = std::map<pid_t, ProcessStat>;

std::optional<std::uint64_t> startOfBroker(const Processes& processes, pid_t process) {
  const auto read = [&](pid_t number) -> std::optional<ProcessStat> {
    const auto entry = processes.find(number);
    return entry == processes.end() ? std::nullopt : std::optional(entry->second);
  };
  const auto all = [&] {
    std::vector<pid_t> numbers = {99};  // one that has gone meanwhile
    for (const auto& [number, stat] : processes) numbers.push_back(number);
    return numbers;
  };
  EXPECT_EQ(ORV::belongsToBroker(process, {read, all}),
            brokerStart(process, {read, all}).has_value());
  return brokerStart(process, {read, all});
}

TEST(Broker, IsTheDaemonThatForkedTheProcess) {
  const Processes processes = {
      {1, {"systemd", 0, 1}}, {10, {"sfcbd", 1, 500}}, {20, {"sfcbd", 10, 600}}};
  EXPECT_EQ(startOfBroker(processes, 20), 500U);
}

// As sfcb's: HTTP, class and interop processes are children of the daemon, requests their children.
TEST(Broker, ThatWasRestartedIsAsOldAsItsOldestChild) {
  Processes processes = {{1, {"systemd", 0, 1}},    {10, {"sfcbd", 1, 500}},
                         {20, {"sfcbd", 10, 9000}}, {21, {"sfcbd", 10, 9010}},
                         {22, {"sfcbd", 20, 9500}}, {30, {"sfcbd", 10, 9100}},
                         {40, {"other", 1, 2}}};
  EXPECT_EQ(startOfBroker(processes, 30), 9000U);
  EXPECT_EQ(startOfBroker(processes, 20), 9010U) << "its own age says nothing";
  EXPECT_EQ(startOfBroker(processes, 22), 9010U) << "nor that of its branch";
  EXPECT_EQ(startOfBroker(processes, 10), 9000U);
  processes[15] = {"sfcbd", 10, 600, true};
  EXPECT_EQ(startOfBroker(processes, 30), 9000U) << "one that has ended is from before";
}

TEST(Broker, WithOldChildrenIsOldForAProcessThatHasJustCome) {
  const Processes processes = {
      {10, {"sfcbd", 1, 500}}, {20, {"sfcbd", 10, 510}}, {30, {"sfcbd", 10, 9100}}};
  EXPECT_EQ(startOfBroker(processes, 30), 510U);
}

TEST(Broker, IsTheFarthestOfThatName) {
  const Processes processes = {{1, {"init", 0, 1}},
                               {10, {"sfcbd", 1, 500}},
                               {15, {"sh", 10, 550}},
                               {20, {"sfcbd", 15, 600}},
                               {25, {"other", 20, 650}}};
  EXPECT_EQ(startOfBroker(processes, 25), 500U);
}

TEST(Broker, IsNoneWithoutAProcessOfItsVeryName) {
  const Processes processes = {
      {1, {"systemd", 0, 1}}, {10, {"sfcbd-wrapper", 1, 5}}, {20, {"orvcim", 10, 6}}};
  EXPECT_FALSE(startOfBroker(processes, 20));
  EXPECT_FALSE(startOfBroker(processes, 30)) << "no such process";
}

TEST(Broker, IsSoughtAsFarAsProcessesCanBeSeen) {
  EXPECT_EQ(startOfBroker({{20, {"sfcbd", 10, 600}}}, 20), 600U);
  EXPECT_EQ(startOfBroker({{20, {"sfcbd", 0, 600}}}, 20), 600U);
}

TEST(Broker, IsSoughtWithoutEndlessClimbing) {
  EXPECT_EQ(startOfBroker({{20, {"sfcbd", 21, 600}}, {21, {"sh", 20, 700}}}, 20), 600U);
}

TEST(BrokerAge, IsNoneWhereNoBrokerRuns) {
  if (brokerStart(getpid(), ORV::thisMachine())) GTEST_SKIP() << "the tests run below a broker";
  EXPECT_FALSE(brokerAge(getpid()));
}

/// Whether `check` holds in the child of a process named "sfcbd" that has just started.
bool holdsBelowABroker(const std::function<bool()>& check) {
  const pid_t daemon = fork();
  if (daemon == 0) {
    prctl(PR_SET_NAME, "sfcbd");
    const pid_t provider = fork();
    if (provider == 0) {
      prctl(PR_SET_NAME, "provider (1) S");
      _exit(check() ? 0 : 1);
    }
    int status = -1;
    waitpid(provider, &status, 0);
    _exit(status == 0 ? 0 : 1);
  }
  int status = -1;
  waitpid(daemon, &status, 0);
  return status == 0;
}

TEST(BrokerAge, GrowsFromZeroBelowADaemonThatHasJustStarted) {
  EXPECT_TRUE(holdsBelowABroker([] {
    const auto first = brokerAge(getpid());
    usleep(30'000);
    const auto second = brokerAge(getpid());
    return first && second && *first >= 0s && *first < 5s && *second - *first >= 20ms;
  }));
}

TEST(BrokerAge, BeginsAnewWithTheChildrenOfARestartedDaemon) {
  const pid_t daemon = fork();
  if (daemon == 0) {
    prctl(PR_SET_NAME, "sfcbd");
    usleep(50'000);
    const pid_t other = fork();
    if (other == 0) pause();
    const pid_t provider = fork();
    if (provider == 0) {
      const auto start = brokerStart(getpid(), ORV::thisMachine());
      const bool isTheOthers = start == readProcessStat(other)->startTicks;
      _exit(isTheOthers && start > readProcessStat(getppid())->startTicks ? 0 : 1);
    }
    int status = -1;
    waitpid(provider, &status, 0);
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
    _exit(status == 0 ? 0 : 1);
  }
  int status = -1;
  waitpid(daemon, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST(Deliveries, WaitUntilABrokerHasRunForTenSeconds) {
  EXPECT_TRUE(holdsBelowABroker([] {
    const auto left = ORV::brokerStartupLeft();
    return left > 5s && left <= 10s;
  }));
}

// A call that waits for an sfcb that stops never returns.
TEST(AStop, WaitsLessForThreadsBelowABroker) {
  EXPECT_TRUE(holdsBelowABroker([] { return ORV::stopPatience() == 300ms; }));
}

TEST(Times, AreTheUsualOnesWhereNoBrokerRuns) {
  if (ORV::belongsToBroker(getpid(), ORV::thisMachine()))
    GTEST_SKIP() << "the tests run below a broker";
  EXPECT_LE(ORV::brokerStartupLeft(), 0s);
  EXPECT_EQ(ORV::stopPatience(), 5s);
}

}  // namespace
