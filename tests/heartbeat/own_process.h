#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>

#ifdef ORV_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace orv::test {

/// Ends the process without what a normal exit does for threads and static objects.
[[noreturn]] inline void endProcess(int status) {
#ifdef ORV_COVERAGE
  __gcov_dump();  // which _exit does not do
#endif
  _exit(status);
}

/// The module stops for good, so each scenario runs in a process of its own: `scenario` in a child
/// that started afresh, whose failed expectations fail the test.
inline void inProcessOfItsOwn(const std::function<void()>& scenario) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        scenario();
        endProcess(testing::Test::HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace orv::test
