#include "serve/worker_pool.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <system_error>

namespace orv::serve {
namespace {

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they reserve terabytes
/// Ends the process with 0 when the failure could be caught, and a smaller pool works afterwards.
[[noreturn]] void askForTooManyThreads() {
  rlimit space{};
  getrlimit(RLIMIT_AS, &space);
  space.rlim_cur = rlim_t{1} << 30;  // stacks of a hundred threads
  setrlimit(RLIMIT_AS, &space);
  try {
    const WorkerPool pool(10'000);
  } catch (const std::system_error&) {
    const WorkerPool smaller(2);
    _exit(0);
  }
  _exit(1);
}

TEST(WorkerPoolDeathTest, ThreadsThatCannotBeHadAreAnException) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(askForTooManyThreads(), testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
}  // namespace orv::serve
