#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace orv::serve {

/// A fixed number of threads for work that may block: calls of a provider, password checks. It
/// limits how many answers are made at a time, however many clients there are.
class WorkerPool {
 public:
  using Clock = std::chrono::steady_clock;
  using Job = std::function<void()>;

  /// Fails: std::system_error when the threads cannot be started.
  explicit WorkerPool(std::size_t threads);
  /// Waits for running jobs; those that are waiting are dropped.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// Appends a job, which must not throw. Fails: std::bad_alloc.
  void add(Job job);

  /// How long the first job in the queue has been waiting; zero when the queue is empty. Grows
  /// without bound when every worker hangs.
  std::chrono::milliseconds longestWait() const;

 private:
  struct Waiting {
    Job job;
    Clock::time_point since;
  };

  void run();
  void stop();

  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::deque<Waiting> waiting_;
  bool stop_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace orv::serve
