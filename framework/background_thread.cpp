#include "framework/background_thread.h"

#include <csignal>

namespace ORV {

namespace {

/// While it lives, the calling thread and the threads that it starts do not get SIGUSR1.
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

}  // namespace

int startBackgroundThread(pthread_t& thread, void* (*body)(void*), void* argument) {
  const BlockedStopSignal blocked;
  return pthread_create(&thread, nullptr, body, argument);
}

}  // namespace ORV
