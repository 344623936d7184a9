#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <vector>

#include "heartbeat/heartbeat_provider.h"
#include "tests/heartbeat/heartbeat_seams.h"
#include "tests/support/recording_broker.h"

namespace {

constexpr unsigned kTooLongSeconds = 60;  // a process that hangs gets SIGALRM then

/// A process that starts the thread and exits, without a cleanup, while it runs.
[[noreturn]] void startAndExit(int round) {
  alarm(kTooLongSeconds);
  // Leaked, as a provider and its broker are when their process exits.
  auto& broker = *new orv::test::RecordingBroker;
  auto& provider = *new Heartbeat::HeartbeatProvider(*broker.broker(), broker.context());
  orv::test::heartbeatSeams().periodsToPass = round % 2 == 0 ? 0 : INT_MAX;  // it waits, or works
  broker.keepDeliveries = false;
  provider.initialize(broker.context());
  if (round % 4 != 0) broker.waitForDeliveries(1);
  usleep(static_cast<useconds_t>(round % 7 * 100));
  std::exit(0);
}

TEST(HeartbeatAtExit, NeitherCrashesNorHangs) {
  constexpr int kRounds = 200;
  constexpr int kAtATime = 10;  // the thread sanitizer lets every process sleep when it exits
  { const orv::test::RecordingBroker schemaOnce; }
  for (int round = 0; round < kRounds;) {
    std::vector<pid_t> children;
    for (int count = 0; count < kAtATime; ++count, ++round) {
      children.push_back(fork());
      ASSERT_GE(children.back(), 0);
      if (children.back() == 0) startAndExit(round);
    }
    for (const pid_t child : children) {
      int status = 0;
      ASSERT_EQ(child, waitpid(child, &status, 0));
      ASSERT_TRUE(WIFEXITED(status)) << "before round " << round << ", signal " << WTERMSIG(status);
      ASSERT_EQ(0, WEXITSTATUS(status)) << "before round " << round;
    }
  }
}

}  // namespace
