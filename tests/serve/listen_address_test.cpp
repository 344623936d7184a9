#include "serve/listen_address.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace orv::serve {
namespace {

std::string refusal(const std::string& text) {
  try {
    readListenAddress(text);
    return "";
  } catch (const std::invalid_argument& e) {
    return e.what();
  }
}

TEST(ListenAddress, LoopbackAddressesAreTaken) {
  EXPECT_EQ(readListenAddress("127.0.0.1:5988").host, "127.0.0.1");
  EXPECT_EQ(readListenAddress("127.0.0.1:5988").port, 5988);
  EXPECT_EQ(readListenAddress("127.1.2.3:0").port, 0);
  EXPECT_EQ(readListenAddress("localhost:1").host, "localhost");
  EXPECT_EQ(readListenAddress("[::1]:5988").host, "::1");
}

TEST(ListenAddress, OthersAreRefusedWithAWordAboutSfcb) {
  for (const char* text : {"0.0.0.0:5988", "192.0.2.1:5988", "[::]:5988", "example.org:5988"}) {
    EXPECT_THAT(refusal(text), testing::HasSubstr("sfcb")) << text;
  }
}

TEST(ListenAddress, WhatIsNoAddressIsRefused) {
  for (const char* text : {"", "5988", ":5988", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:65536",
                           "127.0.0.1:-1", "127.0.0.1:80 "}) {
    EXPECT_NE(refusal(text), "") << text;
  }
}

}  // namespace
}  // namespace orv::serve
