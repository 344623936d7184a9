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
    return [this](const std::string& url, milliseconds) {
      return std::make_unique<FakeListener>(posts_, url);
    };
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
  for (std::uint64_t i = 0; i < 5; ++i) exporter.enqueue("http://a/", beat(i));
  posts_.waitFor(5);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_NE(posts_.taken[i].second.find("<VALUE>" + std::to_string(i) + "</VALUE>"),
              std::string::npos);
  }
}

TEST_F(IndicationExportTest, TriesAgainAfterAFailure) {
  posts_.failures = 2;
  IndicationExport exporter(settings(), makeListener());
  exporter.enqueue("http://a/", beat(0));
  posts_.waitFor(1);
  EXPECT_EQ(posts_.attempts, 3);
}

TEST_F(IndicationExportTest, GivesUpAfterTheLastAttemptAndGoesOn) {
  posts_.failures = 3;
  IndicationExport exporter(settings(), makeListener());
  exporter.enqueue("http://a/", beat(7));
  exporter.enqueue("http://a/", beat(8));
  posts_.waitFor(1);
  EXPECT_FALSE(took("7"));
  EXPECT_TRUE(took("8"));
}

TEST_F(IndicationExportTest, ADeadListenerDelaysNobody) {
  posts_.block = true;
  IndicationExport exporter(settings(), makeListener());
  exporter.enqueue("http://dead/", beat(1));
  exporter.enqueue("http://alive/", beat(2));
  posts_.waitFor(1);
  EXPECT_TRUE(took("2"));
}  // and the exporter ends although the dead one is being posted to

TEST_F(IndicationExportTest, AFullQueueLosesItsOldest) {
  posts_.block = true;
  IndicationExport exporter(settings(2), makeListener());
  testing::internal::CaptureStderr();
  exporter.enqueue("http://dead/", beat(0));
  {
    std::unique_lock<std::mutex> lock(posts_.mutex);
    posts_.changed.wait(lock, [&] { return posts_.attempts == 1; });  // 0 is under way
  }
  for (std::uint64_t i = 1; i <= 100; ++i) exporter.enqueue("http://dead/", beat(i));
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(said, "orvcim: http://dead/ does not keep up; its oldest indications are dropped\n");
}

TEST_F(IndicationExportTest, ForgettingADestinationDoesNotWaitForIt) {
  posts_.block = true;
  IndicationExport exporter(settings(), makeListener());
  exporter.enqueue("http://dead/", beat(0));
  exporter.forget("http://dead/");
  exporter.forget("http://nobody/");
}

TEST(IndicationDestination, OnlyHttpUrlsWithAServerAreUsable) {
  EXPECT_TRUE(IndicationExport::isUsable("http://127.0.0.1:8080/listener"));
  EXPECT_TRUE(IndicationExport::isUsable("http://localhost"));
  for (const char* url :
       {"", "http://", "http:///path", "https://localhost/", "file:///etc/passwd"}) {
    EXPECT_FALSE(IndicationExport::isUsable(url)) << url;
  }
}

}  // namespace
}  // namespace orv::serve
