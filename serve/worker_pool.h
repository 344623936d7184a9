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

/// A fixed number of threads for what may wait: a provider, a password's check. However many
/// clients ask, no more than this many answers are made at a time.
class WorkerPool {
 public:
  using Clock = std::chrono::steady_clock;
  using Job = std::function<void()>;

  /// Fails: std::system_error when the threads cannot be had.
  explicit WorkerPool(std::size_t threads);
  /// Waits for the jobs that run; those that wait are dropped.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// The job must not throw. Fails: std::bad_alloc.
  void add(Job job);

  /// For how long the oldest job that nobody has begun has waited; zero when there is none. Grows
  /// without bound when every worker hangs in a provider.
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
