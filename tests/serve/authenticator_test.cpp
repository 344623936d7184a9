#include "serve/authenticator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace orv::serve {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;
using Verdict = Authenticator::Verdict;

class AuthenticatorTest : public testing::Test {
 protected:
  Verdict ask(const std::string& password, const std::string& address = "192.0.2.1",
              const std::string& user = "op") {
    return authenticator_.authenticate(address, user, password, now_).verdict;
  }
  milliseconds delayOf(const std::string& password, const std::string& address = "192.0.2.1") {
    return authenticator_.authenticate(address, "op", password, now_).delay;
  }

  int checks_ = 0;
  Authenticator::Clock::time_point now_{seconds(1'000'000)};
  Authenticator authenticator_{[this](const std::string& user, const std::string& password) {
    ++checks_;
    if (password == "throw") throw std::runtime_error("check");
    return user == "op" && password == "right";
  }};
};

TEST_F(AuthenticatorTest, ARightPasswordIsNotLookedUpAtEveryRequest) {
  for (int i = 0; i < 10; ++i) EXPECT_EQ(ask("right"), Verdict::kRight);
  EXPECT_EQ(checks_, 1);
  now_ += seconds(61);
  EXPECT_EQ(ask("right"), Verdict::kRight);
  EXPECT_EQ(checks_, 2);
  authenticator_.forget();
  EXPECT_EQ(ask("right"), Verdict::kRight);
  EXPECT_EQ(checks_, 3);
}

TEST_F(AuthenticatorTest, WhatIsRememberedIsNameAndPasswordTogether) {
  EXPECT_EQ(ask("right"), Verdict::kRight);
  EXPECT_EQ(ask("right", "192.0.2.1", "other"), Verdict::kWrong);
  now_ += seconds(40);
  EXPECT_EQ(ask("wrong"), Verdict::kWrong);
  EXPECT_EQ(checks_, 3);
}

TEST_F(AuthenticatorTest, EachFailureDelaysTheNextOfItsAddress) {
  EXPECT_EQ(delayOf("wrong"), seconds(1));
  EXPECT_EQ(ask("wrong"), Verdict::kTooMany);
  EXPECT_EQ(ask("right"), Verdict::kTooMany);  // nor is a guess that is right told
  EXPECT_EQ(checks_, 1);
  now_ += seconds(1);
  EXPECT_EQ(delayOf("wrong"), seconds(2));
  now_ += seconds(2);
  EXPECT_EQ(delayOf("wrong"), seconds(4));
  for (int i = 0; i < 40; ++i) {
    now_ += seconds(30);
    delayOf("wrong");
  }
  now_ += seconds(30);
  EXPECT_EQ(delayOf("wrong"), seconds(30));
}

TEST_F(AuthenticatorTest, OtherAddressesAndKnownPasswordsDoNotWait) {
  EXPECT_EQ(ask("right"), Verdict::kRight);
  EXPECT_EQ(ask("wrong"), Verdict::kWrong);
  EXPECT_EQ(ask("right"), Verdict::kRight);
  EXPECT_EQ(ask("wrong", "192.0.2.2"), Verdict::kWrong);
}

TEST_F(AuthenticatorTest, ASuccessForgivesAndSoDoesTime) {
  EXPECT_EQ(delayOf("wrong"), seconds(1));
  now_ += seconds(1);
  EXPECT_EQ(ask("right"), Verdict::kRight);
  EXPECT_EQ(delayOf("wrong"), seconds(1));
  now_ += seconds(301);
  EXPECT_EQ(delayOf("wrong"), seconds(1));
}

TEST_F(AuthenticatorTest, AnIpv6NetworkCountsAsOneAddress) {
  EXPECT_EQ(ask("wrong", "2001:db8::1"), Verdict::kWrong);
  EXPECT_EQ(ask("wrong", "2001:db8::2"), Verdict::kTooMany);
  EXPECT_EQ(ask("wrong", "2001:db8:0:1::1"), Verdict::kWrong);
}

TEST_F(AuthenticatorTest, FailuresOfManyAddressesDoNotGrow) {
  for (int i = 0; i < 10'000; ++i) {
    EXPECT_EQ(ask("wrong", "10.1." + std::to_string(i / 256) + "." + std::to_string(i % 256)),
              Verdict::kWrong);
  }
}

TEST_F(AuthenticatorTest, AFailureIsLoggedWithTheAddressAndWithoutThePassword) {
  testing::internal::CaptureStderr();
  ask("wrong-secret");
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_THAT(said, HasSubstr("authentication of user \"op\" from 192.0.2.1 failed"));
  EXPECT_THAT(said, Not(HasSubstr("wrong-secret")));
  testing::internal::CaptureStderr();
  ask("x", "192.0.2.9", "a\nb\x1b[2J");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("\"a?b?[2J\""));
}

TEST_F(AuthenticatorTest, AnExceptionOfTheCheckTakesNoPlace) {
  for (int i = 0; i < 5; ++i) EXPECT_THROW(ask("throw"), std::runtime_error);
  EXPECT_EQ(ask("right"), Verdict::kRight);
}

TEST(PamCheck, AnUnknownUserIsNotRight) {
  EXPECT_FALSE(checkWithPam("no-such-user-here", "x", "orvcim"));
}

}  // namespace
}  // namespace orv::serve
