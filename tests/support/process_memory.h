#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>

#include "broker/broker.h"

/// Shows that work done again and again leaves nothing behind: neither broker objects nor memory.
namespace orv::test {

class MemoryAfterWarmUp {
 public:
  /// After the first rounds, which fill caches.
  void warmedUp() {
    objects_ = broker::Broker::liveObjects().total();
    resident_ = residentBytes();
  }

  /// Sanitizers keep freed memory for a while, and records of their own: the limit leaves room for
  /// that, and for nothing that grows with each round.
  void expectNoGrowth() const {
    EXPECT_EQ(objects_, broker::Broker::liveObjects().total());
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t kLimit = std::size_t{400} << 20;
#else
    constexpr std::size_t kLimit = std::size_t{2} << 20;
#endif
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
