#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include "cmpi/cmpi_broker.h"
#include "cmpi/cmpi_context.h"
#include "framework/locks.h"
#include "framework/thread_memory.h"

namespace ORV {

class BackgroundThread;

/// The background threads of one module, and their end.
///
/// They share the mutex that guards the module's data and a condition. Keep all of it in storage
/// that is never destroyed: the process may exit while threads run.
class ThreadGroup {
 public:
  ThreadGroup(OMC::Mutex& mutex, OMC::Condition& condition)
      : mutex_(mutex), condition_(condition) {}
  ThreadGroup(const ThreadGroup&) = delete;
  ThreadGroup& operator=(const ThreadGroup&) = delete;

  /// Ends the threads for good: those started later end before they do any work. Called without
  /// the mutex, by any number of callers at once and any number of times; each thread is joined
  /// exactly once, and every caller returns only when all have ended.
  ///
  /// False when they have not ended after stopPatience(), because one holds the mutex in a call of
  /// the broker that does not return. Such threads end when it does return, and nobody waits for
  /// them again: later calls answer false at once.
  bool stop();

 private:
  friend class BackgroundThread;

  bool stopUntil(OMC::WallTime deadline);

  OMC::Mutex& mutex_;
  OMC::Condition& condition_;  ///< broadcast to stop the threads, and when one has been joined
  std::vector<BackgroundThread*> threads_;  ///< each adds itself when it is made
  int joining_ = 0;                         ///< callers that join a thread; guarded by mutex_
  std::atomic<bool> stopped_{false};        ///< never set back
  std::atomic<bool> abandoned_{false};      ///< a caller has given up waiting
};

/// What a background thread works with.
struct ThreadTools {
  const CmpiBroker& broker;
  const CmpiContext& context;          ///< the thread's own
  const AttachedThreadMemory& memory;  ///< does nothing on a thread that is not attached
};

/// What a background thread does.
struct ThreadWork {
  /// Done at once and then after each period, with the group's mutex held. An exception that
  /// leaves it ends the thread, and only that.
  std::function<void(const ThreadTools&)> cycle;
  /// Asked after each cycle.
  std::function<std::chrono::seconds()> period;
  /// Whether the thread attaches to the broker first; it does no work where that is refused.
  bool attaches = false;
  /// Whether cycles deliver indications: the first one waits until the broker has started.
  bool delivers = false;
};

/// A thread that does its work once per period, until its group is stopped. At most one runs at a
/// time; it starts again where it has ended by itself. It leaves SIGUSR1 to the object manager's
/// threads: there the signal ends the process in good order.
class BackgroundThread {
 public:
  explicit BackgroundThread(ThreadGroup& group);
  BackgroundThread(const BackgroundThread&) = delete;
  BackgroundThread& operator=(const BackgroundThread&) = delete;

  /// Starts the thread unless it runs, with a copy of the request's context that the broker
  /// prepares for it and that is released when it ends. The caller holds the group's mutex.
  ///
  /// False when no thread can be made. Fails: CmpiStatus when the broker prepares no
  /// context; std::bad_alloc.
  bool start(const CmpiBroker& broker, const CmpiContext& request, ThreadWork work);

  /// From its start until it has left its last cycle. The caller holds the group's mutex.
  bool isRunning() const { return running_; }

 private:
  friend class ThreadGroup;
  struct Job;

  static void* main(void* job) noexcept;
  void run(Job& job) noexcept;
  void workUntilStopped(Job& job, const ThreadTools& tools);
  void waitForBroker();
  void wait(OMC::WallTime deadline);
  bool joinUntil(std::unique_lock<OMC::Mutex>& lock, OMC::WallTime deadline);

  ThreadGroup& group_;
  // Guarded by the group's mutex.
  bool running_ = false;
  std::optional<pthread_t> handle_;  ///< of a thread that nobody has joined
};

}  // namespace ORV
