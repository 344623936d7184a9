#include "serve/body_stream.h"

#include <gtest/gtest.h>

#include <string>

namespace orv::serve {
namespace {

class CountingReader : public BodyStream::Reader {
 public:
  void pause() override { ++pauses; }
  void goOn() override { ++wakes; }
  int pauses = 0;
  int wakes = 0;
};

class BodyStreamTest : public testing::Test {
 protected:
  /// What one call gives; "<paused>" and "<ended>" otherwise.
  std::string read(std::size_t size = 100) {
    std::string text(size, ' ');
    std::size_t taken = 0;
    const BodyStream::State state = stream_.read(reader_, text.data(), size, taken);
    if (state == BodyStream::State::kPaused) return "<paused>";
    if (state == BodyStream::State::kEnded) return "<ended>";
    return text.substr(0, taken);
  }

  BodyStream stream_{10, "~"};
  CountingReader reader_;
};

TEST_F(BodyStreamTest, WhatIsAppendedIsReadInOrder) {
  EXPECT_TRUE(stream_.append("abc"));
  EXPECT_EQ(read(2), "ab");
  EXPECT_TRUE(stream_.append("de"));
  EXPECT_EQ(read(), "cde");
  EXPECT_EQ(read(), "<paused>");
}

TEST_F(BodyStreamTest, AReaderThatWaitsIsWokenOnce) {
  read();
  EXPECT_EQ(reader_.pauses, 1);
  stream_.append("a");
  stream_.append("b");
  EXPECT_EQ(reader_.wakes, 1);
  EXPECT_EQ(read(), "ab");
}

TEST_F(BodyStreamTest, ASlowClientIsSentWhatFitsAndNoMore) {
  EXPECT_TRUE(stream_.append("0123456789"));
  EXPECT_FALSE(stream_.append("a"));
  EXPECT_TRUE(stream_.ended());
  EXPECT_FALSE(stream_.append(""));
  EXPECT_EQ(read(), "0123456789");
  EXPECT_EQ(read(), "<ended>");
}

TEST_F(BodyStreamTest, BeatsAreSentToWhoWaits) {
  EXPECT_FALSE(stream_.beat());  // nobody has taken what was there before
  read();
  EXPECT_TRUE(stream_.beat());
  EXPECT_EQ(reader_.wakes, 1);
  EXPECT_FALSE(stream_.beat());
  EXPECT_EQ(read(), "~");
}

TEST_F(BodyStreamTest, TheEndWakesTheReader) {
  read();
  stream_.end();
  EXPECT_EQ(reader_.wakes, 1);
  EXPECT_EQ(read(), "<ended>");
}

TEST_F(BodyStreamTest, AnAbandonedStreamWakesNobody) {
  read();
  stream_.abandon();
  EXPECT_FALSE(stream_.append("a"));
  EXPECT_FALSE(stream_.beat());
  EXPECT_EQ(reader_.wakes, 0);
}

}  // namespace
}  // namespace orv::serve
