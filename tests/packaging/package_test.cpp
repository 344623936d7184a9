// The Debian package: what is in it, and that it comes and goes without a trace.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "tests/packaging/installed_tree.h"

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::MatchesRegex;

/// The package has some files compressed.
std::vector<std::string> packagedFiles() {
  std::vector<std::string> files = installedFiles();
  for (std::string& file : files) {
    const bool isCompressed =
        file.rfind("share/man/", 0) == 0 || fs::path(file).filename() == "changelog";
    if (isCompressed) file += ".gz";
  }
  return files;
}

class PackageTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* program : {"dpkg-deb", "dpkg-shlibdeps", "dpkg"}) {
      if (!isOnPath(program)) GTEST_SKIP() << program << " is not installed";
    }
    const Outcome packed = run({ORV_CPACK, "-G", "DEB", "--config",
                                ORV_BINARY_DIR "/CPackConfig.cmake", "-B", scratch_.path()},
                               std::chrono::seconds(100));
    ASSERT_EQ(packed.status, 0) << packed.out << packed.err;
    for (const auto& entry : fs::directory_iterator(scratch_.path())) {
      if (entry.path().extension() == ".deb") package_ = entry.path().string();
    }
    ASSERT_NE(package_, "");
  }

  std::string field(const std::string& name) const {
    const std::string text = runFromPath({"dpkg-deb", "-f", package_, name}).out;
    return text.substr(0, text.find('\n'));
  }

  ScratchDirectory scratch_;
  std::string package_;
};

TEST_F(PackageTest, HoldsWhatAnInstallationHas) {
  const std::string tree = scratch_.path() + "/tree";
  ASSERT_EQ(runFromPath({"dpkg-deb", "-x", package_, tree}).status, 0);
  std::vector<std::string> expected;
  for (const std::string& file : packagedFiles()) expected.push_back("usr/" + file);
  expected.insert(expected.begin(), {"etc/orvcim/serve.toml", "etc/pam.d/orvcim"});
  EXPECT_EQ(filesBelow(tree), expected);
  const Outcome list = run(
      {tree + "/usr/bin/orvcim", "--simulate", ORV_SOURCE_DIR "/tests/hosts/example.json", "list"});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_THAT(list.out, HasSubstr("Orvane_EthernetPort"));
}

TEST_F(PackageTest, TellsWhatItIsAndNeeds) {
  EXPECT_EQ(field("Package"), "orvprovider");
  EXPECT_EQ(field("Section"), "admin");
  EXPECT_THAT(package_, MatchesRegex(".*/orvprovider_[0-9.]+_[a-z0-9]+\\.deb"));
  EXPECT_THAT(field("Depends"), HasSubstr("libc6"));
  EXPECT_THAT(field("Depends"), HasSubstr("libstdc++6"));
  EXPECT_THAT(field("Depends"), HasSubstr("libpugixml"));
  EXPECT_NE(field("Maintainer"), "");
}

TEST_F(PackageTest, HasNothingThatLintianCallsAnError) {
  if (!isOnPath("lintian")) GTEST_SKIP() << "lintian is not installed";
  const Outcome outcome = runFromPath({"lintian", "--allow-root", "--fail-on", "error", package_});
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

TEST_F(PackageTest, BringsAUnitThatTheSystemTakes) {
  if (!isOnPath("systemd-analyze")) GTEST_SKIP() << "systemd-analyze is not installed";
  const std::string tree = scratch_.path() + "/tree";
  ASSERT_EQ(runFromPath({"dpkg-deb", "-x", package_, tree}).status, 0);
  // With the daemon where this test has it.
  std::string text = fileText(tree + "/usr/lib/systemd/system/orvcimd.service");
  const std::string daemon = "/usr/sbin/orvcimd";
  ASSERT_THAT(text, HasSubstr("ExecStart=" + daemon + " "));
  // Of what every Debian system has; /bin/kill comes with a package that a small one lacks.
  EXPECT_THAT(text, HasSubstr("ExecReload=/bin/sh -c 'kill -HUP $MAINPID'"));
  text.replace(text.find(daemon), daemon.size(), tree + daemon);
  const std::string unit = scratch_.write("orvcimd.service", text);
  const Outcome verified = runFromPath({"systemd-analyze", "verify", "--man=no", unit});
  EXPECT_EQ(verified.status, 0) << verified.err;
  EXPECT_THAT(verified.err, testing::Not(HasSubstr("orvcimd"))) << verified.err;
  const Outcome security =
      runFromPath({"systemd-analyze", "security", "--offline=true", "--threshold=30", unit});
  EXPECT_EQ(security.status, 0) << security.out << security.err;
}

TEST_F(PackageTest, StartsNothingAndEnablesNothing) {
  const std::string tree = scratch_.path() + "/control";
  ASSERT_EQ(runFromPath({"dpkg-deb", "-e", package_, tree}).status, 0);
  EXPECT_THAT(fileText(tree + "/postinst"), testing::Not(HasSubstr("enable")));
  EXPECT_THAT(fileText(ORV_SOURCE_DIR "/packaging/systemd/90-orvcim.preset"),
              HasSubstr("disable orvcimd.service"));
}

TEST_F(PackageTest, InstallsAndRemovesInAScratchRoot) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can install";
  const std::string root = scratch_.path() + "/root";
  scratch_.write("root/var/lib/dpkg/status", "");
  scratch_.write("root/var/lib/dpkg/available", "");
  for (const char* directory : {"info", "updates", "triggers"}) {
    fs::create_directories(root + "/var/lib/dpkg/" + directory);
  }
  const auto dpkg = [&](const std::vector<std::string>& action) {
    std::vector<std::string> command = {"dpkg",
                                        "--root=" + root,
                                        "--force-not-root",
                                        "--force-script-chrootless",
                                        "--force-depends",
                                        "--log=" + scratch_.path() + "/log"};
    command.insert(command.end(), action.begin(), action.end());
    return runFromPath(command);
  };
  const Outcome installed = dpkg({"--install", package_});
  ASSERT_EQ(installed.status, 0) << installed.out << installed.err;
  for (const std::string& file : packagedFiles()) {
    EXPECT_TRUE(fs::exists(root + "/usr/" + file)) << file;
  }
  // User, group and state directory are made; the configuration is one that survives.
  EXPECT_THAT(fileText(root + "/etc/passwd"), HasSubstr("orvcim:"));
  EXPECT_THAT(fileText(root + "/etc/group"), HasSubstr("orvcim:"));
  const std::string state = root + "/var/lib/orvcim";
  EXPECT_EQ(fs::status(state).permissions(), fs::perms::owner_all);
  scratch_.write("root/var/lib/orvcim/subscriptions.json", "kept");
  scratch_.write("root/etc/orvcim/serve.toml", "# changed\n");

  const Outcome upgraded = dpkg({"--force-confold", "--install", package_});
  ASSERT_EQ(upgraded.status, 0) << upgraded.out << upgraded.err;
  EXPECT_EQ(fileText(state + "/subscriptions.json"), "kept");
  EXPECT_EQ(fileText(root + "/etc/orvcim/serve.toml"), "# changed\n");

  const Outcome removed = dpkg({"--remove", "orvprovider"});
  ASSERT_EQ(removed.status, 0) << removed.out << removed.err;
  EXPECT_FALSE(fs::exists(root + "/usr"));
  EXPECT_EQ(fileText(state + "/subscriptions.json"), "kept");

  const Outcome purged = dpkg({"--purge", "orvprovider"});
  ASSERT_EQ(purged.status, 0) << purged.out << purged.err;
  EXPECT_FALSE(fs::exists(state));
  EXPECT_FALSE(fs::exists(root + "/etc/orvcim"));
  EXPECT_FALSE(fs::exists(root + "/etc/pam.d/orvcim"));
}

class RemovalScriptTest : public PackageTest {
 protected:
  /// What the script that runs before a removal calls, where orvprovider-register ends with this
  /// status.
  std::string callsOf(const std::vector<std::string>& environment, const std::string& action,
                      const std::string& ends = "exit 0") {
    const std::string control = scratch_.path() + "/control";
    fs::remove_all(control);
    EXPECT_EQ(runFromPath({"dpkg-deb", "-e", package_, control}).status, 0);
    const std::string log = scratch_.path() + "/calls";
    fs::remove(log);
    for (const char* command : {"sfcbunstage", "orvprovider-register"}) {
      scratch_.write(std::string("fake/") + command,
                     "#!/bin/sh\necho \"$(basename \"$0\") $*\" >>" + log + "\n" + ends + "\n",
                     true);
    }
    std::vector<std::string> command = {"/usr/bin/env",
                                        "PATH=" + scratch_.path() + "/fake:/usr/bin:/bin"};
    command.insert(command.end(), environment.begin(), environment.end());
    command.insert(command.end(), {control + "/prerm", action});
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.status, 0);
    said_ = outcome.err;
    return fileText(log);
  }

  std::string said_;
};

TEST_F(RemovalScriptTest, TakesTheRegistrationBack) {
  EXPECT_EQ(callsOf({}, "remove"), "orvprovider-register --undo\n");
  EXPECT_EQ(said_, "");
  EXPECT_EQ(callsOf({}, "upgrade"), "");
  EXPECT_EQ(callsOf({"DPKG_ROOT=/scratch"}, "remove"), "");
}

TEST_F(RemovalScriptTest, TakesTheRegistrationAloneWhereTheRepositoryCannotBeRebuilt) {
  EXPECT_EQ(callsOf({}, "remove", "[ $# = 2 ]"),
            "orvprovider-register --undo\norvprovider-register --undo --keep-classes\n");
  EXPECT_THAT(said_, HasSubstr("taking the registration alone"));
}

TEST_F(RemovalScriptTest, NeverStopsTheRemovalButTellsWhatStays) {
  callsOf({}, "remove", "exit 1");
  EXPECT_THAT(said_, HasSubstr("the broker stays registered"));
}

}  // namespace
}  // namespace orv::test
