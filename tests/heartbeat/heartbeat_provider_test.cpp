#include "heartbeat/heartbeat_provider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

#include "cmpi/cmpi_status.h"
#include "tests/heartbeat/heartbeat_seams.h"
#include "tests/heartbeat/own_process.h"
#include "tests/support/process_memory.h"
#include "tests/support/recording_broker.h"
#include "tests/support/syslog_capture.h"

extern "C" CMPIIndicationMI* Orvane_CIMHeartbeat_Create_IndicationMI(const CMPIBroker*,
                                                                     const CMPIContext*,
                                                                     CMPIStatus*);

namespace {

using Heartbeat::HeartbeatProvider;
using orv::broker::Instance;
using orv::broker::TestBroker;
using orv::test::Delivery;
using orv::test::heartbeatSeams;
using orv::test::inProcessOfItsOwn;
using orv::test::RecordingBroker;
using orv::test::syslogLines;
using orv::test::syslogTexts;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/// What every scenario has.
struct Fixture {
  RecordingBroker broker;
  HeartbeatProvider provider{*broker.broker(), broker.context()};

  CmpiRc initialize() { return provider.initialize(broker.context()).rc(); }
  CmpiRc cleanup(bool terminating = true) {
    return provider.cleanup(broker.context(), terminating).rc();
  }
  CMPIUint32 stampOf(std::size_t index) {
    return static_cast<CMPIUint32>(
        broker.deliveries().at(index).indication.property("stamp")->number());
  }
};

/// Seconds that `work` takes.
double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(HeartbeatProvider, SendsTheFirstHeartbeatAtOnce) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    EXPECT_EQ(CMPI_RC_OK, fixture.initialize());
    ASSERT_TRUE(fixture.broker.waitForDeliveries(1));
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
    ASSERT_EQ(1U, fixture.broker.deliveries().size());
    const Delivery delivery = fixture.broker.deliveries()[0];
    EXPECT_EQ("root/cimv2", delivery.nameSpace);
    const Instance& heartbeat = delivery.indication;
    EXPECT_EQ("root/cimv2", heartbeat.path.nameSpace);
    EXPECT_EQ("Orvane_CIMHeartbeat", heartbeat.path.className);
    EXPECT_THAT(heartbeat.setOrder, ElementsAre("hostname", "stamp", "IndicationTime"));
    EXPECT_EQ("host-7", heartbeat.property("hostname")->text());
    EXPECT_EQ(CMPI_uint32, heartbeat.property("stamp")->type);
    EXPECT_EQ(0U, heartbeat.property("stamp")->number());
    const auto& time = heartbeat.property("IndicationTime")->dateTime();
    EXPECT_EQ(1'600'000'000'000'000U, time.microseconds);
    EXPECT_FALSE(time.interval);
  });
}

TEST(HeartbeatProvider, NumbersItsHeartbeatsAndTellsTheTimeOfEach) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.broker.onDelivery = [](std::size_t) {
      ++heartbeatSeams().now;
      return CMPI_RC_OK;
    };
    heartbeatSeams().periodsToPass = 2;
    fixture.initialize();
    ASSERT_TRUE(fixture.broker.waitForDeliveries(3));
    fixture.cleanup();
    ASSERT_EQ(3U, fixture.broker.deliveries().size());
    for (std::uint32_t number = 0; number < 3; ++number) {
      const Instance heartbeat = fixture.broker.deliveries()[number].indication;
      EXPECT_EQ(number, heartbeat.property("stamp")->number());
      EXPECT_EQ((1'600'000'000ULL + number) * 1'000'000,
                heartbeat.property("IndicationTime")->dateTime().microseconds);
      EXPECT_EQ("host-7", heartbeat.property("hostname")->text());
    }
  });
}

TEST(HeartbeatProvider, WaitsForTheConfiguredInterval) {
  inProcessOfItsOwn([] {
    char file[] = "/tmp/orv-heartbeat-XXXXXX";
    close(mkstemp(file));
    std::ofstream(file) << "heartbeatInterval: 60\n";
    heartbeatSeams().configurationFile = file;
    heartbeatSeams().periodsToPass = 2;
    Fixture fixture;
    fixture.initialize();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(3));
    fixture.cleanup();
    unlink(file);
    EXPECT_THAT(heartbeatSeams().periodsAskedFor(), ElementsAre(60, 60, 60));
    EXPECT_THAT(syslogTexts(), IsEmpty());
  });
}

TEST(HeartbeatProvider, WithoutAConfigurationFileWaitsForFiveMinutes) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.initialize();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(1));
    fixture.cleanup();
    EXPECT_THAT(heartbeatSeams().periodsAskedFor(), ElementsAre(300));
    ASSERT_EQ(1U, syslogLines().size());
    EXPECT_EQ(LOG_ERR, syslogLines()[0].priority);
    EXPECT_EQ("Open file to read: /etc/sfcb/sfcb.cfg failed, using default: 300 seconds",
              syslogLines()[0].text);
  });
}

TEST(HeartbeatProvider, ReadsTheIntervalAtEachInitialize) {
  inProcessOfItsOwn([] {
    char file[] = "/tmp/orv-heartbeat-XXXXXX";
    close(mkstemp(file));
    heartbeatSeams().configurationFile = file;
    Fixture fixture;
    fixture.initialize();
    std::ofstream(file) << "heartbeatInterval: 90\n";
    fixture.initialize();
    EXPECT_EQ(90, Heartbeat::intervalSeconds());
    fixture.cleanup();
    unlink(file);
  });
}

TEST(HeartbeatProvider, LogsAFailedDeliveryAndGoesOn) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.broker.onDelivery = [](std::size_t number) {
      return number == 0 ? CMPI_RC_ERR_FAILED : CMPI_RC_OK;
    };
    heartbeatSeams().periodsToPass = 1;
    fixture.initialize();
    ASSERT_TRUE(fixture.broker.waitForDeliveries(2));
    fixture.cleanup();
    EXPECT_EQ(1U, fixture.stampOf(1));
    ASSERT_EQ(2U, syslogLines().size());  // the first is about the configuration file
    EXPECT_EQ(LOG_ERR, syslogLines()[1].priority);
    EXPECT_EQ("Failed to deliver indication\n", syslogLines()[1].text);
  });
}

TEST(HeartbeatProvider, LogsAFailedAllocationAndGoesOn) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    std::atomic<bool> thrown{false};
    fixture.broker.onDelivery = [&](std::size_t) {
      if (!thrown.exchange(true)) throw std::bad_alloc();
      return CMPI_RC_OK;
    };
    heartbeatSeams().periodsToPass = 1;
    fixture.initialize();
    ASSERT_TRUE(fixture.broker.waitForDeliveries(1));
    fixture.cleanup();
    EXPECT_EQ(1U, fixture.stampOf(0));
    EXPECT_THAT(syslogTexts(), Contains("Failed to deliver indication\n"));
  });
}

TEST(HeartbeatProvider, EndsItsThreadOnAnyOtherException) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.broker.onDelivery = [](std::size_t number) {
      if (number == 1) throw std::runtime_error("out of luck");
      return CMPI_RC_OK;
    };
    heartbeatSeams().periodsToPass = INT_MAX;
    fixture.initialize();
    ASSERT_TRUE(fixture.broker.waitForDeliveries(1));
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());  // the mutex is free
    EXPECT_EQ(1U, fixture.broker.deliveryCount());
    EXPECT_THAT(syslogTexts(), Not(Contains("Failed to deliver indication\n")));
  });
}

TEST(HeartbeatProvider, StartsAgainWhereItsThreadHasEndedByItself) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    std::atomic<bool> thrown{false};
    fixture.broker.onDelivery = [&](std::size_t) {
      if (!thrown.exchange(true)) throw std::runtime_error("the first thread ends");
      return CMPI_RC_OK;
    };
    fixture.initialize();
    while (!thrown) std::this_thread::yield();
    while (fixture.broker.deliveryCount() == 0) {
      fixture.initialize();
      std::this_thread::yield();
    }
    EXPECT_EQ(2, fixture.broker.preparedThreads());
    EXPECT_EQ(0U, fixture.stampOf(0));
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
  });
}

TEST(HeartbeatProvider, PreparesAContextAndDoesNotAttach) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.initialize();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(1));
    EXPECT_EQ(1, fixture.broker.preparedThreads());
    EXPECT_EQ(0, fixture.broker.attachedThreads());
    fixture.cleanup();
  });
}

TEST(HeartbeatProvider, StartsOneThreadOnly) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    HeartbeatProvider other(*fixture.broker.broker(), fixture.broker.context());
    fixture.initialize();
    fixture.initialize();  // before the thread has run, or after
    other.initialize(fixture.broker.context());
    EXPECT_TRUE(fixture.broker.waitForDeliveries(1));
    fixture.initialize();
    EXPECT_EQ(1, fixture.broker.preparedThreads());
    fixture.cleanup();
    EXPECT_EQ(1U, fixture.broker.deliveryCount());
  });
}

TEST(HeartbeatProvider, AThreadThatCannotBeCreatedIsLoggedAndThrown) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    heartbeatSeams().threadsFail = true;
    try {
      fixture.initialize();
      ADD_FAILURE() << "did not throw";
    } catch (const CmpiStatus& status) {
      EXPECT_EQ(CMPI_RC_ERR_FAILED, status.rc());
      EXPECT_STREQ("Failed to start heartbeat indication thread", status.msg());
    }
    ASSERT_EQ(2U, syslogLines().size());
    EXPECT_EQ(LOG_ERR, syslogLines()[1].priority);
    EXPECT_EQ("Failed to start heartbeat indication thread", syslogLines()[1].text);
    heartbeatSeams().threadsFail = false;
    EXPECT_EQ(CMPI_RC_OK, fixture.initialize());  // the mutex is free
    EXPECT_TRUE(fixture.broker.waitForDeliveries(1));
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
  });
}

TEST(HeartbeatProvider, WithoutAPreparedContextDoesNotStart) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.broker.preparesNone = true;
    EXPECT_THROW(fixture.initialize(), CmpiStatus);
    fixture.broker.preparesNone = false;
    EXPECT_EQ(CMPI_RC_OK, fixture.initialize());
    EXPECT_TRUE(fixture.broker.waitForDeliveries(1));
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
  });
}

TEST(HeartbeatProvider, SendsNothingUntilTheBrokerHasStarted) {
  inProcessOfItsOwn([] {
    heartbeatSeams().brokerStarted = false;
    Fixture fixture;
    heartbeatSeams().periodsToPass = INT_MAX;
    fixture.initialize();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_LT(secondsOf([&] { EXPECT_EQ(CMPI_RC_OK, fixture.cleanup()); }), 1.0);
    EXPECT_EQ(0U, fixture.broker.deliveryCount());
    EXPECT_THAT(heartbeatSeams().periodsAskedFor(), IsEmpty());
  });
}

/// A delivery that does not return until the flag is set.
std::function<CMPIrc(std::size_t)> stuckUntil(const std::atomic<bool>& letGo,
                                              std::atomic<bool>& arrived) {
  return [&](std::size_t) {
    arrived = true;
    while (!letGo) std::this_thread::yield();
    return CMPI_RC_OK;
  };
}

TEST(HeartbeatProvider, ADeliveryThatDoesNotReturnHoldsUpNoEnd) {
  inProcessOfItsOwn([] {
    heartbeatSeams().stopPatience = std::chrono::milliseconds(20);
    Fixture fixture;
    std::atomic<bool> letGo{false};
    std::atomic<bool> arrived{false};
    fixture.broker.onDelivery = stuckUntil(letGo, arrived);
    heartbeatSeams().periodsToPass = INT_MAX;
    const CmpiContext context = fixture.broker.context();
    const std::size_t contexts = TestBroker::liveContexts();
    fixture.initialize();
    while (!arrived) std::this_thread::yield();
    std::vector<std::thread> cleanups;
    for (int count = 0; count < 4; ++count) {
      cleanups.emplace_back(
          [&] { EXPECT_EQ(CMPI_RC_OK, fixture.provider.cleanup(context, true).rc()); });
    }
    for (std::thread& cleanup : cleanups) cleanup.join();
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
    EXPECT_THAT(syslogTexts(), Contains("The broker does not return from the delivery of a "
                                        "heartbeat; not waiting for it any longer\n"));
    letGo = true;
    while (TestBroker::liveContexts() > contexts) std::this_thread::yield();
    EXPECT_EQ(1U, fixture.broker.deliveryCount()) << "the thread ends when it returns";
  });
}

TEST(HeartbeatProvider, CleanupBetweenRequestsAnswersNeverUnload) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.initialize();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(1));
    EXPECT_EQ(CMPI_RC_NEVER_UNLOAD, fixture.cleanup(false));
    fixture.initialize();
    EXPECT_EQ(1, fixture.broker.preparedThreads());  // it still runs
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
  });
}

TEST(HeartbeatProvider, TerminatingCleanupReturnsWhenTheThreadHasEnded) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    heartbeatSeams().periodsToPass = INT_MAX;
    fixture.initialize();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(10));
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
    const std::size_t sent = fixture.broker.deliveryCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(sent, fixture.broker.deliveryCount());
  });
}

TEST(HeartbeatProvider, StopsWithinASecondFromItsWait) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.initialize();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(1));
    EXPECT_LT(secondsOf([&] { fixture.cleanup(); }), 1.0);
  });
}

TEST(HeartbeatProvider, StopsWithinASecondRightAfterItsStart) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.initialize();
    EXPECT_LT(secondsOf([&] { fixture.cleanup(); }), 1.0);
    EXPECT_LE(fixture.broker.deliveryCount(), 1U);
  });
}

TEST(HeartbeatProvider, CleanupWithoutAThreadReturns) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
  });
}

TEST(HeartbeatProvider, CleanupMayComeTwice) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.initialize();
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
    EXPECT_EQ(CMPI_RC_OK, fixture.cleanup());
  });
}

TEST(HeartbeatProvider, ConcurrentCleanupsAllWaitForTheThread) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    std::atomic<bool> delivering{false};
    std::atomic<bool> goOn{false};
    fixture.broker.onDelivery = [&](std::size_t) {
      delivering = true;
      while (!goOn) std::this_thread::yield();
      return CMPI_RC_OK;
    };
    fixture.initialize();
    while (!delivering) std::this_thread::yield();
    std::atomic<int> returned{0};
    std::vector<std::thread> cleanups;
    const CmpiContext context = fixture.broker.context();
    for (int count = 0; count < 8; ++count) {
      cleanups.emplace_back([&] {
        EXPECT_EQ(CMPI_RC_OK, fixture.provider.cleanup(context, true).rc());
        ++returned;
      });
    }
    EXPECT_EQ(0, returned);
    goOn = true;
    for (std::thread& cleanup : cleanups) cleanup.join();
    EXPECT_EQ(1U, fixture.broker.deliveryCount());
  });
}

TEST(HeartbeatProvider, AThreadStartedAfterTheStopSendsNothing) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    fixture.cleanup();
    EXPECT_EQ(CMPI_RC_OK, fixture.initialize());
    EXPECT_EQ(1, fixture.broker.preparedThreads());
    fixture.cleanup();
    EXPECT_EQ(CMPI_RC_OK, fixture.initialize());
    EXPECT_EQ(2, fixture.broker.preparedThreads());
    fixture.cleanup();
    EXPECT_EQ(0U, fixture.broker.deliveryCount());
  });
}

TEST(HeartbeatProvider, LongHostNamesAreCut) {
  inProcessOfItsOwn([] {
    heartbeatSeams().hostName = std::string(100, 'h');
    Fixture fixture;
    fixture.initialize();
    ASSERT_TRUE(fixture.broker.waitForDeliveries(1));
    fixture.cleanup();
    EXPECT_EQ(std::string(79, 'h'),
              fixture.broker.deliveries()[0].indication.property("hostname")->text());
  });
}

TEST(HeartbeatProvider, LeavesTheStopSignalToOtherThreads) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    sigset_t blocked;
    fixture.broker.onDelivery = [&](std::size_t) {
      pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
      return CMPI_RC_OK;
    };
    fixture.initialize();
    ASSERT_TRUE(fixture.broker.waitForDeliveries(1));
    fixture.cleanup();
    EXPECT_EQ(1, sigismember(&blocked, SIGUSR1));
    EXPECT_EQ(0, sigismember(&blocked, SIGTERM));
    sigset_t ours;
    pthread_sigmask(SIG_BLOCK, nullptr, &ours);
    EXPECT_EQ(0, sigismember(&ours, SIGUSR1));
  });
}

TEST(HeartbeatProvider, TakesNoNoticeOfFilters) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    const CmpiContext context = fixture.broker.context();
    const CmpiSelectExp filter(nullptr);
    const CmpiObjectPath path("root/cimv2", "Orvane_CIMHeartbeat");
    HeartbeatProvider& provider = fixture.provider;
    std::vector<CmpiRc> answers = {
        provider.authorizeFilter(context, filter, "Orvane_CIMHeartbeat", path, nullptr).rc(),
        provider.mustPoll(context, filter, "Orvane_CIMHeartbeat", path).rc(),
        provider.activateFilter(context, filter, "Orvane_CIMHeartbeat", path, 1).rc(),
        provider.deActivateFilter(context, filter, "Orvane_CIMHeartbeat", path, 1).rc(),
        provider.enableIndications().rc(),
        provider.disableIndications().rc(),
    };
    EXPECT_THAT(answers, Each(CMPI_RC_OK));
    EXPECT_EQ(0, fixture.broker.preparedThreads());
  });
}

TEST(HeartbeatProvider, SendsWhetherOrNotIndicationsAreEnabled) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    heartbeatSeams().periodsToPass = INT_MAX;
    fixture.initialize();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(1));
    fixture.provider.disableIndications();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(fixture.broker.deliveryCount() + 2));
    fixture.cleanup();
  });
}

TEST(HeartbeatProvider, FactoryInitialisesOnceAndPrintsNothing) {
  inProcessOfItsOwn([] {
    RecordingBroker broker;
    const CMPIContext* context = broker.context().getEnc();
    testing::internal::CaptureStderr();
    CMPIIndicationMI* mi =
        Orvane_CIMHeartbeat_Create_IndicationMI(broker.broker()->getEnc(), context, nullptr);
    EXPECT_EQ(mi,
              Orvane_CIMHeartbeat_Create_IndicationMI(broker.broker()->getEnc(), context, nullptr));
    EXPECT_EQ(std::string::npos, testing::internal::GetCapturedStderr().find("---"));
    EXPECT_EQ(1, broker.preparedThreads());
    EXPECT_STREQ("indicationOrvane_CIMHeartbeat", mi->ft->miName);
    EXPECT_EQ(200, mi->ft->ftVersion);
    EXPECT_EQ(200, mi->ft->miVersion);
    EXPECT_EQ(CMPI_RC_NEVER_UNLOAD, mi->ft->cleanup(mi, context, 0).rc);
    EXPECT_EQ(CMPI_RC_OK, mi->ft->cleanup(mi, context, 1).rc);
  });
}

TEST(HeartbeatProvider, WorksOnABrokerWithoutTheMemoryTable) {
  inProcessOfItsOwn([] {
    RecordingBroker broker;
    broker.removeMemoryTable();
    HeartbeatProvider provider(*broker.broker(), broker.context());
    heartbeatSeams().periodsToPass = 3;
    provider.initialize(broker.context());
    EXPECT_TRUE(broker.waitForDeliveries(4));
    provider.cleanup(broker.context(), true);
  });
}

TEST(HeartbeatProvider, ManyHeartbeatsLeaveNothingBehind) {
  inProcessOfItsOwn([] {
    Fixture fixture;
    orv::test::MemoryAfterWarmUp memory;
    fixture.broker.keepDeliveries = false;
    // Seen from inside a delivery, where each heartbeat's own objects are alive.
    fixture.broker.onDelivery = [&](std::size_t number) {
      if (number == orv::test::kWarmUpRounds) memory.warmedUp();
      if (number == orv::test::kManyRounds - 1) memory.expectNoGrowth();
      return CMPI_RC_OK;
    };
    heartbeatSeams().periodsToPass = static_cast<int>(orv::test::kManyRounds) - 1;
    fixture.initialize();
    EXPECT_TRUE(fixture.broker.waitForDeliveries(orv::test::kManyRounds));
    fixture.cleanup();
  });
}

}  // namespace
