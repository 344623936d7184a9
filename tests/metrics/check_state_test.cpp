#include "metrics/check_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using metrics::CheckState;
using metrics::readState;
using metrics::StoredState;
using metrics::writeState;
using testing::HasSubstr;

class CheckStateTest : public testing::Test {
 protected:
  CheckStateTest() {
    if (mkdtemp(directory_) == nullptr) std::abort();
  }
  ~CheckStateTest() override { fs::remove_all(directory_); }

  std::string file() const { return std::string(directory_) + "/state.json"; }
  void write(const std::string& text) const { std::ofstream(file()) << text; }

  char directory_[32] = "/tmp/orv-check-XXXXXX";
};

TEST_F(CheckStateTest, IsReadAsItWasWritten) {
  writeState(file(), {1700000000.25, "host-7", {{"eth0", 18446744073709551615U}, {"a\"\\\n", 0}}});
  const StoredState stored = readState(file());
  ASSERT_TRUE(stored.state) << stored.complaint;
  EXPECT_EQ(stored.state->time, 1700000000.25);
  EXPECT_EQ(stored.state->host, "host-7");
  EXPECT_EQ(stored.state->errors.at("eth0"), 18446744073709551615U);
  EXPECT_EQ(stored.state->errors.at("a\"\\\n"), 0U);
  EXPECT_EQ(stored.complaint, "");
}

TEST_F(CheckStateTest, IsTheOwnersAloneAndLeavesNothingBeside) {
  writeState(file(), {});
  writeState(file(), {});
  struct stat status {};
  ASSERT_EQ(stat(file().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_), fs::directory_iterator()), 1);
}

TEST_F(CheckStateTest, AnAbsentFileIsNoComplaint) {
  const StoredState stored = readState(file());
  EXPECT_FALSE(stored.state);
  EXPECT_EQ(stored.complaint, "");
}

TEST_F(CheckStateTest, ADamagedFileIsToldAndNotUsed) {
  for (const char* text :
       {"", "{", "[]", "5", "{}", R"({"time":"x","host":"h","errors":{}})",
        R"({"time":1,"host":5,"errors":{}})", R"({"time":1,"host":"h","errors":{"eth0":-1}})",
        R"({"time":1,"host":"h","errors":{"eth0":1.5}})", R"({"time":1,"host":"h","errors":[1]})",
        "\xFF\xFE"}) {
    write(text);
    const StoredState stored = readState(file());
    EXPECT_FALSE(stored.state) << text;
    EXPECT_THAT(stored.complaint, HasSubstr("is damaged and is replaced")) << text;
  }
  write(R"({"time":1,"host":"h","errors":{}})" + std::string(2'000'000, ' '));
  EXPECT_THAT(readState(file()).complaint, HasSubstr("is damaged")) << "too large";
}

TEST_F(CheckStateTest, ADirectoryInItsPlaceIsToldNotRead) {
  fs::create_directory(file());
  EXPECT_FALSE(readState(file()).state);
  EXPECT_NE(readState(file()).complaint, "");
  EXPECT_THROW(writeState(file(), {}), std::runtime_error);
}

TEST_F(CheckStateTest, AFileThatCannotBeWrittenIsNamed) {
  try {
    writeState(std::string(directory_) + "/none/state.json", {});
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_THAT(e.what(), HasSubstr("/none/state.json cannot be written: No such file"));
  }
}

/// Files of this process cannot become larger, as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : before_(limit()) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, SIG_DFL);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  static rlimit limit() {
    rlimit now{};
    getrlimit(RLIMIT_FSIZE, &now);
    return now;
  }
  const rlimit before_;
};

TEST_F(CheckStateTest, AFileThatIsWrittenInPartIsToldWithTheReasonAndTheOldOneKept) {
  writeState(file(), {1.0, "before", {}});
  std::string complaint;
  {
    const FileSizeLimit limit(10);  // a part is taken
    errno = 0;
    try {
      writeState(file(), {2.0, "after", {}});
    } catch (const std::runtime_error& e) {
      complaint = e.what();
    }
  }
  EXPECT_THAT(complaint, HasSubstr("state.json cannot be written: File too large"));
  EXPECT_EQ(readState(file()).state->host, "before");
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace orv::test
