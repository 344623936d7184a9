// cmake --install, and that what it places works from there.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "tests/packaging/installed_tree.h"

namespace orv::test {
namespace {

using testing::HasSubstr;

class InstallTest : public testing::Test {
 protected:
  InstallTest() {
    const Outcome installed = installTo(prefix_);
    EXPECT_EQ(installed.status, 0) << installed.err;
  }
  Outcome orvcim(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), prefix_ + "/bin/orvcim");
    return run(arguments);
  }

  ScratchDirectory scratch_;
  const std::string prefix_ = scratch_.path() + "/usr";
};

TEST_F(InstallTest, EveryFileIsInItsPlaceAndNoOther) {
  EXPECT_EQ(filesBelow(prefix_), installedFiles());
}

TEST_F(InstallTest, ProgramsMayBeRunByEveryone) {
  for (const char* program : {"/bin/orvcim", "/sbin/orvprovider-register"}) {
    const auto permissions = std::filesystem::status(prefix_ + program).permissions();
    EXPECT_NE(permissions & std::filesystem::perms::others_exec, std::filesystem::perms::none);
  }
}

TEST_F(InstallTest, TheToolFindsLibraryAndSchemaBesideItself) {
  const Outcome real = orvcim({"list"});
  EXPECT_EQ(real.status, 0) << real.err;
  EXPECT_THAT(real.out, HasSubstr("Orvane_EthernetPort"));
  const Outcome simulated = orvcim(
      {"--simulate", ORV_SOURCE_DIR "/tests/hosts/example.json", "names", "Orvane_Processor"});
  EXPECT_EQ(simulated.status, 0) << simulated.err;
  EXPECT_THAT(simulated.out, HasSubstr("SystemName=\"host-7\""));
}

TEST_F(InstallTest, TheEndpointFindsItsInteropClasses) {
  Program program({prefix_ + "/bin/orvcim", "--simulate",
                   ORV_SOURCE_DIR "/tests/hosts/example.json", "serve", "--listen", "127.0.0.1:0"});
  EXPECT_TRUE(program.waitForOutput("orvcimd: serving "));
  program.signal(SIGTERM);
  const Outcome outcome = program.wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

}  // namespace
}  // namespace orv::test
