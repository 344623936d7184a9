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
#include "serve/destination.h"

namespace orv::serve {

/// One place to which indications are posted.
class Listener {
 public:
  virtual ~Listener() = default;
  /// Posts one message and waits for the answer, no longer than a time-out. True when the listener
  /// accepted it.
  virtual bool post(const std::string& message) = 0;
  /// Makes the post that is under way fail, and every later one. Called from another thread.
  virtual void cancel() = 0;
};

/// Delivers indications to listeners: one thread and one bounded queue per destination, so that a
/// dead listener delays neither a provider nor another listener. A full queue drops its oldest
/// indications, which is logged once until the queue has been empty again. Thread-safe.
class IndicationExport {
 public:
  struct Settings {
    std::size_t destinations = 128;  ///< each has a thread
    std::size_t queueLength = 256;
    std::size_t queueBytes = 1U << 20;  ///< a single larger indication is kept all the same
    int attempts = 4;                   ///< the first one and three more
    std::chrono::milliseconds retryInterval{20'000};
  };
  using MakeListener = std::function<std::unique_ptr<Listener>(const Destination&)>;

  IndicationExport(Settings settings, MakeListener makeListener);
  /// Stops at once; what is queued is lost.
  ~IndicationExport();
  IndicationExport(const IndicationExport&) = delete;
  IndicationExport& operator=(const IndicationExport&) = delete;

  /// Starts queue and thread of a destination. Does nothing when it has them already.
  ///
  /// Fails: std::runtime_error when there are too many destinations or no thread can be started;
  /// std::bad_alloc.
  void prepare(const Destination& destination);

  /// Queues an indication for a prepared destination; does nothing for any other. Never waits for a
  /// listener and never throws: an indication for which there is no memory is lost, and logged.
  void enqueue(const Destination& destination, const broker::Instance& indication) noexcept;

  /// Drops the queue of a destination that no subscription uses any more. Does not wait.
  void forget(const Destination& destination);

 private:
  struct Queue {
    std::string url;
    std::unique_ptr<Listener> listener;
    std::deque<std::string> messages;  // guarded by mutex_, as the next four
    std::size_t bytes = 0;
    bool keepsUp = true;  // nothing was dropped since the queue was last empty
    bool stop = false;
    bool finished = false;  // the thread does nothing more but end
    std::condition_variable changed;
    std::thread thread;
  };

  void run(Queue& queue);
  void push(Queue& queue, std::string message);
  bool deliver(Queue& queue, const std::string& message);
  static void stop(Queue& queue);
  void joinFinished();

  const Settings settings_;
  const MakeListener makeListener_;
  std::mutex mutex_;  // guards what follows and the queues
  std::map<Destination, std::unique_ptr<Queue>> queues_;
  std::vector<std::unique_ptr<Queue>> retired_;  // stopped, to be joined
  std::size_t nextMessageId_ = 1;
};

}  // namespace orv::serve
