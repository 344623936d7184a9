#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "serve/http_answer.h"
#include "web/json_interface.h"

namespace orv::web {

/// The host's indications as server-sent events.
///
/// Subscribes when somebody listens for the first time, so that a host whose page nobody opens
/// treats its clients as ever: the first subscriber of a heartbeat is sent one at once. From then
/// on it keeps the last indications, which whoever begins to listen is sent first.
class Events {
 public:
  struct Limits {
    std::size_t listeners = 32;              ///< at a time; more are answered 503
    std::size_t listenerBytes = 256U << 10;  ///< that a listener has not taken; then it is dropped
    std::size_t kept = 50;                   ///< indications that a new listener is sent
    std::size_t keptBytes = 64U << 10;       ///< the same; at most `listenerBytes`
  };

  /// Indications of these classes. One that cannot be subscribed to is told in the log.
  Events(const Host& host, const std::vector<std::string>& classNames)
      : Events(host, classNames, Limits()) {}
  Events(const Host& host, const std::vector<std::string>& classNames, Limits limits);
  /// Ends the subscriptions and all streams.
  ~Events();
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;

  /// `/api/events`. Each indication is an event "indication" whose data is one line: the instance
  /// as JSON, after a member "received", the time in UTC. Its id is new in each process.
  serve::GetRoute route();

 private:
  serve::HttpAnswer listen();
  void subscribeOnce();
  void send(const broker::Instance& indication);
  void keep(std::string event);
  void forgetTheGone();

  const Host host_;
  const Limits limits_;
  const std::string firstOfId_;
  const std::vector<std::string> classNames_;
  std::mutex subscribing_;  // guards the next two; never locked by a delivery
  bool subscribed_ = false;
  std::vector<broker::SubscriptionId> subscriptions_;
  std::mutex mutex_;  // guards what follows; a stream's lock is taken under it
  std::list<std::weak_ptr<serve::BodyStream>> listeners_;
  std::deque<std::string> kept_;
  std::size_t keptBytes_ = 0;
  std::uint64_t lastId_ = 0;
};

}  // namespace orv::web
