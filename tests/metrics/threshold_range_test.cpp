#include "metrics/threshold_range.h"

#include <gtest/gtest.h>

#include <vector>

namespace orv::test {
namespace {

using metrics::ThresholdRange;

TEST(ThresholdRange, AlertsAsPluginsWriteIt) {
  struct Row {
    const char* range;
    std::vector<double> good;
    std::vector<double> bad;
  };
  const Row rows[] = {{"10", {0, 5, 10}, {-0.1, 10.1}},
                      {"10:", {10, 1e9}, {9.9, -1}},
                      {"~:10", {-1e9, 0, 10}, {10.1}},
                      {"10:20", {10, 15, 20}, {9.9, 20.1}},
                      {"@10:20", {9.9, 20.1}, {10, 15, 20}},
                      {"@10", {-1, 10.1}, {0, 10}},
                      {"~:", {-1e9, 1e9}, {}},
                      {"0", {0}, {1}},
                      {"-5:-1", {-5, -1}, {0, -6}},
                      {"0.5:1.5", {1}, {0.4, 1.6}},
                      {"@~:5", {6}, {-1e9, 5}}};
  for (const Row& row : rows) {
    const auto range = ThresholdRange::parse(row.range);
    ASSERT_TRUE(range) << row.range;
    EXPECT_EQ(range->text(), row.range);
    for (const double value : row.good)
      EXPECT_FALSE(range->alerts(value)) << row.range << " " << value;
    for (const double value : row.bad)
      EXPECT_TRUE(range->alerts(value)) << row.range << " " << value;
  }
}

TEST(ThresholdRange, RefusesWhatIsNoRange) {
  for (const char* text : {"", "@", ":", "x", "10x", "20:10", "10:~", "~", "1:2:3", " 10", "10 ",
                           "nan", "inf", "~:inf", "1e999", "@@10", ":10"}) {
    EXPECT_FALSE(ThresholdRange::parse(text)) << text;
  }
}

}  // namespace
}  // namespace orv::test
