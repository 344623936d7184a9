// orvcimd as a process: what it says, how it ends, what it keeps when it is killed, and how it does
// with little memory and few descriptors.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/serve/endpoint_fixture.h"
#include "tests/serve/raw_client.h"
#include "tests/serve/subscriber.h"
#include "tests/support/sanitized.h"
#include "tests/tool/program.h"

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using serve::RawClient;
using testing::HasSubstr;
using testing::MatchesRegex;

const std::string kDaemon = ORV_BINARY_DIR "/bin/orvcimd";
const std::string kSchema = ORV_SOURCE_DIR "/schema";
const std::string kHost = ORV_SOURCE_DIR "/tests/hosts/example.json";
const std::string kPort = "Orvane_EthernetPort";

class DaemonTest : public testing::Test {
 protected:
  DaemonTest() {
    if (mkdtemp(directory_) == nullptr) std::abort();
  }
  ~DaemonTest() override {
    daemon_.reset();
    fs::remove_all(directory_);
  }

  /// `limits` is a shell command that comes before, such as ulimit.
  void start(const std::vector<std::string>& more = {}, const std::string& limits = ":") {
    std::string line = limits + "; exec " + kDaemon + " --schema " + kSchema + " --simulate " +
                       kHost + " --listen 127.0.0.1:0";
    for (const std::string& argument : more) line += " '" + argument + "'";
    daemon_ = std::make_unique<Program>(std::vector<std::string>{"/bin/sh", "-c", line});
    ASSERT_TRUE(daemon_->waitForOutput("orvcimd: serving ")) << daemon_->wait().err;
    const std::string& said = daemon_->output();
    const std::string before = "http://127.0.0.1:";
    port_ = std::atoi(said.c_str() + said.find(before) + before.size());
  }
  void startWithState() { start({"--state", directory_}); }

  Reply ask() const {
    return postTo(port_, requestMessage("EnumerateInstanceNames", "root/cimv2",
                                        classParameter("ClassName", kPort)));
  }
  /// Asks again while the service still cleans up after others.
  Reply askUntilServed() const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    Reply reply = ask();
    while (reply.httpStatus != 200 && std::chrono::steady_clock::now() < end) reply = ask();
    return reply;
  }
  std::size_t filters() const {
    return Subscriber(port_)
        .ask("EnumerateInstanceNames", classParameter("ClassName", "CIM_IndicationFilter"))
        .count();
  }
  void expectToEnd() {
    const auto before = std::chrono::steady_clock::now();
    daemon_->signal(SIGTERM);
    const Outcome outcome = daemon_->wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(20));
    daemon_.reset();
  }

  char directory_[32] = "/tmp/orvcimd-test-XXXXXX";
  std::unique_ptr<Program> daemon_;
  int port_ = 0;
};

/// What systemd sets where it connects standard error to the journal.
constexpr const char* kJournal = "export JOURNAL_STREAM=$(stat -L -c %d:%i /proc/self/fd/2)";

TEST_F(DaemonTest, TheJournalHasItsOwnLinesUnderItsOwnName) {
  start({}, kJournal);
  EXPECT_EQ(ask().httpStatus, 200);
  daemon_->signal(SIGHUP);
  daemon_->signal(SIGTERM);
  const Outcome outcome = daemon_->wait();
  EXPECT_THAT(outcome.out,
              MatchesRegex("orvcimd: serving root/cimv2 at http://127.0.0.1:[0-9]+\n"));
  EXPECT_EQ(outcome.err, "<5>certificates and passwords are looked up again\n");
}

TEST_F(DaemonTest, StartLinesOfTheLibraryAreShownOnRequest) {
  start({"--verbose"}, kJournal);
  EXPECT_EQ(ask().httpStatus, 200);
  daemon_->signal(SIGTERM);
  EXPECT_THAT(daemon_->wait().err, HasSubstr("--- _Create_InstanceMI() "));
}

TEST_F(DaemonTest, PrioritiesAreForTheJournalAlone) {
  const std::string fails = "exec " + kDaemon + " --key key.pem";
  const std::string text = "--certificate and --key belong together\n";
  const auto errorOf = [&](const std::string& before) {
    return run({"/bin/sh", "-c", before + "; " + fails}).err;
  };
  EXPECT_EQ(errorOf("unset JOURNAL_STREAM"), "orvcimd: " + text);
  EXPECT_EQ(errorOf(kJournal), "<3>" + text);
  EXPECT_EQ(errorOf("export JOURNAL_STREAM=1:1"), "orvcimd: " + text);  // it goes elsewhere
}

TEST_F(DaemonTest, SubscriptionsSurviveARestart) {
  startWithState();
  ASSERT_EQ(Subscriber(port_).createFilter("f").code(), 0);
  expectToEnd();
  startWithState();
  EXPECT_EQ(filters(), 1U);
  expectToEnd();
}

TEST_F(DaemonTest, WhatWasAnsweredSurvivesAKillDuringWriting) {
  std::mt19937 random(4711);  // NOLINT: the same waits at each run
  std::size_t acknowledged = 0;
  for (int round = 0; round < 5; ++round) {
    startWithState();
    EXPECT_GE(filters(), acknowledged);
    EXPECT_LE(filters(), acknowledged + 1);  // one may have been stored and not yet answered
    acknowledged = filters();
    std::atomic<bool> stop{false};
    std::atomic<std::size_t> made{0};
    std::thread client([&] {
      for (int i = 0; !stop; ++i) {
        const std::string name = std::to_string(round) + "-" + std::to_string(i);
        const Reply reply = Subscriber(port_).createFilter(name);
        if (reply.httpStatus == 200 && reply.code() == 0) ++made;
      }
    });
    while (made < 3) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 50));
    daemon_->signal(SIGKILL);
    daemon_->wait();
    stop = true;
    client.join();
    acknowledged += made;
    EXPECT_FALSE(fs::exists(std::string(directory_) + "/subscriptions.json.damaged"));
  }
}

TEST_F(DaemonTest, ASignalEndsItWhateverClientsDo) {
  start();
  const RawClient silent(port_);
  const RawClient half(port_);
  half.send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Le");
  std::vector<std::unique_ptr<RawClient>> readers;
  for (int i = 0; i < 20; ++i) {
    readers.push_back(std::make_unique<RawClient>(port_));
    const std::string body =
        requestMessage("EnumerateClasses", "root/cimv2", valueParameter("DeepInheritance", "TRUE"));
    readers.back()->send(
        "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
        "Content-Length: " +
        std::to_string(body.size()) + "\r\n\r\n" + body);
  }
  expectToEnd();
}

TEST_F(DaemonTest, FewDescriptorsHarmNobodyForLong) {
  start({}, "ulimit -n 32");
  {
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 100; ++i) clients.push_back(std::make_unique<RawClient>(port_));
  }
  const Reply reply = askUntilServed();
  EXPECT_EQ(reply.httpStatus, 200);
  expectToEnd();
}

TEST_F(DaemonTest, LittleMemoryHarmsNobodyForLong) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer reserves terabytes of address space";
  start({}, "ulimit -v 800000");
  std::vector<std::thread> clients;
  std::atomic<int> broken{0};
  for (int i = 0; i < 32; ++i) {
    clients.emplace_back([&] {
      const Reply reply = postTo(port_, requestMessage("EnumerateClasses", "root/cimv2",
                                                       valueParameter("DeepInheritance", "TRUE")));
      if (reply.httpStatus != 200 && reply.httpStatus != 503 && reply.httpStatus != -1) ++broken;
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(broken, 0);
  EXPECT_EQ(ask().httpStatus, 200);
  expectToEnd();
}

TEST_F(DaemonTest, TenThousandConnectionsHarmNobodyForLong) {
  start({"--connections", "64", "--connections-per-address", "32"});
  int connected = 0;
  for (int i = 0; i < 100; ++i) {
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int j = 0; j < 100; ++j) {
      clients.push_back(std::make_unique<RawClient>(port_));
      connected += clients.back()->connected() ? 1 : 0;
    }
    clients.front()->send("POST / HTTP/1.1\r\n");
  }
  EXPECT_GT(connected, 9000);
  const Reply reply = askUntilServed();
  EXPECT_EQ(reply.httpStatus, 200);
  expectToEnd();
}

TEST(DaemonUsage, WhatCannotBeUsedIsTold) {
  const auto errorOf = [](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {kDaemon, "--schema", kSchema, "--simulate", kHost});
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 2);
    return outcome.err;
  };
  EXPECT_THAT(errorOf({"--state", "/nonexistent"}), HasSubstr("/nonexistent is not a directory"));
  EXPECT_THAT(errorOf({"--certificate", "/nonexistent", "--key", "/nonexistent"}),
              HasSubstr("/nonexistent cannot be read"));
  EXPECT_THAT(errorOf({"--listen", "192.0.2.1:0"}), HasSubstr("cannot listen on 192.0.2.1"));
  EXPECT_THAT(errorOf({"--listen", "0.0.0.0:0"}), HasSubstr("--certificate and --key"));
}

TEST(TwoHosts, AreServedOnlyWithProofOfWhoTheyAre) {
  char directory[] = "/tmp/orv-two-hosts-XXXXXX";
  if (mkdtemp(directory) == nullptr) std::abort();
  const Outcome outcome =
      run({ORV_SOURCE_DIR "/tests/daemon/two-hosts", kDaemon, kSchema, kHost, directory},
          std::chrono::seconds(110));
  fs::remove_all(directory);
  if (outcome.out.rfind("skipped: ", 0) == 0) GTEST_SKIP() << outcome.out;
  EXPECT_THAT(outcome.out, testing::Not(HasSubstr("FAILED"))) << outcome.err;
  EXPECT_THAT(outcome.out, testing::EndsWith("end\n")) << outcome.err;
}

}  // namespace
}  // namespace orv::test
