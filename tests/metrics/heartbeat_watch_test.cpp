#include "metrics/heartbeat_watch.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/metrics/scripted_host.h"

namespace orv::test {
namespace {

using metrics::HeartbeatWatch;

/// Subscriptions that the test delivers to.
struct Subscriptions {
  int made = 0;
  int ended = 0;
  bool refused = false;
  broker::IndicationFilter filter;
  broker::IndicationHandler handler;

  metrics::Subscribing subscribing() {
    return {[this](const broker::IndicationFilter& wanted, broker::IndicationHandler given) {
              ++made;
              filter = wanted;
              handler = std::move(given);
              broker::SubscribeResult result;
              result.rc = refused ? CMPI_RC_ERR_FAILED : CMPI_RC_OK;
              result.id = refused ? 0 : 17;
              return result;
            },
            [this](broker::SubscriptionId id) {
              EXPECT_EQ(id, 17u);
              ++ended;
            }};
  }
};

broker::Instance heartbeat(std::uint64_t seconds) {
  return instance("Orvane_CIMHeartbeat", {{"IndicationTime", time(seconds)}});
}

TEST(HeartbeatWatch, SubscribesWhenItIsFirstAskedAndOnce) {
  Subscriptions subscriptions;
  {
    HeartbeatWatch watch(subscriptions.subscribing(), "root/cimv2");
    EXPECT_EQ(subscriptions.made, 0);
    EXPECT_FALSE(watch.lastTime());
    EXPECT_FALSE(watch.lastTime());
    EXPECT_EQ(subscriptions.made, 1);
    EXPECT_EQ(subscriptions.filter.query, "SELECT * FROM Orvane_CIMHeartbeat");
    EXPECT_EQ(subscriptions.filter.sourceNamespace, "root/cimv2");
    EXPECT_EQ(subscriptions.ended, 0);
  }
  EXPECT_EQ(subscriptions.ended, 1);
}

TEST(HeartbeatWatch, KeepsTheTimeOfTheLastOne) {
  Subscriptions subscriptions;
  HeartbeatWatch watch(subscriptions.subscribing(), "root/cimv2");
  watch.lastTime();
  subscriptions.handler(heartbeat(1700000000));
  subscriptions.handler(heartbeat(1700000300));
  EXPECT_EQ(watch.lastTime(), 1700000300);
  subscriptions.handler(instance("Orvane_CIMHeartbeat", {}));
  EXPECT_EQ(watch.lastTime(), 1700000300) << "one without a time tells nothing";
}

TEST(HeartbeatWatch, AnUnusedOneEndsNothing) {
  Subscriptions subscriptions;
  { const HeartbeatWatch watch(subscriptions.subscribing(), "root/cimv2"); }
  EXPECT_EQ(subscriptions.ended, 0);
}

TEST(HeartbeatWatch, ARefusedSubscriptionIsTriedAgain) {
  Subscriptions subscriptions;
  subscriptions.refused = true;
  HeartbeatWatch watch(subscriptions.subscribing(), "root/cimv2");
  EXPECT_FALSE(watch.lastTime());
  subscriptions.refused = false;
  watch.lastTime();
  watch.lastTime();
  EXPECT_EQ(subscriptions.made, 2);
}

TEST(HeartbeatWatch, WaitsForTheFirst) {
  Subscriptions subscriptions;
  HeartbeatWatch watch(subscriptions.subscribing(), "root/cimv2");
  EXPECT_FALSE(watch.waitForFirst(std::chrono::milliseconds(1)));
  std::thread provider([&] { subscriptions.handler(heartbeat(5)); });
  EXPECT_EQ(watch.waitForFirst(std::chrono::minutes(1)), 5);
  provider.join();
}

TEST(HeartbeatWatch, AHeartbeatMayComeWhileTheSubscriptionIsMade) {
  Subscriptions subscriptions;
  metrics::Subscribing eager = subscriptions.subscribing();
  const auto subscribe = eager.subscribe;
  eager.subscribe = [&](const broker::IndicationFilter& filter, broker::IndicationHandler handler) {
    const broker::SubscribeResult result = subscribe(filter, handler);
    std::thread([&] { handler(heartbeat(9)); }).join();
    return result;
  };
  HeartbeatWatch watch(eager, "root/cimv2");
  EXPECT_EQ(watch.lastTime(), 9);
}

}  // namespace
}  // namespace orv::test
