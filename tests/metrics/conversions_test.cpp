#include "metrics/conversions.h"

#include <gtest/gtest.h>

#include "tests/metrics/scripted_host.h"

namespace orv::test {
namespace {

using broker::Value;
using metrics::Conversion;

TEST(Conversions, TurnValuesIntoBaseUnits) {
  struct Row {
    const Conversion& conversion;
    Value value;
    double expected;
  };
  const Row rows[] = {
      {metrics::kAsIs, number(7), 7},
      {metrics::kAsIs, Value::ofSigned(CMPI_sint32, -7), -7},
      {metrics::kAsIs, Value::ofReal(CMPI_real64, 0.5), 0.5},
      {metrics::kAsIs, number(UINT64_MAX), 18446744073709551616.0},
      {metrics::kFlag, flag(true), 1},
      {metrics::kFlag, flag(false), 0},
      {metrics::kFlag, number(1, CMPI_uint16), 1},
      {metrics::kFlag, number(0, CMPI_uint16), 0},
      {metrics::kBytes, number(9000), 9000},
      {metrics::kBitRate, number(10'000'000'000), 1'250'000'000},
      {metrics::kMicroseconds, number(3), 3e-6},
      {metrics::kSeconds, number(3), 3},
      {metrics::kPacketRate, number(40000), 40000},
      {metrics::kTime, time(1412380800), 1412380800},
      {metrics::kHealth, number(25, CMPI_uint16), 25},
      {metrics::kPortEnabled, number(2, CMPI_uint16), 1},
      {metrics::kPortEnabled, number(3, CMPI_uint16), 0},
      {metrics::kPortEnabled, number(6, CMPI_uint16), 1},
      {metrics::kPortUp, number(2, CMPI_uint16), 1},
      {metrics::kPortUp, number(3, CMPI_uint16), 0},
      {metrics::kPortUp, number(6, CMPI_uint16), 0},
      {metrics::kCpuRunning, number(1, CMPI_uint16), 1},
      {metrics::kCpuRunning, number(4, CMPI_uint16), 0},
  };
  for (const Row& row : rows) {
    const std::optional<double> converted = row.conversion.apply(row.value);
    ASSERT_TRUE(converted) << row.value;
    EXPECT_EQ(*converted, row.expected) << row.value;
  }
}

TEST(Conversions, WhatIsNotKnownHasNoNumber) {
  for (const Conversion* conversion :
       {&metrics::kAsIs, &metrics::kFlag, &metrics::kBytes, &metrics::kBitRate,
        &metrics::kMicroseconds, &metrics::kSeconds, &metrics::kPacketRate, &metrics::kTime,
        &metrics::kHealth, &metrics::kPortEnabled, &metrics::kPortUp, &metrics::kCpuRunning}) {
    EXPECT_FALSE(conversion->apply(nothing()));
    EXPECT_FALSE(conversion->apply(text("5"))) << "of another kind than the schema's";
    EXPECT_FALSE(conversion->apply(Value::ofArray(CMPI_uint16, {number(2, CMPI_uint16)})));
  }
  EXPECT_FALSE(metrics::kBitRate.apply(number(0)));
  EXPECT_FALSE(metrics::kPortUp.apply(number(5, CMPI_uint16)));
  EXPECT_FALSE(metrics::kPortEnabled.apply(number(0, CMPI_uint16)));
  EXPECT_FALSE(metrics::kTime.apply(Value::ofDateTime({"", 5, true}))) << "an interval";
}

TEST(Conversions, TextsOfLabels) {
  EXPECT_EQ(metrics::plainText(text("eth0")), "eth0");
  EXPECT_EQ(metrics::plainText(number(64)), "64");
  EXPECT_EQ(metrics::plainText(Value::ofSigned(CMPI_sint8, -1)), "-1");
  EXPECT_EQ(metrics::plainText(flag(true)), "true");
  EXPECT_EQ(metrics::plainText(nothing(CMPI_string)), "");
  EXPECT_EQ(metrics::plainText(text("a\xFF")), "a\xEF\xBF\xBD") << "Prometheus takes UTF-8 only";
  EXPECT_EQ(metrics::macText(text("021A2BABCDEF")), "02:1a:2b:ab:cd:ef");
  EXPECT_EQ(metrics::macText(text("021A2BABCDEG")), "021A2BABCDEG");
  EXPECT_EQ(metrics::macText(text("")), "");
  EXPECT_EQ(metrics::lastPartText(text("Orvane:Orvane_EPDriverSoftwareIdentity:a:b")), "a:b");
  EXPECT_EQ(metrics::lastPartText(text("other")), "other");
  EXPECT_EQ(metrics::lastPartText(text("Orvane:x")), "Orvane:x");
  EXPECT_EQ(metrics::vendorText(number(1, CMPI_uint16)), "Other");
  EXPECT_EQ(metrics::vendorText(number(2, CMPI_uint16)), "GenuineIntel");
  EXPECT_EQ(metrics::vendorText(number(3, CMPI_uint16)), "AuthenticAMD");
  EXPECT_EQ(metrics::vendorText(number(9, CMPI_uint16)), "9");
  EXPECT_EQ(metrics::vendorText(nothing()), "");
  EXPECT_EQ(metrics::bankText(text("Orvane Ondi 5.1.0")), "running");
  EXPECT_EQ(metrics::bankText(text("Alt Boot Bank: Orvane Ondi 5.0.0")), "alternate");
}

}  // namespace
}  // namespace orv::test
