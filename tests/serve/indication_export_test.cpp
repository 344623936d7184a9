#include "serve/indication_export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace orv::serve {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// What all listeners of a test share: a record of the posts, and how they end.
struct Posts {
  std::mutex mutex;  // guards all members
  std::condition_variable changed;
  std::vector<std::pair<std::string, std::string>> taken;  // url and message
  int failures = 0;                                        // posts that fail before one succeeds
  int attempts = 0;
  bool block = false;  // posts to "http://dead/" wait until they are cancelled

  void waitFor(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex);
    ASSERT_TRUE(changed.wait_for(lock, seconds(20), [&] { return taken.size() >= count; }));
  }
};

class FakeListener : public Listener {
 public:
  FakeListener(Posts& posts, std::string url) : posts_(posts), url_(std::move(url)) {}

  bool post(const std::string& message) override {
    std::unique_lock<std::mutex> lock(posts_.mutex);
    ++posts_.attempts;
    posts_.changed.notify_all();
    if (posts_.block && url_ == "http://dead/") {
      posts_.changed.wait(lock, [&] { return cancelled_; });
      return false;
    }
    if (posts_.failures > 0) {
      --posts_.failures;
      return false;
    }
    posts_.taken.emplace_back(url_, message);
    posts_.changed.notify_all();
    return true;
  }

  void cancel() override {
    const std::lock_guard<std::mutex> lock(posts_.mutex);
    cancelled_ = true;
    posts_.changed.notify_all();
  }

 private:
  Posts& posts_;
  const std::string url_;
  bool cancelled_ = false;  // guarded by posts_.mutex
};

broker::Instance beat(std::uint64_t stamp) {
  broker::Instance instance;
  instance.path.className = "Orvane_CIMHeartbeat";
  instance.properties.push_back({"stamp", broker::Value::ofUnsigned(CMPI_uint32, stamp)});
  return instance;
}

class IndicationExportTest : public testing::Test {
 protected:
  IndicationExport::Settings settings(std::size_t queueLength = 16) {
    IndicationExport::Settings result;
    result.queueLength = queueLength;
    result.attempts = 3;
    result.retryInterval = milliseconds(1);
    return result;
  }
  IndicationExport::MakeListener makeListener() {
    return [this](const Destination& destination) {
      return std::make_unique<FakeListener>(posts_, destination.url);
    };
  }
  void send(IndicationExport& exporter, const std::string& url, const broker::Instance& beat) {
    exporter.prepare({url, "127.0.0.1"});
    exporter.enqueue({url, "127.0.0.1"}, beat);
  }
  bool took(const std::string& value) {
    const std::lock_guard<std::mutex> lock(posts_.mutex);
    return std::any_of(posts_.taken.begin(), posts_.taken.end(), [&](const auto& post) {
      return post.second.find("<VALUE>" + value + "</VALUE>") != std::string::npos;
    });
  }

  Posts posts_;
};

TEST_F(IndicationExportTest, DeliversInOrder) {
  IndicationExport exporter(settings(), makeListener());
  for (std::uint64_t i = 0; i < 5; ++i) send(exporter, "http://a/", beat(i));
  posts_.waitFor(5);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_NE(posts_.taken[i].second.find("<VALUE>" + std::to_string(i) + "</VALUE>"),
              std::string::npos);
  }
}

TEST_F(IndicationExportTest, TriesAgainAfterAFailure) {
  posts_.failures = 2;
  IndicationExport exporter(settings(), makeListener());
  send(exporter, "http://a/", beat(0));
  posts_.waitFor(1);
  EXPECT_EQ(posts_.attempts, 3);
}

TEST_F(IndicationExportTest, GivesUpAfterTheLastAttemptAndGoesOn) {
  posts_.failures = 3;
  IndicationExport exporter(settings(), makeListener());
  send(exporter, "http://a/", beat(7));
  send(exporter, "http://a/", beat(8));
  posts_.waitFor(1);
  EXPECT_FALSE(took("7"));
  EXPECT_TRUE(took("8"));
}

TEST_F(IndicationExportTest, ADeadListenerDelaysNobody) {
  posts_.block = true;
  IndicationExport exporter(settings(), makeListener());
  send(exporter, "http://dead/", beat(1));
  send(exporter, "http://alive/", beat(2));
  posts_.waitFor(1);
  EXPECT_TRUE(took("2"));
}  // and the exporter ends although the dead one is being posted to

TEST_F(IndicationExportTest, AFullQueueLosesItsOldest) {
  posts_.block = true;
  IndicationExport exporter(settings(2), makeListener());
  testing::internal::CaptureStderr();
  send(exporter, "http://dead/", beat(0));
  {
    std::unique_lock<std::mutex> lock(posts_.mutex);
    posts_.changed.wait(lock, [&] { return posts_.attempts == 1; });  // 0 is under way
  }
  for (std::uint64_t i = 1; i <= 100; ++i) send(exporter, "http://dead/", beat(i));
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(said, "orvcimd: http://dead/ does not keep up; its oldest indications are dropped\n");
}

TEST_F(IndicationExportTest, ForgettingADestinationDoesNotWaitForIt) {
  posts_.block = true;
  IndicationExport exporter(settings(), makeListener());
  send(exporter, "http://dead/", beat(0));
  exporter.forget({"http://dead/", "127.0.0.1"});
  exporter.forget({"http://nobody/", "127.0.0.1"});
}

TEST_F(IndicationExportTest, AQueueIsBoundedInBytesToo) {
  posts_.block = true;
  IndicationExport::Settings small = settings(1000);
  small.queueBytes = 100;
  IndicationExport exporter(small, makeListener());
  testing::internal::CaptureStderr();
  for (std::uint64_t i = 0; i <= 10; ++i) send(exporter, "http://dead/", beat(i));
  EXPECT_NE(testing::internal::GetCapturedStderr().find("does not keep up"), std::string::npos);
}

TEST_F(IndicationExportTest, DestinationsAreLimited) {
  IndicationExport::Settings few = settings();
  few.destinations = 2;
  IndicationExport exporter(few, makeListener());
  exporter.prepare({"http://a/", "127.0.0.1"});
  exporter.prepare({"http://b/", "127.0.0.1"});
  exporter.prepare({"http://a/", "127.0.0.1"});  // again
  EXPECT_THROW(exporter.prepare({"http://c/", "127.0.0.1"}), std::runtime_error);
  exporter.forget({"http://a/", "127.0.0.1"});
  exporter.prepare({"http://c/", "127.0.0.1"});
}

TEST(DestinationUrl, OnlyHttpUrlsWithAServerAreUsable) {
  EXPECT_EQ(hostOf("http://127.0.0.1:8080/listener"), "127.0.0.1");
  EXPECT_EQ(hostOf("https://localhost"), "localhost");
  EXPECT_EQ(hostOf("http://[2001:db8::1]:80/"), "2001:db8::1");
  for (const char* url :
       {"", "listener", "http://", "http:///path", "ftp://localhost/", "file:///etc/passwd",
        "http://user@host/", "http://host:0/", "http://host:99999/", "http://[::1/", "http://a b/",
        "http://host/\r\nX: y", "http://host/#part"}) {
    EXPECT_EQ(hostOf(url), "") << url;
  }
  EXPECT_EQ(hostOf("http://host/" + std::string(3000, 'x')), "");
}

TEST(DestinationRules, OwnAddressAndLoopbackUnlessMoreIsAllowed) {
  const DestinationRules byDefault;
  EXPECT_TRUE(byDefault.allow("192.0.2.1", "192.0.2.1"));
  EXPECT_TRUE(byDefault.allow("127.0.0.7", "192.0.2.1"));
  EXPECT_TRUE(byDefault.allow("::1", "192.0.2.1"));
  EXPECT_FALSE(byDefault.allow("192.0.2.2", "192.0.2.1"));
  EXPECT_FALSE(byDefault.allow("192.0.2.2", ""));
  const DestinationRules network({"198.51.100.0/24", "2001:db8::/32"});
  EXPECT_TRUE(network.allow("198.51.100.200", "x"));
  EXPECT_FALSE(network.allow("198.51.101.1", "x"));
  EXPECT_TRUE(network.allow("2001:db8:1::1", "x"));
  EXPECT_FALSE(network.allow("127.0.0.1", "x"));
  EXPECT_TRUE(DestinationRules({"any"}).allow("203.0.113.1", "x"));
  for (const char* rule : {"own", "loopback", "any", "10.0.0.0/8", "::1", "10.1.2.3"}) {
    EXPECT_TRUE(DestinationRules::isRule(rule)) << rule;
  }
  for (const char* rule : {"", "all", "10.0.0.0/33", "10.0.0.0/", "host.example"}) {
    EXPECT_FALSE(DestinationRules::isRule(rule)) << rule;
  }
}

}  // namespace
}  // namespace orv::serve
