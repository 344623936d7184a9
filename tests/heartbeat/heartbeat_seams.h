#pragma once

#include <atomic>
#include <chrono>
#include <ctime>
#include <string>
#include <vector>

/// What a program that links heartbeat_seams.cpp has instead of the heartbeat's surroundings: the
/// times of its waits, and with --wrap also the configuration file (open, stat), time, gethostname
/// and pthread_create.
namespace orv::test {

struct HeartbeatSeams {
  /// So many waits end at once; the others last until the thread is woken.
  std::atomic<int> periodsToPass{0};
  std::atomic<std::time_t> now{1'600'000'000};
  std::atomic<bool> threadsFail{false};
  std::atomic<bool> brokerStarted{true};  ///< false: it stays too young for indications
  std::atomic<std::chrono::milliseconds> stopPatience{std::chrono::seconds(5)};
  std::string hostName = "host-7";  ///< set it before a thread starts
  std::string configurationFile;    ///< opened in place of /etc/sfcb/sfcb.cfg; empty: none

  std::vector<long> periodsAskedFor() const;  ///< seconds, in order; the first thousand
};

/// Never destroyed.
HeartbeatSeams& heartbeatSeams();

}  // namespace orv::test
