#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "broker/broker.h"

namespace orv::metrics {

/// How to subscribe to a host's indications.
struct Subscribing {
  std::function<broker::SubscribeResult(const broker::IndicationFilter&, broker::IndicationHandler)>
      subscribe;
  std::function<void(broker::SubscriptionId)> unsubscribe;
};

/// Keeps the time of a host's last heartbeat. A heartbeat is an indication, so only subscribers
/// know its time.
///
/// Subscribes at the first call, not before: the first subscriber starts the provider's thread,
/// which sends one heartbeat at once. As long as nobody reads the metrics, that one is left for a
/// client.
class HeartbeatWatch {
 public:
  /// What `subscribing` uses must outlive the watch.
  HeartbeatWatch(Subscribing subscribing, std::string nameSpace);
  ~HeartbeatWatch();
  HeartbeatWatch(const HeartbeatWatch&) = delete;
  HeartbeatWatch& operator=(const HeartbeatWatch&) = delete;

  /// IndicationTime of the last heartbeat, in seconds since the epoch; absent before the first.
  /// Thread-safe.
  std::optional<double> lastTime();

  /// The same, after waiting for the first one, no longer than `limit`.
  std::optional<double> waitForFirst(std::chrono::milliseconds limit);

 private:
  void begin();
  void keep(const broker::Instance& heartbeat);

  Subscribing subscribing_;
  std::string nameSpace_;
  std::mutex beginning_;  // guards id_; held while subscribing, not taken by deliveries
  broker::SubscriptionId id_ = 0;
  std::mutex mutex_;  // guards last_
  std::condition_variable changed_;
  std::optional<double> last_;
};

}  // namespace orv::metrics
