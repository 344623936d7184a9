// Threads when the system allows no more.

#include "tool/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

#include "tests/support/failing_threads.h"

namespace orv::tool {
namespace {

TEST(Threads, WorkGoesOnWithThoseThatThereAre) {
  for (const int others : {0, 2, 1 << 30}) {
    test::threadsLeft = others;
    std::atomic<int> next{0};
    std::atomic<int> done{0};
    runInThreads(32, [&] {
      while (next++ < 40) ++done;
    });
    EXPECT_EQ(done, 40) << others;
  }
}

TEST(Threads, AreWaitedForWhenTheCallingOneThrows) {
  const pthread_t self = pthread_self();
  std::atomic<int> done{0};
  EXPECT_THROW(runInThreads(4,
                            [&] {
                              if (pthread_equal(self, pthread_self()) != 0) {
                                throw std::runtime_error("full disk");
                              }
                              ++done;
                            }),
               std::runtime_error);
  EXPECT_EQ(done, 3);
}

}  // namespace
}  // namespace orv::tool
