#include "serve/worker_pool.h"

#include <utility>

namespace orv::serve {

WorkerPool::WorkerPool(std::size_t threads) {
  threads_.reserve(threads);
  try {  // not a function-try-block: in the handler of one the members would be gone
    for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back(&WorkerPool::run, this);
  } catch (...) {
    stop();
    throw;
  }
}

WorkerPool::~WorkerPool() { stop(); }

void WorkerPool::stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
    changed_.notify_all();
  }
  for (std::thread& thread : threads_) thread.join();
}

void WorkerPool::add(Job job) {
  const std::lock_guard<std::mutex> lock(mutex_);
  waiting_.push_back({std::move(job), Clock::now()});
  changed_.notify_one();
}

std::chrono::milliseconds WorkerPool::longestWait() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (waiting_.empty()) return std::chrono::milliseconds(0);
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() -
                                                               waiting_.front().since);
}

void WorkerPool::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return stop_ || !waiting_.empty(); });
    if (stop_) return;
    const Job job = std::move(waiting_.front().job);
    waiting_.pop_front();
    lock.unlock();
    job();
    lock.lock();
  }
}

}  // namespace orv::serve
