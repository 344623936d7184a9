#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "broker/values.h"

namespace orv::serve {

/// Delivers indications to listeners: one thread and one bounded queue a destination, so that a
/// dead listener delays neither a provider nor another listener. A full queue loses its oldest
/// indication, and says so on standard error.
class IndicationExport {
 public:
  struct Settings {
    std::size_t queueLength = 256;
    int attempts = 4;  ///< the first one and three more
    std::chrono::milliseconds retryInterval{20'000};
    std::chrono::milliseconds timeout{10'000};  ///< of one attempt
  };

  /// Posts one message; true when the listener took it.
  using Post = std::function<bool(const std::string& url, const std::string& message,
                                  std::chrono::milliseconds timeout)>;

  explicit IndicationExport(Settings settings, Post post = postOverHttp);
  /// Stops at once; what is queued is lost.
  ~IndicationExport();
  IndicationExport(const IndicationExport&) = delete;
  IndicationExport& operator=(const IndicationExport&) = delete;

  /// Never waits for a listener.
  void enqueue(const std::string& url, const broker::Instance& indication);

  /// Drops the queue of a destination that nobody subscribes for any more and ends its thread.
  void forget(const std::string& url);

  /// True for a destination that we can post to: "http://host[:port][/path]".
  static bool isUsable(const std::string& url);
  static bool postOverHttp(const std::string& url, const std::string& message,
                           std::chrono::milliseconds timeout);

 private:
  struct Destination {
    std::deque<std::string> messages;  // guarded by mutex_
    bool stop = false;                 // guarded by mutex_
    std::size_t lost = 0;              // guarded by mutex_
    std::condition_variable changed;
    std::thread thread;
  };

  void run(const std::string& url, Destination& destination);
  bool deliver(const std::string& url, const std::string& message, Destination& destination);

  const Settings settings_;
  const Post post_;
  std::mutex mutex_;  // guards the two members below and the queues
  std::map<std::string, std::unique_ptr<Destination>> destinations_;
  std::size_t nextMessageId_ = 1;
};

}  // namespace orv::serve
