#pragma once

#include <pthread.h>

#include <ctime>

namespace OMC {

/// A process-private POSIX mutex with default attributes. Locked through std::lock_guard or
/// std::unique_lock, so that an exception releases it.
class Mutex {
 public:
  Mutex() = default;
  ~Mutex() { pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() { pthread_mutex_lock(&mutex_); }
  void unlock() { pthread_mutex_unlock(&mutex_); }
  bool try_lock() { return pthread_mutex_trylock(&mutex_) == 0; }

  pthread_mutex_t* native() { return &mutex_; }

 private:
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// A process-private POSIX condition variable on the wall clock.
class Condition {
 public:
  Condition() = default;
  ~Condition() { pthread_cond_destroy(&condition_); }
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void broadcast() { pthread_cond_broadcast(&condition_); }

  /// Waits, with the locked mutex released meanwhile, until a broadcast or for no reason.
  void wait(Mutex& mutex) { pthread_cond_wait(&condition_, mutex.native()); }

  /// Waits, with the locked mutex released meanwhile, until a broadcast, the absolute deadline or
  /// for no reason.
  void timedWait(Mutex& mutex, const timespec& deadline) {
    pthread_cond_timedwait(&condition_, mutex.native(), &deadline);
  }

 private:
  pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
};

}  // namespace OMC
