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
/// Subscribes when the first client listens: the first subscriber to heartbeats is sent one at
/// once, which is left for other clients as long as nobody opens the page. From then on it keeps
/// the last indications and sends them to each new listener first. A class that is refused is
/// logged and left out, and tried again for each new listener.
class Events {
 public:
  struct Limits {
    std::size_t listeners = 32;              ///< at a time; more get 503
    std::size_t listenerBytes = 256U << 10;  ///< a listener with more still to take is dropped
    std::size_t kept = 50;                   ///< indications for new listeners
    std::size_t keptBytes = 64U << 10;       ///< of all of them; at most `listenerBytes`
  };

  /// For indications of these classes.
  Events(const Host& host, const std::vector<std::string>& classNames)
      : Events(host, classNames, Limits()) {}
  Events(const Host& host, const std::vector<std::string>& classNames, Limits limits);
  /// Ends the subscriptions and all streams.
  ~Events();
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;

  /// `/api/events`; the object must outlive the route. Each indication is an event "indication"
  /// whose data is one line: the instance as JSON, preceded by a member "received", the time in
  /// UTC. Ids do not repeat, even after a restart.
  serve::GetRoute route();

 private:
  struct EventClass {
    std::string name;
    broker::SubscriptionId subscription = 0;  // 0: none
    bool refused = false;                     // and logged
  };

  serve::HttpAnswer listen();
  void subscribe();
  void send(const broker::Instance& indication);
  void keep(std::string event);
  void forgetTheGone();

  const Host host_;
  const Limits limits_;
  const std::string firstOfId_;
  std::mutex subscribing_;  // guards classes_; not taken by deliveries
  std::vector<EventClass> classes_;
  std::mutex mutex_;  // guards what follows; a stream's lock is taken under it
  std::list<std::weak_ptr<serve::BodyStream>> listeners_;
  std::deque<std::string> kept_;
  std::size_t keptBytes_ = 0;
  std::uint64_t lastId_ = 0;
};

}  // namespace orv::web
