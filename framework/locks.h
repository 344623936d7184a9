#pragma once

#include <pthread.h>

#include <chrono>
#include <ctime>

namespace OMC {

/// A moment of the wall clock: how long to wait for a mutex or a condition.
using WallTime = std::chrono::system_clock::time_point;

/// The same moment, as the POSIX calls take it.
inline timespec toTimespec(WallTime moment) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(moment);
  const std::chrono::nanoseconds rest = moment - seconds;
  return {std::chrono::system_clock::to_time_t(seconds), static_cast<long>(rest.count())};
}

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
  /// False when another thread still holds it at `deadline`.
  bool try_lock_until(WallTime deadline) {
    const timespec until = toTimespec(deadline);
    return pthread_mutex_timedlock(&mutex_, &until) == 0;
  }

  pthread_mutex_t* native() { return &mutex_; }

 private:
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// A process-private POSIX condition variable on the wall clock. A wait may also end for no reason,
/// so callers check again what they wait for.
class Condition {
 public:
  Condition() = default;
  ~Condition() { pthread_cond_destroy(&condition_); }
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void broadcast() { pthread_cond_broadcast(&condition_); }

  /// Waits for a broadcast, until `deadline` at the latest, with the locked mutex released
  /// meanwhile. False when the deadline has passed.
  bool waitUntil(Mutex& mutex, WallTime deadline) {
    const timespec until = toTimespec(deadline);
    return pthread_cond_timedwait(&condition_, mutex.native(), &until) == 0;
  }

 private:
  pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
};

}  // namespace OMC
