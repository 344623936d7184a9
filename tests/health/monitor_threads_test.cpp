#include "health/monitor_threads.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <future>
#include <mutex>
#include <thread>

#include "health/latched_health_association.h"
#include "health/latched_health_state.h"
#include "health/monitor_state.h"
#include "tests/health/health_fixture.h"
#include "tests/health/test_interfaces.h"
#include "tests/health/test_period.h"
#include "tests/support/syslog_capture.h"

namespace orv::test {

namespace {

using broker::Fault;
using broker::RequestScope;
using OrvLatchedHealth::MonitorState;
using OrvLatchedHealth::monitorState;
using OrvLatchedHealth::OrvLatchedHealthState;
using OrvLatchedHealth::startMonitorThreads;
using OrvLatchedHealth::stopMonitorThreads;
using ::testing::Contains;
using ::testing::IsEmpty;
using std::chrono_literals::operator""s;
using std::chrono_literals::operator""ms;

constexpr auto kPatience = 30s;

using Lock = std::unique_lock<OMC::Mutex>;

Lock lockState() { return Lock(monitorState().latchedHealthMutex); }

/// Until `condition`, asked with the state locked, is true; false when that takes too long.
template <typename Condition>
bool eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < end) {
    {
      const Lock lock = lockState();
      if (condition()) return true;
    }
    std::this_thread::sleep_for(1ms);
  }
  return false;
}

/// With the state locked.
int runningThreads() {
  return int{monitorState().healthMonitor.isRunning()} +
         int{monitorState().kernelIpMonitor.isRunning()};
}

/// Until each has done its work once and waits.
bool bothWait() {
  return eventually([] { return periodsAskedFor().size() >= 2; });
}

/// A place in a poll cycle where the health monitor stands until it is let go.
class Stop {
 public:
  explicit Stop(const std::string& className) {
    // The thread may still be in the gate when the stop is gone: it has a share of it.
    scriptedHardware().onCall([className, gate = gate_](const std::string& name) {
      if (name == className) gate->stand();
    });
  }
  ~Stop() {
    letGo();
    scriptedHardware().onCall(nullptr);
  }

  void waitForArrival() {
    std::unique_lock<std::mutex> lock(gate_->mutex);
    gate_->changed.wait(lock, [&] { return gate_->arrived; });
  }
  void letGo() {
    const std::lock_guard<std::mutex> lock(gate_->mutex);
    gate_->open = true;
    gate_->changed.notify_all();
  }

 private:
  struct Gate {
    std::mutex mutex;
    std::condition_variable changed;
    bool arrived = false;
    bool open = false;

    void stand() {
      std::unique_lock<std::mutex> lock(mutex);
      arrived = true;
      changed.notify_all();
      changed.wait(lock, [&] { return open; });
    }
  };

  std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
};

class MonitorThreads : public HealthTest {
 protected:
  using HealthTest::HealthTest;
  ~MonitorThreads() override {
    scriptedHardware().onCall(nullptr);
    stopMonitorThreads();
    monitorState().kernelIpIndication.disableIndication();
    const Lock lock = lockState();
    EXPECT_EQ(runningThreads(), 0);
  }

  void start() { startMonitorThreads(binding(), context()); }
};

TEST_F(MonitorThreads, AreTwo) {
  start();
  const Lock lock = lockState();
  EXPECT_EQ(runningThreads(), 2);
}

TEST_F(MonitorThreads, PollOnceAtOnceAndWaitTheirPeriods) {
  start();
  ASSERT_TRUE(eventually([] { return periodsAskedFor().size() == 2; }));
  EXPECT_THAT(periodsAskedFor(), ::testing::UnorderedElementsAre(120, 30));
  EXPECT_EQ(scriptedHardware().calls().size(), monitoredClasses().size());
}

TEST_F(MonitorThreads, PollAgainWhenThePeriodIsOver) {
  setPeriodMilliseconds(1);
  start();
  EXPECT_TRUE(eventually(
      [] { return scriptedHardware().calls().size() >= 3 * monitoredClasses().size(); }));
}

TEST_F(MonitorThreads, ASecondInitializeStartsNone) {
  OrvLatchedHealthState first(binding(), context());
  OrvLatchedHealthState second(binding(), context());
  EXPECT_EQ(first.initialize(context()).rc(), CMPI_RC_OK);
  EXPECT_EQ(second.initialize(context()).rc(), CMPI_RC_OK) << "before they run, or after";
  ASSERT_TRUE(bothWait());
  EXPECT_EQ(second.initialize(context()).rc(), CMPI_RC_OK);
  stopMonitorThreads();
  EXPECT_THAT(periodsAskedFor(), ::testing::UnorderedElementsAre(120, 30));
  EXPECT_EQ(scriptedHardware().calls().size(), monitoredClasses().size());
}

TEST_F(MonitorThreads, StoppedBeforeTheyRanAreJoinedToo) {
  for (int i = 0; i < 200; ++i) {
    start();
    start();
    stopMonitorThreads();
    {
      const Lock lock = lockState();
      EXPECT_EQ(runningThreads(), 0);
    }
    resetMonitorState();
  }
}

TEST_F(MonitorThreads, StopWithinASecondWhileTheyWait) {
  start();
  ASSERT_TRUE(eventually([] { return periodsAskedFor().size() == 2; }));
  const auto begin = std::chrono::steady_clock::now();
  stopMonitorThreads();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
}

TEST_F(MonitorThreads, StopAfterTheCycleThatIsUnderWay) {
  Stop stop("CIM_Processor");
  start();
  stop.waitForArrival();
  auto stopped = std::async(std::launch::async, [] { stopMonitorThreads(); });
  EXPECT_EQ(stopped.wait_for(50ms), std::future_status::timeout);
  const auto begin = std::chrono::steady_clock::now();
  stop.letGo();
  stopped.get();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
  EXPECT_EQ(scriptedHardware().calls().size(), monitoredClasses().size())
      << "the cycle was finished, no other begun";
}

TEST_F(MonitorThreads, StopIsSafeAgainstItselfAndEveryCallerReturnsAfterTheirEnd) {
  for (int i = 0; i < 20; ++i) {
    start();
    std::vector<std::future<int>> callers;
    for (int caller = 0; caller < 4; ++caller) {
      callers.push_back(std::async(std::launch::async, [] {
        stopMonitorThreads();
        const Lock lock = lockState();
        return runningThreads();
      }));
    }
    for (auto& caller : callers) EXPECT_EQ(caller.get(), 0);
    resetMonitorState();
  }
}

TEST_F(MonitorThreads, StopWithoutThreadsReturns) {
  stopMonitorThreads();
  stopMonitorThreads();
}

TEST_F(MonitorThreads, StartedAfterAStopEndAtOnceWithoutPolling) {
  stopMonitorThreads();
  start();
  stopMonitorThreads();
  EXPECT_THAT(scriptedHardware().calls(), IsEmpty());
  EXPECT_THAT(periodsAskedFor(), IsEmpty());
}

TEST_F(MonitorThreads, TerminatingCleanupStopsThem) {
  OrvLatchedHealthState provider(binding(), context());
  provider.initialize(context());
  ASSERT_TRUE(bothWait());
  EXPECT_EQ(provider.cleanup(context(), true).rc(), CMPI_RC_OK);
  EXPECT_EQ(provider.cleanup(context(), true).rc(), CMPI_RC_OK);
  const Lock lock = lockState();
  EXPECT_EQ(runningThreads(), 0);
}

TEST_F(MonitorThreads, TerminatingCleanupOfTheAssociationStopsThem) {
  OrvLatchedHealth::OrvLatchedHealthAssociation* const provider =
      new OrvLatchedHealth::OrvLatchedHealthAssociation(binding(), context());
  start();
  ASSERT_TRUE(bothWait());
  EXPECT_EQ(provider->cleanup(context(), true).rc(), CMPI_RC_OK);
  {
    const Lock lock = lockState();
    EXPECT_EQ(runningThreads(), 0);
  }
  delete provider;
}

TEST_F(MonitorThreads, OtherCleanupLeavesThemRunning) {
  OrvLatchedHealthState provider(binding(), context());
  provider.initialize(context());
  ASSERT_TRUE(bothWait());
  EXPECT_EQ(provider.cleanup(context(), false).rc(), CMPI_RC_NEVER_UNLOAD);
  const Lock lock = lockState();
  EXPECT_EQ(runningThreads(), 2);
}

TEST_F(MonitorThreads, LeaveTheStopSignalToOthers) {
  std::promise<bool> blocked;
  std::atomic<bool> asked{false};
  scriptedHardware().onCall([&](const std::string&) {
    if (asked.exchange(true)) return;
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    blocked.set_value(sigismember(&mask, SIGUSR1) == 1);
  });
  start();
  EXPECT_TRUE(blocked.get_future().get());
  ASSERT_TRUE(eventually([] { return scriptedHardware().calls().size() == 12; }));
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGUSR1), 0) << "the starting thread's mask is as before";
}

TEST_F(MonitorThreads, HoldTheMutexForAWholeCycle) {
  Stop stop("Orvane_StoragePool");
  start();
  stop.waitForArrival();
  EXPECT_FALSE(monitorState().latchedHealthMutex.try_lock());
  stop.letGo();
}

TEST_F(MonitorThreads, RollUpChangesWhenACycleEnds) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "a", 25)});
  monitorState().rollupHealthState = 5;
  Stop stop("Orvane_StoragePool");
  start();
  stop.waitForArrival();
  EXPECT_EQ(monitorState().rollupHealthState, 5);
  stop.letGo();
  EXPECT_TRUE(eventually([] { return monitorState().rollupHealthState == 25; }));
}

TEST_F(MonitorThreads, ReadersOfLatchesWaitForTheCycle) {
  scriptedHardware().set("CIM_Sensor", {device("CIM_Sensor", "a", 25)});
  scriptedHardware().set("Orvane_DiskDrive", {device("Orvane_DiskDrive", "d", 10)});
  Stop stop("CIM_PowerSupply");  // the sensor is latched by now, the disk is not
  start();
  stop.waitForArrival();
  auto reader = std::async(std::launch::async, [this] {
    RequestScope scope(broker_);
    broker::RecordingResult sink(scope);
    CmpiResult result(sink.record());
    OrvLatchedHealthState provider(CmpiBroker(scope.broker()), CmpiContext(scope.context()));
    provider.enumInstances(CmpiContext(scope.context()), result,
                           makePath("Orvane_LatchedHealthState", {}), nullptr);
    return sink.instances().size();
  });
  EXPECT_EQ(reader.wait_for(50ms), std::future_status::timeout);
  stop.letGo();
  EXPECT_EQ(reader.get(), 2u);
}

TEST_F(MonitorThreads, AThreadThatTheBrokerRefusesEnds) {
  broker_.inject({"bft.attachThread", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  start();
  stopMonitorThreads();
  EXPECT_THAT(scriptedHardware().calls(), IsEmpty());
}

TEST_F(MonitorThreads, ThreadsThatTheBrokerRefusedAreNoneThatRun) {
  broker_.inject({"bft.attachThread", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  start();
  ASSERT_TRUE(eventually([] { return runningThreads() == 0; }));
  broker_.clearFaults();
  start();
  EXPECT_TRUE(bothWait());
}

TEST_F(MonitorThreads, WithoutAContextForAThreadNoneIsStarted) {
  broker_.inject({"bft.prepareAttachThread", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  EXPECT_THROW(start(), CmpiStatus);
  const Lock lock = lockState();
  EXPECT_EQ(runningThreads(), 0);
}

/// The broker fails to prepare a context for one monitor, `number` 0 or 1, once.
Fault failingContext(int number, Fault::Effect effect) {
  return {"bft.prepareAttachThread", effect, CMPI_RC_ERR_FAILED, number, 1};
}

TEST_F(MonitorThreads, OneWithoutAContextDoesNotKeepTheOtherFromStarting) {
  for (const auto effect : {Fault::Effect::kStatus, Fault::Effect::kNullResult}) {
    for (const int number : {0, 1}) {
      broker_.inject(failingContext(number, effect));
      EXPECT_THROW(start(), CmpiStatus);
      {
        const Lock lock = lockState();
        EXPECT_EQ(monitorState().healthMonitor.isRunning(), number == 1);
        EXPECT_EQ(monitorState().kernelIpMonitor.isRunning(), number == 0);
      }
      start();
      {
        const Lock lock = lockState();
        EXPECT_EQ(runningThreads(), 2) << "the next one starts what is missing";
      }
      stopMonitorThreads();
      resetMonitorState();
    }
  }
}

/// With indications wanted and the detector's first snapshot taken.
class KernelIpMonitor : public MonitorThreads {
 protected:
  KernelIpMonitor() {
    setInterfaceAddress("10.0.0.1");
    setPeriodMilliseconds(1);
    monitorState().kernelIpIndication.enableIndication();
  }

  /// Between two passes: what changes while one is under way is not reported.
  static void replaceAddress(const std::string& dotted) {
    const Lock lock = lockState();
    setInterfaceAddress(dotted);
  }
};

TEST_F(KernelIpMonitor, DeliversAReplacedAddress) {
  std::promise<std::string> identifier;
  std::atomic<bool> delivered{false};
  broker::IndicationFilter filter;
  filter.query = "SELECT * FROM Orvane_KernelIPChangedIndication";
  const auto subscription = broker_.subscribe(filter, [&](const broker::Instance& indication) {
    // Others may come first, from addresses that the detector has seen before.
    if (indication.property("SourceInstanceHost")->text() != "10.0.0.2") return;
    if (!delivered.exchange(true)) {
      identifier.set_value(indication.property("IndicationIdentifier")->text());
    }
  });
  ASSERT_TRUE(subscription.ok()) << subscription.message.value_or("");
  ASSERT_TRUE(bothWait());
  replaceAddress("10.0.0.2");
  EXPECT_EQ(identifier.get_future().get(), "Orvane:eth0");
  EXPECT_THAT(broker_.reports(), IsEmpty());
}

TEST_F(KernelIpMonitor, DoesNothingUntilTheBrokerHasStarted) {
  setBrokerStarted(false);
  start();
  ASSERT_TRUE(eventually([] { return periodsAskedFor().size() > 5; })) << "of the other one";
  EXPECT_THAT(periodsAskedFor(), ::testing::Each(120));
  const auto begin = std::chrono::steady_clock::now();
  stopMonitorThreads();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
  EXPECT_THAT(periodsAskedFor(), ::testing::Each(120));
}

/// A delivery that does not return until it is let go.
class StuckDelivery {
 public:
  void stand() {
    std::unique_lock<std::mutex> lock(mutex_);
    arrived_ = true;
    changed_.notify_all();
    changed_.wait(lock, [&] { return letGo_; });
  }
  void waitForArrival() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return arrived_; });
  }
  void letGo() {
    const std::lock_guard<std::mutex> lock(mutex_);
    letGo_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool arrived_ = false;
  bool letGo_ = false;
};

TEST_F(KernelIpMonitor, ADeliveryThatDoesNotReturnHoldsUpNoEnd) {
  StuckDelivery delivery;
  broker::IndicationFilter filter;
  filter.query = "SELECT * FROM Orvane_KernelIPChangedIndication";
  const auto subscription =
      broker_.subscribe(filter, [&](const broker::Instance&) { delivery.stand(); });
  ASSERT_TRUE(subscription.ok()) << subscription.message.value_or("");
  start();  // where another test's provider has not done so
  replaceAddress("10.0.0.2");
  delivery.waitForArrival();
  setStopPatience(20ms);
  OrvLatchedHealthState provider(binding(), context());
  clearSyslog();
  EXPECT_EQ(provider.disableIndications().rc(), CMPI_RC_OK);
  std::vector<std::future<CmpiRc>> cleanups;
  for (int caller = 0; caller < 4; ++caller) {
    cleanups.push_back(std::async(
        std::launch::async, [&, own = context()] { return provider.cleanup(own, true).rc(); }));
  }
  for (auto& cleanup : cleanups) EXPECT_EQ(cleanup.get(), CMPI_RC_OK);
  EXPECT_EQ(provider.cleanup(context(), true).rc(), CMPI_RC_OK);
  EXPECT_THAT(syslogLines(),
              Contains(SyslogLine{3,
                                  "The broker does not return from a call of a health monitor; not "
                                  "waiting for it any longer\n"}));
  delivery.letGo();
  EXPECT_TRUE(eventually([] { return runningThreads() == 0; })) << "they end when it returns";
}

TEST_F(KernelIpMonitor, APassThatThrowsIsLoggedAndTheNextComes) {
  broker_.inject({"eft.newInstance", Fault::Effect::kStatus, CMPI_RC_ERR_FAILED});
  start();
  ASSERT_TRUE(bothWait());
  const auto failures = [] {
    const auto lines = syslogLines();
    return std::count(lines.begin(), lines.end(), SyslogLine{3, "Failed testAndSend operation"});
  };
  replaceAddress("10.0.0.2");
  EXPECT_TRUE(eventually([&] { return failures() >= 1; }));
  replaceAddress("10.0.0.3");
  EXPECT_TRUE(eventually([&] { return failures() >= 2; }));
  broker_.clearFaults();
}

TEST_F(KernelIpMonitor, ReleasesTheThreadsMemoryAfterEachPass) {
  Stop stop("CIM_Sensor");  // the health monitor, if it comes first, holds everything
  stop.letGo();
  start();
  EXPECT_TRUE(eventually([&] { return periodsAskedFor().size() > 20; }));
  const Lock lock = lockState();
  EXPECT_GT(broker_.contextReleaseCalls(), 12u);
}

}  // namespace

}  // namespace orv::test
