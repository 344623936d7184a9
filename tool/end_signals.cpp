#include "tool/end_signals.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <ctime>
#include <initializer_list>

namespace orv::tool {
namespace {

std::atomic<bool> taken{false};

sigset_t endSignals() {
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ends, signal);
  return ends;
}

}  // namespace

void blockEndSignals() {
  const sigset_t ends = endSignals();
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

void waitForEndSignal() {
  const sigset_t ends = endSignals();
  int received = 0;
  while (sigwait(&ends, &received) != 0) {
  }
  taken = true;
}

bool takeEndSignal() {
  const sigset_t ends = endSignals();
  const timespec now{};
  if (taken || sigtimedwait(&ends, nullptr, &now) <= 0) return false;
  taken = true;
  return true;
}

void raiseEndSignal() { kill(getpid(), SIGTERM); }

}  // namespace orv::tool
