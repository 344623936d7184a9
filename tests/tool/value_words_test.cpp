#include "tool/value_words.h"

#include <gtest/gtest.h>

#include "tests/tool/sample.h"

namespace orv::tool {
namespace {

using broker::Value;

class ValueWords : public testing::Test {
 protected:
  std::string words(const char* property, const Value& value) {
    return valueWords(classes_.find("T_Port")->property(property), value);
  }
  static Value number(std::uint64_t n) { return Value::ofUnsigned(CMPI_uint16, n); }

  broker::ClassRepository classes_ = sampleClasses();
};

TEST_F(ValueWords, FollowTheValueMap) {
  EXPECT_EQ(words("State", number(0)), "Unknown");
  EXPECT_EQ(words("State", number(2)), "Enabled");
}

TEST_F(ValueWords, KnowRangesAndWhatNoOtherEntryCovers) {
  EXPECT_EQ(words("State", number(10)), "Range");
  EXPECT_EQ(words("State", number(20)), "Range");
  EXPECT_EQ(words("State", number(21)), "Others");
}

TEST_F(ValueWords, CountFromZeroWithoutAValueMap) {
  EXPECT_EQ(words("Counted", number(1)), "One");
  EXPECT_EQ(words("Counted", number(2)), "");
}

TEST_F(ValueWords, TellEveryElementOfAnArrayOrNone) {
  EXPECT_EQ(words("Status",
                  Value::ofArray(CMPI_uint16, {number(2), Value::ofNull(CMPI_uint16), number(10)})),
            "OK, Stopped");
  EXPECT_EQ(words("Status", Value::ofArray(CMPI_uint16, {number(2), number(3)})), "");
  EXPECT_EQ(words("Status", Value::ofArray(CMPI_uint16, {})), "");
}

TEST_F(ValueWords, TellTimes) {
  EXPECT_EQ(words("Since", Value::ofDateTime({"20261121024000.000000+000", 0, false})),
            "2026-11-21 02:40:00 +00:00");
  EXPECT_EQ(words("Since", Value::ofDateTime({"odd", 0, false})), "");
}

TEST_F(ValueWords, AddNothingToTextsNullsAndUnknownProperties) {
  EXPECT_EQ(words("Id", Value::ofString("2")), "");
  EXPECT_EQ(words("State", Value::ofNull(CMPI_uint16)), "");
  EXPECT_EQ(words("Id", number(2)), "");
  EXPECT_EQ(valueWords(nullptr, number(2)), "");
}

}  // namespace
}  // namespace orv::tool
