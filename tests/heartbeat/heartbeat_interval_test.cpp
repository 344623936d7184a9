#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "heartbeat/heartbeat_provider.h"
#include "tests/support/syslog_capture.h"

namespace {

using Heartbeat::intervalSeconds;
using Heartbeat::readInterval;
using orv::test::syslogLines;
using testing::IsEmpty;

/// A directory of the test's own, gone afterwards.
class HeartbeatIntervalTest : public testing::Test {
 protected:
  HeartbeatIntervalTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orv-interval-XXXXXX").string();
    directory_ = mkdtemp(pattern.data());
    read("heartbeatInterval: 300\n");
    orv::test::clearSyslog();
  }
  ~HeartbeatIntervalTest() override { std::filesystem::remove_all(directory_); }

  std::string file() const { return directory_ / "sfcb.cfg"; }

  void read(const std::string& text) {
    std::ofstream(file(), std::ios::binary | std::ios::trunc) << text;
    readInterval(file().c_str());
  }

  void expectOneLine(int priority, const std::string& text) {
    ASSERT_EQ(1U, syslogLines().size());
    EXPECT_EQ(priority, syslogLines()[0].priority);
    EXPECT_EQ(text, syslogLines()[0].text);
  }

  std::filesystem::path directory_;
};

TEST_F(HeartbeatIntervalTest, IsTakenFromTheFile) {
  read("httpPort: 5988\nheartbeatInterval: 60\n");
  EXPECT_EQ(60, intervalSeconds());
  EXPECT_THAT(syslogLines(), IsEmpty());
}

TEST_F(HeartbeatIntervalTest, MayBeThirtySeconds) {
  read("heartbeatInterval: 30\n");
  EXPECT_EQ(30, intervalSeconds());
  EXPECT_THAT(syslogLines(), IsEmpty());
}

TEST_F(HeartbeatIntervalTest, BelowThirtySecondsIsLoggedAndKept) {
  read("heartbeatInterval=29\n");
  EXPECT_EQ(300, intervalSeconds());
  expectOneLine(LOG_WARNING,
                "heartbeat_interval (29) is below minimum value (30), using the default.");
}

TEST_F(HeartbeatIntervalTest, ThatIsTooLargeIsLoggedAsMinusOne) {
  read("heartbeatInterval: 2147483648\n");
  EXPECT_EQ(300, intervalSeconds());
  expectOneLine(LOG_WARNING,
                "heartbeat_interval (-1) is below minimum value (30), using the default.");
}

TEST_F(HeartbeatIntervalTest, KeepsTheLastAcceptedValue) {
  read("heartbeatInterval: 45\n");
  read("heartbeatInterval: 5\n");
  EXPECT_EQ(45, intervalSeconds());
  read("nothing of the kind\n");
  EXPECT_EQ(45, intervalSeconds());
}

TEST_F(HeartbeatIntervalTest, OfALineWithoutAValueIsKeptInSilence) {
  read("heartbeatInterval: none\nheartbeatInterval: 60\n");
  read("#heartbeatInterval: 60\n");
  read("60 heartbeatInterval\n");
  EXPECT_EQ(300, intervalSeconds());
  EXPECT_THAT(syslogLines(), IsEmpty());
}

TEST_F(HeartbeatIntervalTest, WithoutAFileIsLoggedAndKept) {
  read("heartbeatInterval: 45\n");
  const std::string missing = directory_ / "missing.cfg";
  readInterval(missing.c_str());
  EXPECT_EQ(45, intervalSeconds());
  expectOneLine(LOG_ERR, "Open file to read: " + missing + " failed, using default: 45 seconds");
}

TEST_F(HeartbeatIntervalTest, OfWhatIsNotARegularFileIsLoggedAndKept) {
  const std::string pipe = directory_ / "pipe";
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  for (const std::string& path : {directory_.string(), pipe, std::string("/dev/zero")}) {
    orv::test::clearSyslog();
    readInterval(path.c_str());
    EXPECT_EQ(300, intervalSeconds());
    expectOneLine(LOG_ERR, "Open file to read: " + path + " failed, using default: 300 seconds");
  }
}

TEST_F(HeartbeatIntervalTest, IsReadInTheFirstMebibyte) {
  const std::string lines(1024 * 1024 - 60, '\n');
  read(lines + "heartbeatInterval: 77\n" + lines);
  EXPECT_EQ(77, intervalSeconds());
  read(lines + std::string(60, '\n') + "heartbeatInterval: 88\n");
  EXPECT_EQ(77, intervalSeconds());
}

TEST_F(HeartbeatIntervalTest, IsThreeHundredSecondsAtFirst) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(_exit(intervalSeconds() == 300 ? 0 : 1), testing::ExitedWithCode(0), "");
}

}  // namespace
