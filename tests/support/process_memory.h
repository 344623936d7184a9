#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>

#include "broker/testing/test_broker.h"
#include "tests/support/sanitized.h"

/// Shows that work done again and again leaves nothing behind: neither broker objects nor memory.
namespace orv::test {

/// Rounds that show growth, and those before them that fill caches. Sanitizers are ten times as
/// slow.
constexpr std::size_t kManyRounds = kSanitized ? 10'000 : 100'000;
constexpr std::size_t kWarmUpRounds = 1'000;

class MemoryAfterWarmUp {
 public:
  /// After the first rounds, which fill caches.
  void warmedUp() {
    objects_ = broker::TestBroker::liveObjects();
    resident_ = residentBytes();
  }

  /// Sanitizers keep freed memory for a while, and records of their own: the limit leaves room for
  /// that, and for nothing that grows with each round.
  void expectNoGrowth() const {
    EXPECT_EQ(objects_, broker::TestBroker::liveObjects());
    constexpr std::size_t kLimit = std::size_t{kSanitized ? 400 : 2} << 20;
    EXPECT_LE(residentBytes(), resident_ + kLimit);
  }

 private:
  static std::size_t residentBytes() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  }

  std::size_t objects_ = 0;
  std::size_t resident_ = 0;
};

}  // namespace orv::test
