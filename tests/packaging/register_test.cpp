// orvprovider-register, with commands of the broker that only write down what they are asked.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/packaging/installed_tree.h"

namespace orv::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class RegisterTest : public testing::Test {
 protected:
  RegisterTest() {
    const Outcome installed = installTo(prefix_);
    EXPECT_EQ(installed.status, 0) << installed.err;
    for (const char* command : {"sfcbstage", "sfcbunstage", "sfcbrepos"}) provide(command);
  }

  /// A command that notes its arguments and where it runs, and ends with this status.
  void provide(const std::string& command, int status = 0) const {
    scratch_.write("fake/" + command,
                   "#!/bin/sh\necho \"$(basename \"$0\") $* in $PWD\" >>" + log_ + "\nexit " +
                       std::to_string(status) + "\n",
                   true);
  }

  Outcome registerWith(std::vector<std::string> options, const std::string& path = "") const {
    std::vector<std::string> command = {
        "/usr/bin/env",
        "PATH=" + (path.empty() ? scratch_.path() + "/fake:" : path) + "/usr/bin:/bin",
        prefix_ + "/sbin/orvprovider-register", "--configuration", configuration_};
    command.insert(command.end(), options.begin(), options.end());
    return run(command);
  }

  std::string calls() const { return fileText(log_); }

  ScratchDirectory scratch_;
  const std::string prefix_ = scratch_.path() + "/usr";
  const std::string data_ = prefix_ + "/share/orvprovider/schema";
  const std::string log_ = scratch_.path() + "/calls";
  const std::string configuration_ = scratch_.path() + "/sfcb.cfg";
};

TEST_F(RegisterTest, StagesClassesAndRegistrationAndRebuildsTheRepository) {
  const Outcome outcome = registerWith({});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(calls(), "sfcbstage -n root/cimv2 -r orvprovider.reg orvprovider.mof in " + data_ +
                         "\nsfcbrepos -f in " + data_ + "\n");
  EXPECT_THAT(outcome.out, HasSubstr("Restart the broker to load it."));
  EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(RegisterTest, UndoTakesTheSameFilesBack) {
  const Outcome outcome = registerWith({"--undo"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(calls(), "sfcbunstage -n root/cimv2 -r orvprovider.reg orvprovider.mof in " + data_ +
                         "\nsfcbrepos -f in " + data_ + "\n");
  EXPECT_THAT(outcome.out, HasSubstr("no longer registered"));
}

TEST_F(RegisterTest, NamespaceStagingAreaAndDataCanBeChosen) {
  const Outcome outcome =
      registerWith({"--namespace", "root/other", "--staging", "/stage", "--data", data_});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(calls(), HasSubstr("sfcbstage -n root/other -s /stage -r orvprovider.reg "));
  EXPECT_THAT(calls(), HasSubstr("sfcbrepos -f -s /stage "));
}

TEST_F(RegisterTest, ARelativeStagingAreaIsThatOfTheCaller) {
  EXPECT_EQ(registerWith({"--staging", "stage"}).status, 0);
  EXPECT_THAT(calls(), Not(HasSubstr("-s stage ")));
  EXPECT_THAT(calls(), HasSubstr("/stage -r"));
}

TEST_F(RegisterTest, WithoutRebuildOnlyStages) {
  EXPECT_EQ(registerWith({"--no-rebuild"}).status, 0);
  EXPECT_THAT(calls(), Not(HasSubstr("sfcbrepos")));
}

TEST_F(RegisterTest, ADryRunPrintsWhatItWouldDoAndDoesNothing) {
  const Outcome outcome = registerWith({"--dry-run"}, scratch_.path() + "/nothing:");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(calls(), "");
  EXPECT_THAT(
      outcome.out,
      HasSubstr("sfcbstage -n root/cimv2 -r orvprovider.reg orvprovider.mof\nsfcbrepos -f\n"));
}

TEST_F(RegisterTest, MissingCommandsAreTold) {
  const Outcome outcome = registerWith({}, scratch_.path() + "/nothing:");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("sfcbstage is not on the search path; is sfcb installed?"));
  const Outcome undo = registerWith({"--undo"}, scratch_.path() + "/nothing:");
  EXPECT_EQ(undo.status, 3);
  EXPECT_THAT(undo.err, HasSubstr("sfcbunstage"));
}

TEST_F(RegisterTest, MissingFilesAreTold) {
  const Outcome outcome = registerWith({"--data", "/nonexistent"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("/nonexistent/orvprovider.mof is missing"));
  EXPECT_EQ(calls(), "");
}

TEST_F(RegisterTest, ACommandThatFailsEndsIt) {
  provide("sfcbstage", 4);
  const Outcome outcome = registerWith({});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("\"sfcbstage\" failed; nothing after it was done"));
  EXPECT_THAT(calls(), Not(HasSubstr("sfcbrepos")));
  provide("sfcbstage");
  provide("sfcbrepos", 1);
  EXPECT_EQ(registerWith({}).status, 1);
}

TEST_F(RegisterTest, WrongUsageIsTold) {
  const Outcome unknown = registerWith({"--frobnicate"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, HasSubstr("unknown option --frobnicate"));
  const Outcome valueless = registerWith({"--namespace"});
  EXPECT_EQ(valueless.status, 2);
  EXPECT_THAT(valueless.err, HasSubstr("--namespace needs a value"));
  EXPECT_EQ(calls(), "");
}

TEST_F(RegisterTest, HelpTellsEveryOption) {
  const Outcome outcome = registerWith({"--help"});
  EXPECT_EQ(outcome.status, 0);
  const std::string manual = manualText(prefix_ + "/share/man/man8/orvprovider-register.8");
  for (const char* option : {"--undo", "--no-rebuild", "--namespace", "--staging", "--data",
                             "--configuration", "--dry-run", "--help"}) {
    EXPECT_THAT(outcome.out, HasSubstr(option));
    EXPECT_THAT(manual, HasSubstr(option));
  }
}

TEST_F(RegisterTest, AConfigurationThatDoesNotNameTheLibrarysDirectoryIsNoted) {
  const std::string directory = prefix_ + "/lib/cmpi";
  scratch_.write("sfcb.cfg", "httpPort: 5988\nproviderDirs: /usr/lib/sfcb /usr/lib/other\n");
  const Outcome noted = registerWith({});
  EXPECT_EQ(noted.status, 0);
  EXPECT_THAT(noted.err,
              HasSubstr("providerDirs in " + configuration_ + " does not name " + directory));
  for (const std::string& line :
       {"providerDirs: /usr/lib/sfcb " + directory, "providerDirs: " + directory + " /usr/lib/sfcb",
        "providerDirs:\t" + directory + "/"}) {
    scratch_.write("sfcb.cfg", line + "\n");
    EXPECT_THAT(registerWith({}).err, IsEmpty()) << line;
  }
  scratch_.write("sfcb.cfg", "providerDirs: /usr/lib/sfcb\n");
  EXPECT_THAT(registerWith({"--undo"}).err, IsEmpty());
}

}  // namespace
}  // namespace orv::test
