#include "tool/end_signals.h"

#include <csignal>

namespace orv::tool {
namespace {

sigset_t endSignals() {
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  return ends;
}

}  // namespace

void blockEndSignals() {
  const sigset_t ends = endSignals();
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
}

void waitForEndSignal() {
  const sigset_t ends = endSignals();
  int received = 0;
  while (sigwait(&ends, &received) != 0) {
  }
}

}  // namespace orv::tool
