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
/// Subscribes for as long as it lives, and keeps the last indications, which whoever begins to
/// listen is sent first.
class Events {
 public:
  struct Limits {
    std::size_t listeners = 32;              ///< at a time; more are answered 503
    std::size_t listenerBytes = 256U << 10;  ///< that a listener has not taken; then it is dropped
    std::size_t kept = 50;                   ///< indications that a new listener is sent
    std::size_t keptBytes = 64U << 10;       ///< the same; at most `listenerBytes`
  };

  /// Subscribes to these classes. One that cannot be subscribed to is told in the log.
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
  void send(const broker::Instance& indication);
  void keep(std::string event);
  void forgetTheGone();

  const Host host_;
  const Limits limits_;
  const std::string firstOfId_;
  std::mutex mutex_;  // guards what follows; a stream's lock is taken under it
  std::list<std::weak_ptr<serve::BodyStream>> listeners_;
  std::deque<std::string> kept_;
  std::size_t keptBytes_ = 0;
  std::uint64_t lastId_ = 0;
  std::vector<broker::SubscriptionId> subscriptions_;  // of the constructing thread alone
};

}  // namespace orv::web
