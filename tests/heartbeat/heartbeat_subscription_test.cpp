#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "broker/testing/test_broker.h"
#include "cmpi/abi/cmpi_tables.h"
#include "tests/heartbeat/heartbeat_seams.h"
#include "tests/heartbeat/own_process.h"
#include "tests/support/linked_providers.h"

extern "C" CMPIIndicationMI* Orvane_CIMHeartbeat_Create_IndicationMI(const CMPIBroker*,
                                                                     const CMPIContext*,
                                                                     CMPIStatus*);

namespace {

using orv::broker::Instance;
using orv::broker::TestBroker;
using orv::test::heartbeatSeams;
using orv::test::inProcessOfItsOwn;

/// A broker that loads the heartbeat provider when somebody subscribes.
TestBroker::Options options() {
  return orv::test::linkedProviders(
      {{"Orvane_CIMHeartbeat_Create_IndicationMI",
        orv::test::linkedFactory(Orvane_CIMHeartbeat_Create_IndicationMI)}});
}

/// What a subscriber has got. Only its own first hundred: heartbeats come as fast as they can.
class Inbox {
 public:
  void take(const Instance& indication) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (received_.size() < 100) received_.push_back(indication);
    changed_.notify_all();
  }
  bool waitFor(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::minutes(5),
                             [&] { return received_.size() >= count; });
  }
  std::vector<Instance> received() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Instance> received_;
};

orv::broker::SubscribeResult subscribe(TestBroker& broker, const std::string& query, Inbox& inbox) {
  orv::broker::IndicationFilter filter;
  filter.query = query;
  return broker.subscribe(filter, [&inbox](const Instance& indication) { inbox.take(indication); });
}

TEST(HeartbeatSubscription, GetsHeartbeatAfterHeartbeat) {
  inProcessOfItsOwn([] {
    heartbeatSeams().periodsToPass = INT_MAX;
    Inbox inbox;
    TestBroker broker(options());
    const auto subscription = subscribe(broker, "SELECT * FROM Orvane_CIMHeartbeat", inbox);
    ASSERT_TRUE(subscription.ok()) << subscription.message.value_or("");
    ASSERT_TRUE(inbox.waitFor(3));
    EXPECT_TRUE(broker.unsubscribe(subscription.id).ok());
    broker.shutdown();
    const auto received = inbox.received();
    for (std::size_t index = 1; index < received.size(); ++index) {
      EXPECT_EQ(received[index - 1].property("stamp")->number() + 1,
                received[index].property("stamp")->number());
    }
    EXPECT_TRUE(broker.reports().empty());
  });
}

TEST(HeartbeatSubscription, ThatSelectsPropertiesDoesNotCutLaterHeartbeats) {
  inProcessOfItsOwn([] {
    heartbeatSeams().periodsToPass = INT_MAX;
    Inbox names;
    Inbox whole;
    TestBroker broker(options());
    const auto selecting = subscribe(broker, "SELECT hostname FROM Orvane_CIMHeartbeat", names);
    ASSERT_TRUE(selecting.ok());
    ASSERT_TRUE(names.waitFor(5));
    EXPECT_TRUE(broker.unsubscribe(selecting.id).ok());
    ASSERT_TRUE(subscribe(broker, "SELECT * FROM Orvane_CIMHeartbeat", whole).ok());
    ASSERT_TRUE(whole.waitFor(5));
    broker.shutdown();
    for (const Instance& heartbeat : names.received()) {
      EXPECT_EQ("host-7", heartbeat.property("hostname")->text());
      EXPECT_EQ(nullptr, heartbeat.property("stamp"));
    }
    for (const Instance& heartbeat : whole.received()) {
      EXPECT_EQ("host-7", heartbeat.property("hostname")->text());
      ASSERT_NE(nullptr, heartbeat.property("stamp"));
      EXPECT_LT(4U, heartbeat.property("stamp")->number());
      EXPECT_FALSE(heartbeat.property("IndicationTime")->null);
    }
  });
}

TEST(HeartbeatSubscription, OutlivesTheIdleCheck) {
  inProcessOfItsOwn([] {
    Inbox inbox;
    TestBroker broker(options());
    ASSERT_TRUE(subscribe(broker, "SELECT * FROM Orvane_CIMHeartbeat", inbox).ok());
    EXPECT_FALSE(broker.idleCheck().exits);
    broker.shutdown();
  });
}

TEST(HeartbeatSubscription, EndsWithTheBrokersShutdownEvenWhenThatComesTwice) {
  inProcessOfItsOwn([] {
    heartbeatSeams().periodsToPass = INT_MAX;
    Inbox inbox;
    TestBroker broker(options());
    ASSERT_TRUE(subscribe(broker, "SELECT * FROM Orvane_CIMHeartbeat", inbox).ok());
    ASSERT_TRUE(inbox.waitFor(1));
    const auto outcome = broker.shutdown(true);
    ASSERT_EQ(1U, outcome.calls.size());
    EXPECT_EQ(CMPI_RC_OK, outcome.calls[0].answer);
    ASSERT_EQ(1U, outcome.secondCalls.size());
    EXPECT_EQ(CMPI_RC_OK, outcome.secondCalls[0].answer);
  });
}

}  // namespace
