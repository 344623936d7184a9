#include "software/boot_config_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "software/boot_config.h"

namespace {

/// A directory that a child process takes for its root: there the fixed path is the test's own.
class BootConfigFile : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "another root directory needs the superuser";
    std::string pattern = (std::filesystem::temp_directory_path() / "orv-root-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    std::filesystem::create_directory(root_ / "altbootbank");
  }
  void TearDown() override {
    if (!root_.empty()) std::filesystem::remove_all(root_);
  }

  std::filesystem::path file() const { return root_ / "altbootbank" / "boot.cfg"; }

  /// Whether `check` holds in a process with that root.
  bool holds(const std::function<bool()>& check) const {
    const pid_t child = fork();
    if (child == 0) {
      const bool entered = chroot(root_.c_str()) == 0 && chdir("/") == 0;
      _exit(entered && check() ? 0 : 1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

  std::filesystem::path root_;
};

TEST_F(BootConfigFile, IsReadWhereItStands) {
  std::ofstream(file()) << "build=5.1.0-7\n";
  EXPECT_TRUE(holds([] {
    const auto stream = openBootConfig();
    if (stream == nullptr) return false;
    const auto image = OrvSoftware::readAlternateImage(*stream);
    return image.has_value() && image->buildNumber == 7;
  }));
}

TEST_F(BootConfigFile, MissingFileCannotBeOpened) {
  EXPECT_TRUE(holds([] { return openBootConfig() == nullptr; }));
}

TEST_F(BootConfigFile, DirectoryInItsPlaceIsNotOpened) {
  std::filesystem::create_directory(file());
  EXPECT_TRUE(holds([] { return openBootConfig() == nullptr; }));
}

TEST_F(BootConfigFile, NamedPipeInItsPlaceIsNotOpened) {
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  EXPECT_TRUE(holds([] {
    alarm(10);
    return openBootConfig() == nullptr;
  }));
}

/// The most that this process has had in memory so far, in kilobytes.
long mostMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST_F(BootConfigFile, SparseGigabyteIsReadWithinAMebibyte) {
  std::ofstream(file()) << "build=5.1.0-7\n";
  std::filesystem::resize_file(file(), 1 << 30);
  EXPECT_TRUE(holds([] {
    const long before = mostMemory();
    const auto stream = openBootConfig();
    const auto image = OrvSoftware::readAlternateImage(*stream);
    return image.has_value() && image->buildNumber == 7 && mostMemory() - before < 32 * 1024;
  }));
}

}  // namespace
