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
#include <vector>

#include "broker/values.h"

namespace orv::serve {

/// One place to which indications are posted.
class Listener {
 public:
  virtual ~Listener() = default;
  /// Posts one message; true when the listener took it. Waits for it, at most a time-out.
  virtual bool post(const std::string& message) = 0;
  /// Ends a post that is under way, or else has no effect; called from another thread.
  virtual void cancel() = 0;
};

/// Posts over HTTP to "http://host[:port][/path]".
///
/// Fails: std::invalid_argument for another text; see IndicationExport::isUsable.
std::unique_ptr<Listener> makeHttpListener(const std::string& url,
                                           std::chrono::milliseconds timeout);

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
  using MakeListener =
      std::function<std::unique_ptr<Listener>(const std::string&, std::chrono::milliseconds)>;

  explicit IndicationExport(Settings settings, MakeListener makeListener = makeHttpListener);
  /// Stops at once; what is queued is lost.
  ~IndicationExport();
  IndicationExport(const IndicationExport&) = delete;
  IndicationExport& operator=(const IndicationExport&) = delete;

  /// Never waits for a listener.
  ///
  /// Fails: std::system_error when a new destination's thread cannot be had.
  void enqueue(const std::string& url, const broker::Instance& indication);

  /// Drops the queue of a destination that nobody subscribes for any more. Does not wait.
  void forget(const std::string& url);

  /// True for a destination that we can post to.
  static bool isUsable(const std::string& url);

 private:
  struct Destination {
    std::string url;
    std::unique_ptr<Listener> listener;
    std::deque<std::string> messages;  // guarded by mutex_, as the next three
    bool keepsUp = true;               // nothing was dropped since the queue was last empty
    bool stop = false;
    bool finished = false;  // the thread has nothing more to do but end
    std::condition_variable changed;
    std::thread thread;
  };

  std::unique_ptr<Destination> makeDestination(const std::string& url);
  void run(Destination& destination);
  bool deliver(Destination& destination, const std::string& message);
  static void stop(Destination& destination);
  void joinFinished();

  const Settings settings_;
  const MakeListener makeListener_;
  std::mutex mutex_;  // guards what follows and the queues
  std::map<std::string, std::unique_ptr<Destination>> destinations_;
  std::vector<std::unique_ptr<Destination>> retired_;  // stopped, to be joined
  std::size_t nextMessageId_ = 1;
};

}  // namespace orv::serve
