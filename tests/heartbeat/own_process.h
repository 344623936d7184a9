#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>

namespace orv::test {

/// The module stops for good, so each scenario runs in a process of its own: `scenario` in a child
/// that started afresh, whose failed expectations fail the test.
inline void inProcessOfItsOwn(const std::function<void()>& scenario) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        scenario();
        _exit(testing::Test::HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace orv::test
