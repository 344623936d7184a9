#include "heartbeat/interval_config.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <random>
#include <sstream>
#include <string>

namespace {

using Heartbeat::kUnreadableInterval;
using Heartbeat::scanInterval;

std::optional<std::int32_t> intervalIn(const std::string& text) {
  std::istringstream in(text);
  return scanInterval(in);
}

constexpr std::optional<std::int32_t> kNone;

TEST(Interval, IsTheFirstRunOfDigitsOnTheLine) {
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 60\n"));
  EXPECT_EQ(30, intervalIn("heartbeatInterval: 30\n"));
  EXPECT_EQ(29, intervalIn("heartbeatInterval=29\n"));
  EXPECT_EQ(45, intervalIn("heartbeatInterval 45\n"));
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 60 90\n"));
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 60s\n"));
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 60.5\n"));
  EXPECT_EQ(60, intervalIn("heartbeatInterval:\t \t60\t\r\n"));
  EXPECT_EQ(60, intervalIn("heartbeatInterval: sixty or 60\n"));
}

TEST(Interval, MayStandBeforeTheKeyword) {
  EXPECT_EQ(60, intervalIn(" 60 heartbeatInterval: 90\n"));
  EXPECT_EQ(5988, intervalIn("httpPort: 5988 heartbeatInterval: 60\n"));
  EXPECT_EQ(60, intervalIn("enableInterOp: true heartbeatInterval: 60\n"));
}

TEST(Interval, HasNoSign) {
  EXPECT_EQ(45, intervalIn("heartbeatInterval: -45\n"));
  EXPECT_EQ(45, intervalIn("heartbeatInterval: +45\n"));
}

TEST(Interval, BehindACommentMarkIsNone) {
  EXPECT_EQ(kNone, intervalIn("#heartbeatInterval: 60\n"));
  EXPECT_EQ(kNone, intervalIn("heartbeatInterval: # 60\n"));
  EXPECT_EQ(kNone, intervalIn("  # heartbeatInterval: 60\n"));
}

TEST(Interval, EndsAtACommentMark) {
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 60 #was 90\n"));
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 60#was 90\n"));
  EXPECT_EQ(12, intervalIn("a 12 # heartbeatInterval: 60\n"));
}

TEST(Interval, AtTheStartOfTheLineIsNone) {
  EXPECT_EQ(kNone, intervalIn("60 heartbeatInterval: 90\n"));
  EXPECT_EQ(kNone, intervalIn("9heartbeatInterval: 90\n"));
  EXPECT_EQ(90, intervalIn("\n heartbeatInterval: 90\n"));
}

TEST(Interval, OfALineWithoutDigitsIsNone) {
  EXPECT_EQ(kNone, intervalIn("heartbeatInterval\n"));
  EXPECT_EQ(kNone, intervalIn("heartbeatInterval: never\n"));
}

TEST(Interval, KeywordCountsAnywhereInTheLineAndWithItsCase) {
  EXPECT_EQ(60, intervalIn("myheartbeatIntervals: 60\n"));
  EXPECT_EQ(60, intervalIn("hheartbeatInterval: 60\n"));
  EXPECT_EQ(60, intervalIn("heartbeatheartbeatInterval: 60\n"));
  EXPECT_EQ(kNone, intervalIn("heartbeatinterval: 60\n"));
  EXPECT_EQ(kNone, intervalIn("HeartbeatInterval: 60\n"));
  EXPECT_EQ(kNone, intervalIn("heartbeat Interval: 60\n"));
  EXPECT_EQ(kNone, intervalIn("heartbeatInterva\nl: 60\n"));
}

TEST(Interval, IsOnTheFirstSuchLineOnly) {
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 60\nheartbeatInterval: 90\n"));
  EXPECT_EQ(kNone, intervalIn("#heartbeatInterval: 60\nheartbeatInterval: 90\n"));
  EXPECT_EQ(kNone, intervalIn("heartbeatInterval:\nheartbeatInterval: 90\n"));
  EXPECT_EQ(kNone, intervalIn("1 heartbeatInterval:\nheartbeatInterval: 90\n"));
  EXPECT_EQ(90, intervalIn("httpPort: 5988\n# other\n\nheartbeatInterval: 90\nx: 1\n"));
}

TEST(Interval, OfTheLastLineNeedsNoNewline) {
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 60"));
  EXPECT_EQ(6, intervalIn("httpPort: 5988\nheartbeatInterval: 6"));
  EXPECT_EQ(kNone, intervalIn("heartbeatInterval: "));
}

TEST(Interval, OfAnEmptyFileIsNone) {
  EXPECT_EQ(kNone, intervalIn(""));
  EXPECT_EQ(kNone, intervalIn("\n\n\n"));
}

TEST(Interval, IsDecimal) {
  EXPECT_EQ(60, intervalIn("heartbeatInterval: 0060\n"));
  EXPECT_EQ(0, intervalIn("heartbeatInterval: 0x60\n"));
  EXPECT_EQ(31, intervalIn("heartbeatInterval: " + std::string(60'000, '0') + "31\n"));
}

TEST(Interval, ThatIsNoSigned32BitNumberIsUnreadable) {
  EXPECT_EQ(2147483647, intervalIn("heartbeatInterval: 2147483647\n"));
  EXPECT_EQ(kUnreadableInterval, intervalIn("heartbeatInterval: 2147483648\n"));
  EXPECT_EQ(kUnreadableInterval, intervalIn("heartbeatInterval: 99999999999999999999999999\n"));
  EXPECT_EQ(kUnreadableInterval, intervalIn("heartbeatInterval: " + std::string(60'000, '9')));
}

TEST(Interval, IsInTheFirst64KibibytesOfItsLine) {
  constexpr std::size_t kMost = 64 * 1024;
  const std::string line = " heartbeatInterval: 60";
  EXPECT_EQ(60, intervalIn(std::string(kMost - line.size(), 'x') + line));
  EXPECT_EQ(60, intervalIn(std::string(kMost - line.size(), 'x') + line + "5\n"));
  EXPECT_EQ(kNone, intervalIn(std::string(kMost, 'x') + line));
  EXPECT_EQ(90, intervalIn(std::string(kMost, 'x') + line + "\nheartbeatInterval: 90\n"));
}

TEST(Interval, IsFoundAmongBytesOfAnyValue) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::string rubbish(5000, ' ');
    for (char& c : rubbish) c = static_cast<char>(random());
    const std::string zeros(3, '\0');
    EXPECT_EQ(kNone, intervalIn(rubbish));
    EXPECT_EQ(60, intervalIn(rubbish + "\n" + zeros + "heartbeatInterval" + zeros + "60" + zeros +
                             "\n" + rubbish));
  }
}

/// 100 MB that come from nowhere.
class EndlessLine : public std::streambuf {
 public:
  EndlessLine(char filling, std::string end) : chunk_(1 << 20, filling), end_(std::move(end)) {}

 private:
  int_type underflow() override {
    if (++chunks_ > 101) return traits_type::eof();
    std::string& text = chunks_ == 101 ? end_ : chunk_;
    if (text.empty()) return traits_type::eof();
    setg(text.data(), text.data(), text.data() + text.size());
    return traits_type::to_int_type(text.front());
  }

  std::string chunk_;
  std::string end_;
  int chunks_ = 0;
};

long peakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST(Interval, OfAHundredMegabytesIsReadInConstantMemory) {
  const long before = peakKilobytes();
  EndlessLine oneLine('x', " heartbeatInterval: 60");
  std::istream longLine(&oneLine);
  EXPECT_EQ(kNone, scanInterval(longLine));
  EndlessLine manyLines('\n', "heartbeatInterval: 61");
  std::istream longFile(&manyLines);
  EXPECT_EQ(61, scanInterval(longFile));
  EndlessLine digits('9', "");
  std::istream longNumber(&digits);
  EXPECT_EQ(kNone, scanInterval(longNumber));
  EXPECT_LT(peakKilobytes() - before, 20 * 1024);
}

/// Fails as a stream on a directory does.
class Unreadable : public std::streambuf {
 private:
  int_type underflow() override { throw std::ios_base::failure("cannot be read"); }
};

TEST(Interval, OfAStreamThatCannotBeReadIsNone) {
  Unreadable buffer;
  std::istream in(&buffer);
  EXPECT_EQ(kNone, scanInterval(in));
}

TEST(Interval, OfAStreamThatHasFailedAlreadyIsNone) {
  std::istringstream in("heartbeatInterval: 60\n");
  in.setstate(std::ios_base::failbit);
  EXPECT_EQ(kNone, scanInterval(in));
}

}  // namespace
