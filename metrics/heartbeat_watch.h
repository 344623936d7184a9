#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "broker/broker.h"

namespace orv::metrics {

/// How a host's indications are subscribed to.
struct Subscribing {
  std::function<broker::SubscribeResult(const broker::IndicationFilter&, broker::IndicationHandler)>
      subscribe;
  std::function<void(broker::SubscriptionId)> unsubscribe;
};

/// Keeps the time of a host's last heartbeat. A heartbeat is an indication, so its time is known to
/// those alone who have subscribed.
///
/// Subscribes when it is first asked, and not before: the first subscriber starts the provider's
/// thread, which delivers one heartbeat at once, and a host whose metrics nobody asks for treats
/// its clients as usual.
class HeartbeatWatch {
 public:
  /// What `subscribing` uses must outlive the watch.
  HeartbeatWatch(Subscribing subscribing, std::string nameSpace);
  ~HeartbeatWatch();
  HeartbeatWatch(const HeartbeatWatch&) = delete;
  HeartbeatWatch& operator=(const HeartbeatWatch&) = delete;

  /// IndicationTime of the last one, in seconds since the epoch; absent while none has come. From
  /// any thread.
  std::optional<double> lastTime();

  /// The same, after waiting for the first one.
  std::optional<double> waitForFirst(std::chrono::milliseconds limit);

 private:
  void begin();
  void keep(const broker::Instance& heartbeat);

  Subscribing subscribing_;
  std::string nameSpace_;
  std::mutex beginning_;  // guards id_; locked while subscribing, never by a delivery
  broker::SubscriptionId id_ = 0;
  std::mutex mutex_;  // guards last_
  std::condition_variable changed_;
  std::optional<double> last_;
};

}  // namespace orv::metrics
