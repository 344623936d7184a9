#include "framework/background_thread.h"

#include <csignal>
#include <memory>
#include <mutex>
#include <utility>

#include "cmpi/cmpi_status.h"
#include "framework/thread_times.h"

namespace ORV {

namespace {

using std::chrono::system_clock;

/// Blocks SIGUSR1, for its own life, in the calling thread and in the threads that it starts.
class BlockedStopSignal {
 public:
  BlockedStopSignal() {
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &stop, &before_);
  }
  ~BlockedStopSignal() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedStopSignal(const BlockedStopSignal&) = delete;
  BlockedStopSignal& operator=(const BlockedStopSignal&) = delete;

 private:
  sigset_t before_;
};

/// Calls `step` in a thread that no exception may leave. False when it throws.
template <typename Step>
bool succeeds(Step&& step) {
  try {
    step();
    return true;
  } catch (...) {
    return false;
  }
}

/// The moment `duration` from now, on the clock that waits are measured with.
OMC::WallTime wallTimeIn(std::chrono::nanoseconds duration) {
  return system_clock::now() + std::chrono::ceil<system_clock::duration>(duration);
}

}  // namespace

bool ThreadGroup::stop() {
  stopped_ = true;  // before the mutex, which a thread may never release
  if (abandoned_) return false;
  if (stopUntil(wallTimeIn(stopPatience()))) return true;
  abandoned_ = true;               // what ends from now on leaves by itself,
  stopUntil(system_clock::now());  // and this joins what has ended just before
  return false;
}

bool ThreadGroup::stopUntil(OMC::WallTime deadline) {
  std::unique_lock<OMC::Mutex> lock(mutex_, deadline);
  if (!lock) return false;
  condition_.broadcast();
  for (BackgroundThread* thread : threads_) {
    if (!thread->joinUntil(lock, deadline)) return false;
  }
  while (joining_ > 0) {
    if (!condition_.waitUntil(mutex_, deadline) && joining_ > 0) return false;
  }
  return true;
}

/// What a request hands to the thread that it starts. The thread frees it.
struct BackgroundThread::Job {
  Job(BackgroundThread& of, const CmpiBroker& starter, const CmpiContext& request, ThreadWork todo)
      : thread(of),
        broker(starter),
        context(starter.prepareAttachThread(request)),
        work(std::move(todo)) {
    if (context.isNull()) throw CmpiStatus(CMPI_RC_ERR_FAILED);
  }

  BackgroundThread& thread;
  const CmpiBroker broker;
  const CmpiPreparedContext context;
  const ThreadWork work;
};

BackgroundThread::BackgroundThread(ThreadGroup& group) : group_(group) {
  group.threads_.push_back(this);
}

bool BackgroundThread::start(const CmpiBroker& broker, const CmpiContext& request,
                             ThreadWork work) {
  if (running_) return true;
  auto job = std::make_unique<Job>(*this, broker, request, std::move(work));
  // A thread that has ended by itself no longer needs the mutex.
  if (handle_) pthread_join(*handle_, nullptr);
  handle_.reset();
  pthread_t thread{};
  const BlockedStopSignal blocked;
  if (pthread_create(&thread, nullptr, main, job.get()) != 0) return false;
  static_cast<void>(job.release());  // freed by the thread
  handle_ = thread;
  running_ = true;
  return true;
}

void* BackgroundThread::main(void* job) noexcept {
  const std::unique_ptr<Job> own(static_cast<Job*>(job));
  own->thread.run(*own);
  return nullptr;
}

void BackgroundThread::run(Job& job) noexcept {
  const bool ready = !job.work.attaches || succeeds([&] { job.broker.attachThread(job.context); });
  const AttachedThreadMemory memory =
      job.work.attaches ? AttachedThreadMemory(job.context) : AttachedThreadMemory();
  const std::lock_guard<OMC::Mutex> lock(group_.mutex_);
  // An exception ends the thread, not the process.
  if (ready) succeeds([&] { workUntilStopped(job, {job.broker, job.context, memory}); });
  running_ = false;
  if (group_.abandoned_) leaveByItself();
}

/// Nobody joins this thread any more, or wakes those of its group that wait.
void BackgroundThread::leaveByItself() {
  if (handle_) pthread_detach(*handle_);
  handle_.reset();
  group_.condition_.broadcast();
}

void BackgroundThread::workUntilStopped(Job& job, const ThreadTools& tools) {
  if (job.work.delivers) waitForBroker();
  while (!group_.stopped_) {
    job.work.cycle(tools);
    wait(deadlineIn(job.work.period()));
  }
}

/// Asks for the time left again after each wait, since the clock of the waits may be set meanwhile.
void BackgroundThread::waitForBroker() {
  for (auto left = brokerStartupLeft(); left.count() > 0 && !group_.stopped_;
       left = brokerStartupLeft()) {
    wait(wallTimeIn(left));
  }
}

void BackgroundThread::wait(OMC::WallTime deadline) {
  // A stop that did not get the mutex while the cycle ran could not wake this thread.
  if (!group_.stopped_) group_.condition_.waitUntil(group_.mutex_, deadline);
}

/// Joins the thread, unless it is joined or was never started. Releases the mutex meanwhile, which
/// the thread needs in order to end. False when it has not ended at `deadline`; it is left alone
/// then.
bool BackgroundThread::joinUntil(std::unique_lock<OMC::Mutex>& lock, OMC::WallTime deadline) {
  if (!handle_) return true;
  const pthread_t thread = *handle_;
  handle_.reset();
  ++group_.joining_;
  lock.unlock();
  const timespec until = OMC::toTimespec(deadline);
  if (pthread_timedjoin_np(thread, nullptr, &until) != 0) {
    pthread_detach(thread);
    return false;
  }
  if (!lock.try_lock_until(deadline)) return false;
  --group_.joining_;
  group_.condition_.broadcast();
  return true;
}

}  // namespace ORV
