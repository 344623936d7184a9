#include "serve/listen_address.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "serve/addresses.h"

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

TEST(ListenAddress, AddressesAreTaken) {
  EXPECT_EQ(readListenAddress("127.0.0.1:5988").host, "127.0.0.1");
  EXPECT_EQ(readListenAddress("127.0.0.1:5988").port, 5988);
  EXPECT_EQ(readListenAddress("127.1.2.3:0").port, 0);
  EXPECT_EQ(readListenAddress("localhost:1").host, "localhost");
  EXPECT_EQ(readListenAddress("[::1]:5988").host, "::1");
  EXPECT_EQ(readListenAddress("0.0.0.0:5989").host, "0.0.0.0");
}

TEST(ListenAddress, NamesAreNotTakenButLocalhost) {
  for (const char* text : {"example.org:5988", "host:80", "localhost.:1"}) {
    EXPECT_THAT(refusal(text), testing::HasSubstr("not an address")) << text;
  }
}

TEST(ListenSocket, TellsWhetherOtherHostsReachIt) {
  const ListenSocket loopback(ListenAddress{"localhost", 0});
  EXPECT_TRUE(loopback.isLoopback());
  EXPECT_GT(loopback.port(), 0);
  const ListenSocket everywhere(ListenAddress{"0.0.0.0", 0});
  EXPECT_FALSE(everywhere.isLoopback());
  EXPECT_EQ(everywhere.authority(), "0.0.0.0:" + std::to_string(everywhere.port()));
}

TEST(ListenSocket, OnlyAListeningSocketMayBeHandedOver) {
  const int plain = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_THROW(ListenSocket{plain}, std::runtime_error);
  const ListenSocket first(ListenAddress{"127.0.0.1", 0});
  const ListenSocket adopted(::dup(first.descriptor()));
  EXPECT_EQ(adopted.port(), first.port());
  EXPECT_TRUE(adopted.isLoopback());
  ::close(plain);
}

TEST(Addresses, NetworksHoldWhatTheirPrefixSays) {
  EXPECT_TRUE(isInside("10.1.2.3", "10.0.0.0/8"));
  EXPECT_TRUE(isInside("10.1.2.3", "10.1.2.0/23"));
  EXPECT_FALSE(isInside("10.1.4.3", "10.1.2.0/23"));
  EXPECT_TRUE(isInside("203.0.113.9", "0.0.0.0/0"));
  EXPECT_FALSE(isInside("2001:db8::1", "0.0.0.0/0"));
  EXPECT_TRUE(isInside("2001:db8::1", "2001:db8::/32"));
  EXPECT_FALSE(isInside("no address", "0.0.0.0/0"));
  EXPECT_EQ(addressForCounting("192.0.2.1"), "192.0.2.1");
  EXPECT_EQ(addressForCounting("2001:db8:1:2:3::4"), addressForCounting("2001:db8:1:2:9::9"));
  EXPECT_NE(addressForCounting("2001:db8:1:2::4"), addressForCounting("2001:db8:1:3::4"));
}

TEST(ListenAddress, WhatIsNoAddressIsRefused) {
  for (const char* text : {"", "5988", ":5988", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:65536",
                           "127.0.0.1:-1", "127.0.0.1:80 "}) {
    EXPECT_NE(refusal(text), "") << text;
  }
}

}  // namespace
}  // namespace orv::serve
