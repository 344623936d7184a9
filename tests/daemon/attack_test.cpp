// Good clients among slow, malformed, huge and half-open ones: no error for the good, memory flat.
// ORV_SOAK_SECONDS sets for how long; a few seconds otherwise.

#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/serve/endpoint_fixture.h"
#include "tests/serve/raw_client.h"
#include "tests/support/sanitized.h"
#include "tests/tool/program.h"

namespace orv::test {
namespace {

using serve::RawClient;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kGood = 96;
constexpr int kOfEachBadKind = 40;  // four kinds: 256 connections in all

std::chrono::seconds duration() {
  const char* wanted = std::getenv("ORV_SOAK_SECONDS");
  return std::chrono::seconds(wanted == nullptr ? 3 : std::atoi(wanted));
}

std::string http(const std::string& body, const std::string& headers = "") {
  return "POST /cimom HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/xml\r\n" + headers +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string enumerate(const std::string& method) {
  return requestMessage(method, "root/cimv2", classParameter("ClassName", "Orvane_EthernetPort"));
}

/// The daemon, with what it says about its memory.
class Daemon {
 public:
  Daemon()
      : program_({"/bin/sh", "-c",
                  "echo pid=$$; exec " ORV_BINARY_DIR
                  "/bin/orvcimd --listen 127.0.0.1:0 --connections 400 --connections-per-address "
                  "400 --schema " ORV_SOURCE_DIR "/schema --simulate " ORV_SOURCE_DIR
                  "/tests/hosts/example.json"}) {
    EXPECT_TRUE(program_.waitForOutput("orvcimd: serving "));
    port_ = numberAfter("http://127.0.0.1:");
  }
  int port() const { return port_; }

  /// Resident kibibytes.
  long memory() const {
    std::ifstream status("/proc/" + std::to_string(numberAfter("pid=")) + "/status");
    for (std::string word; status >> word;) {
      long kibibytes = 0;
      if (word == "VmRSS:" && status >> kibibytes) return kibibytes;
    }
    return 0;
  }
  Outcome end() {
    program_.signal(SIGTERM);
    return program_.wait();
  }

 private:
  int numberAfter(const std::string& text) const {
    const std::string& said = program_.output();
    return std::atoi(said.c_str() + said.find(text) + text.size());
  }
  Program program_;
  int port_ = 0;
};

struct Attack {
  const int port;
  const Clock::time_point end;
  std::atomic<long> answers{0};
  std::atomic<long> failures{0};

  /// The first few, so that a failure can be understood.
  void tellFailure(const std::string& got, Clock::duration after) {
    if (++failures > 5) return;
    std::printf("not answered after %lld ms: \"%s\"\n",
                static_cast<long long>(std::chrono::duration_cast<milliseconds>(after).count()),
                got.substr(0, 200).c_str());
  }
  bool goesOn() const { return Clock::now() < end; }

  /// Asks on one kept connection; a new one after the server's limit on it.
  void good() {
    const std::string request = http(enumerate("EnumerateInstances"));
    while (goesOn()) {
      const RawClient client(port);
      for (int i = 0; i < 100 && goesOn(); ++i) {
        const auto before = Clock::now();
        std::string got;
        if (!client.send(request) || !client.receiveUntil("</CIM>", &got)) {
          tellFailure(got, Clock::now() - before);
          break;
        }
        ++answers;
        std::this_thread::sleep_for(milliseconds(200));
      }
    }
  }
  void slow() const {
    const std::string request = http(enumerate("EnumerateInstanceNames"));
    while (goesOn()) {
      const RawClient client(port);
      for (std::size_t i = 0; i < request.size() && goesOn(); ++i) {
        if (!client.send(request.substr(i, 1))) break;
        std::this_thread::sleep_for(milliseconds(100));
      }
    }
  }
  void malformed() const {
    const std::string texts[] = {
        "nonsense\r\n\r\n",
        "POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n",
        http("<CIM><MESSAGE"),
        http(enumerate("EnumerateInstances"), "Range: bytes=0-,0-,0-\r\n"),
        "GET / HTTP/1.1\r\nHost: x\r\n\r\n",
        "POST / HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(100'000, 'x')};
    for (std::size_t i = 0; goesOn(); ++i) {
      const RawClient client(port);
      client.send(texts[i % std::size(texts)]);
      std::this_thread::sleep_for(milliseconds(100));
    }
  }
  /// Sends as much as may be sent, asks for what is large, and reads nothing.
  void huge() const {
    const std::string large = requestMessage("EnumerateClasses", "root/cimv2",
                                             valueParameter("DeepInheritance", "TRUE") +
                                                 valueParameter("LocalOnly", "FALSE") + "<!--" +
                                                 std::string(1'000'000, 'x') + "-->");
    while (goesOn()) {
      const RawClient client(port);
      client.send(http(large));
      for (int i = 0; i < 50 && goesOn(); ++i) std::this_thread::sleep_for(milliseconds(100));
    }
  }
  void halfOpen() const {
    while (goesOn()) {
      const RawClient client(port);
      client.send("POST / HTTP/1.1\r\nHost: loc");
      for (int i = 0; i < 100 && goesOn(); ++i) std::this_thread::sleep_for(milliseconds(100));
    }
  }

  void run() {
    std::vector<std::thread> clients;
    for (int i = 0; i < kGood; ++i) clients.emplace_back([this] { good(); });
    for (int i = 0; i < kOfEachBadKind; ++i) {
      clients.emplace_back([this] { slow(); });
      clients.emplace_back([this] { malformed(); });
      clients.emplace_back([this] { huge(); });
      clients.emplace_back([this] { halfOpen(); });
    }
    for (std::thread& client : clients) client.join();
  }
};

TEST(AttackedService, GoodClientsAreServedWithoutErrorOrGrowth) {
  signal(SIGPIPE, SIG_IGN);
  Daemon daemon;
  Attack warmUp{daemon.port(), Clock::now() + duration() / 4};
  warmUp.run();
  const long before = daemon.memory();
  Attack attack{daemon.port(), Clock::now() + duration()};
  attack.run();
  const long after = daemon.memory();
  EXPECT_EQ(warmUp.failures, 0);
  EXPECT_EQ(attack.failures, 0);
  EXPECT_GE(attack.answers, kGood);
  // What 40 clients hold who send a mebibyte each and take no answer, and the allocator's share.
  // The sanitizers keep what is freed: up to some 500 MiB here, however long it takes.
  EXPECT_LT(after, kSanitized ? 1024 * 1024 : before + 100 * 1024);
  std::printf("%ld answers to %d good clients among %d bad ones in %lld s; %ld KiB, then %ld KiB\n",
              attack.answers.load(), kGood, 4 * kOfEachBadKind,
              static_cast<long long>(duration().count()), before, after);
  const Outcome outcome = daemon.end();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

}  // namespace
}  // namespace orv::test
