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

/// The background threads of one module, which end together.
///
/// They share a condition and the mutex that guards the module's data. Keep all of it in storage
/// that is never destroyed: the process may exit while threads run.
class ThreadGroup {
 public:
  ThreadGroup(OMC::Mutex& mutex, OMC::Condition& condition)
      : mutex_(mutex), condition_(condition) {}
  ThreadGroup(const ThreadGroup&) = delete;
  ThreadGroup& operator=(const ThreadGroup&) = delete;

  /// Ends the threads for good; one that is started later ends before it does any work. Called
  /// without the mutex, by any number of callers at once and any number of times: each thread is
  /// joined exactly once, and every caller returns only when all have ended.
  ///
  /// False when they have not ended after stopPatience(), because one holds the mutex in a call to
  /// the broker that does not return. Such a thread ends when the call does return, and so do the
  /// others then. Nobody waits again: later calls return false at once.
  bool stop();

 private:
  friend class BackgroundThread;

  bool stopUntil(OMC::WallTime deadline);

  OMC::Mutex& mutex_;
  OMC::Condition& condition_;  ///< broadcast to stop the threads, and when one has been joined
  std::vector<BackgroundThread*> threads_;  ///< each adds itself when it is made
  int joining_ = 0;                     ///< callers that are joining a thread; guarded by mutex_
  std::atomic<bool> stopped_{false};    ///< never set back
  std::atomic<bool> abandoned_{false};  ///< a caller of stop() has given up
};

/// What a background thread works with.
struct ThreadTools {
  const CmpiBroker& broker;
  const CmpiContext& context;          ///< the thread's own
  const AttachedThreadMemory& memory;  ///< does nothing on a thread that is not attached
};

/// What a background thread does.
struct ThreadWork {
  /// Called at once and then after each period, with the group's mutex held. An exception from it
  /// ends the thread and nothing else.
  std::function<void(const ThreadTools&)> cycle;
  /// How long to wait, asked after each cycle.
  std::function<std::chrono::seconds()> period;
  /// Whether the thread attaches to the broker first. If that is refused, it does no work.
  bool attaches = false;
  /// Whether cycles deliver indications. Then the first one waits until the broker has started.
  bool delivers = false;
};

/// A thread that does its work once per period, until its group is stopped. At most one runs at a
/// time; after it has ended by itself it can be started again. It leaves SIGUSR1 to the object
/// manager's threads, in which the signal ends the process in good order.
class BackgroundThread {
 public:
  explicit BackgroundThread(ThreadGroup& group);
  BackgroundThread(const BackgroundThread&) = delete;
  BackgroundThread& operator=(const BackgroundThread&) = delete;

  /// Starts the thread unless it runs. The broker copies the request's context for it, and the copy
  /// is released when the thread ends. The caller holds the group's mutex.
  ///
  /// False when no thread can be made. Fails: CmpiStatus when the broker prepares no
  /// context; std::bad_alloc.
  bool start(const CmpiBroker& broker, const CmpiContext& request, ThreadWork work);

  /// True from the start until the last cycle has ended. The caller holds the group's mutex.
  bool isRunning() const { return running_; }

 private:
  friend class ThreadGroup;
  struct Job;

  static void* main(void* job) noexcept;
  void run(Job& job) noexcept;
  void leaveByItself();
  void workUntilStopped(Job& job, const ThreadTools& tools);
  void waitForBroker();
  void wait(OMC::WallTime deadline);
  bool joinUntil(std::unique_lock<OMC::Mutex>& lock, OMC::WallTime deadline);

  ThreadGroup& group_;
  // Guarded by the group's mutex.
  bool running_ = false;
  std::optional<pthread_t> handle_;  ///< of a thread that is neither joined nor detached
};

}  // namespace ORV
