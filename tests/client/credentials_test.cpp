#include "client/credentials.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace orv::client {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string login(const std::optional<Login>& found) {
  return found ? found->user + "/" + found->password : "none";
}

constexpr const char* kNetrc = R"(# the hosts of the lab
machine host7 login admin password first
machine host7
  login reader
  password "with \"quotes\" and spaces"
macdef init
cd /pub machine host9 login x password y

machine host8 login admin account unused password second
default login anyone password third
)";

TEST(Netrc, FindsTheEntryOfMachineAndUser) {
  const Netrc netrc(kNetrc);
  EXPECT_EQ(login(netrc.find("host7", "admin")), "admin/first");
  EXPECT_EQ(login(netrc.find("host7", "reader")), "reader/with \"quotes\" and spaces");
  EXPECT_EQ(login(netrc.find("host8", "admin")), "admin/second");
  EXPECT_EQ(login(netrc.find("host7", "")), "admin/first");
  EXPECT_EQ(login(netrc.find("host9", "")), "anyone/third");
  EXPECT_EQ(login(netrc.find("host7", "nobody")), "none");
}

TEST(Netrc, ACommentStandsWhereAKeywordMayAndAPasswordMayStartLikeOne) {
  const Netrc netrc(
      "machine a login admin password #x # the lab\n"
      "# machine b login no password no\n"
      "  #machine c\n"
      "machine b # also the lab\n"
      "  login #root # an odd name\n"
      "  password \"#y\"\n");
  EXPECT_EQ(login(netrc.find("a", "admin")), "admin/#x");
  EXPECT_EQ(login(netrc.find("b", "")), "#root/#y");
  EXPECT_EQ(login(netrc.find("c", "")), "none");
}

TEST(Netrc, WithoutADefaultOtherMachinesHaveNone) {
  EXPECT_EQ(login(Netrc("machine a login b password c").find("x", "")), "none");
  EXPECT_EQ(login(Netrc("machine a login b").find("a", "b")), "none");
  EXPECT_EQ(login(Netrc("").find("a", "b")), "none");
}

TEST(Netrc, WhatIsWrongIsToldWithItsLineAndWithoutItsWords) {
  const auto refusal = [](const char* text) -> std::string {
    try {
      const Netrc netrc(text);
      return "taken";
    } catch (const CredentialError& error) {
      return error.what();
    }
  };
  EXPECT_THAT(refusal("machine a\nlogin b passwort secret"), HasSubstr("line 2"));
  EXPECT_THAT(refusal("machine a\nlogin b passwort secret"), Not(HasSubstr("secret")));
  EXPECT_THAT(refusal("login b"), HasSubstr("no machine"));
  EXPECT_THAT(refusal("machine"), HasSubstr("missing"));
  EXPECT_THAT(refusal("machine a password \"open"), HasSubstr("no end"));
}

class CredentialsTest : public testing::Test {
 protected:
  CredentialsTest() {
    if (mkdtemp(directory_) == nullptr) std::abort();
  }
  ~CredentialsTest() override { std::filesystem::remove_all(directory_); }

  std::string file(const std::string& name, const std::string& text) const {
    const std::string path = std::string(directory_) + "/" + name;
    std::ofstream(path) << text;
    return path;
  }
  Credentials credentials(const std::string& passwordFile, const std::string& netrcFile) {
    return Credentials({passwordFile, netrcFile, [this](const std::string& prompt) {
                          prompts_.push_back(prompt);
                          return "typed";
                        }});
  }

  std::vector<std::string> prompts_;
  char directory_[40] = "/tmp/orv-credentials-XXXXXX";
};

TEST_F(CredentialsTest, ThePasswordFileComesFirst) {
  Credentials all = credentials(file("password", "secret\nmore\n"),
                                file("netrc", "machine h login u password other"));
  EXPECT_EQ(login(all.of(parseServerUrl("https://u@h"))), "u/secret");
  EXPECT_THROW(all.of(parseServerUrl("https://h")), CredentialError);
  EXPECT_THAT(prompts_, ElementsAre());
}

TEST_F(CredentialsTest, APasswordFileMustHaveOne) {
  EXPECT_THROW(credentials(std::string(directory_) + "/none", ""), CredentialError);
  EXPECT_THROW(credentials(file("empty", ""), ""), CredentialError);
  EXPECT_THROW(credentials(file("blank", "\nsecret\n"), ""), CredentialError);
}

TEST_F(CredentialsTest, NetrcComesBeforeTheTerminal) {
  Credentials all = credentials("", file("netrc", "machine h login u password other"));
  EXPECT_EQ(login(all.of(parseServerUrl("https://u@h"))), "u/other");
  EXPECT_EQ(login(all.of(parseServerUrl("https://h"))), "u/other");
  EXPECT_EQ(login(all.of(parseServerUrl("https://x"))), "none");
  EXPECT_THAT(prompts_, ElementsAre());
}

TEST_F(CredentialsTest, TheTerminalIsAskedOnceForAUser) {
  Credentials all = credentials("", "/nonexistent");
  EXPECT_EQ(login(all.of(parseServerUrl("https://u@h"))), "u/typed");
  EXPECT_EQ(login(all.of(parseServerUrl("https://u@x"))), "u/typed");
  EXPECT_EQ(login(all.of(parseServerUrl("https://v@x"))), "v/typed");
  EXPECT_THAT(prompts_, ElementsAre("Password of u: ", "Password of v: "));
}

TEST_F(CredentialsTest, ANetrcThatCannotBeReadIsToldByName) {
  const std::string path = file("netrc", "mashine h");
  try {
    credentials("", path);
    FAIL();
  } catch (const CredentialError& error) {
    EXPECT_THAT(error.what(), HasSubstr(path + ", line 1"));
  }
}

}  // namespace
}  // namespace orv::client
