#include "hardware/counter_baselines.h"

#include <gtest/gtest.h>

namespace Hardware {
namespace {

TEST(CounterBaselines, WhatWasThereAtTheFirstLookIsNoGrowth) {
  CounterBaselines baselines;
  EXPECT_EQ(baselines.growth("a", "errors", 7), 0u);
  EXPECT_EQ(baselines.growth("a", "errors", 7), 0u);
  EXPECT_EQ(baselines.growth("a", "errors", 10), 3u);
  EXPECT_EQ(baselines.growth("a", "errors", 12), 5u);
}

TEST(CounterBaselines, ElementsAndCountersAreApart) {
  CounterBaselines baselines;
  EXPECT_EQ(baselines.growth("a", "errors", 1), 0u);
  EXPECT_EQ(baselines.growth("b", "errors", 5), 0u);
  EXPECT_EQ(baselines.growth("a", "others", 9), 0u);
  EXPECT_EQ(baselines.growth("a", "errors", 2), 1u);
}

TEST(CounterBaselines, ACounterThatWentBackCountsFromThere) {
  CounterBaselines baselines;
  baselines.growth("a", "errors", 100);
  EXPECT_EQ(baselines.growth("a", "errors", 2), 2u);
  EXPECT_EQ(baselines.growth("a", "errors", 3), 3u);
}

TEST(CounterBaselines, WhatHeldOnceHasHeld) {
  CounterBaselines baselines;
  EXPECT_FALSE(baselines.everHeld("a", "link", false));
  EXPECT_TRUE(baselines.everHeld("a", "link", true));
  EXPECT_TRUE(baselines.everHeld("a", "link", false));
  EXPECT_FALSE(baselines.everHeld("b", "link", false));
}

TEST(CounterBaselines, DoNotGrowWithoutEnd) {
  CounterBaselines baselines;
  for (std::size_t i = 0; i < CounterBaselines::kMost; ++i) {
    baselines.growth(std::to_string(i), "errors", 1);
  }
  EXPECT_EQ(baselines.growth("one more", "errors", 1), 0u);
  EXPECT_EQ(baselines.growth("one more", "errors", 5), 0u);
  EXPECT_EQ(baselines.growth("0", "errors", 5), 4u);
}

}  // namespace
}  // namespace Hardware
