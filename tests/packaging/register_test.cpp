// orvprovider-register, with commands of the broker that only write down what they are asked.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "tests/packaging/installed_tree.h"

namespace orv::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Stand-ins for the broker's commands. They note how they are called, and change the staging area
// and the repository as the real ones do.
constexpr char kStage[] = R"(
while getopts n:s:r: o; do case $o in n) n=$OPTARG ;; s) s=$OPTARG ;; r) r=$OPTARG ;; *) ;; esac; done
shift $((OPTIND - 1))
mkdir -p "$s/regs" "$s/mofs/$n" && cp "$r" "$s/regs/" && cp "$1" "$s/mofs/$n/"
)";
constexpr char kUnstage[] = R"(
while getopts n:s:r: o; do case $o in n) n=$OPTARG ;; s) s=$OPTARG ;; r) r=$OPTARG ;; *) ;; esac; done
shift $((OPTIND - 1))
rm -f "$s/regs/$r" "$s/mofs/$n/$1"
)";
// The real one fails late, after it moved the repository away.
constexpr char kRebuild[] = R"(
while getopts fihs:r:c: o; do case $o in s) s=$OPTARG ;; r) r=$OPTARG ;; i) i=yes ;; *) ;; esac; done
rm -rf "$r/repository.previous" && mv "$r/repository" "$r/repository.previous"
mv "$r/providerRegister" "$r/providerRegister.previous"
mkdir -p "$r/repository/root/cimv2"
cat "$s/default.reg" "$s"/regs/*.reg >"$r/providerRegister"
if [ -z "$i" ] && [ -e "$r/repository.previous/root/interop/cim_indicationhandlercimxml" ]; then
  echo "Failed compiling the MOF files." >&2
  exit 1
fi
cat "$s"/mofs/root/cimv2/*.mof >"$r/repository/root/cimv2/classSchemas"
)";

// Runs a command where no broker of the machine's own is in /opt.
const std::vector<std::string> kWithoutOpt =
    geteuid() != 0 || !std::filesystem::exists("/opt/sfcb")
        ? std::vector<std::string>{}
        : std::vector<std::string>{
              "unshare", "--mount", "sh", "-c", "mount -t tmpfs none /opt && exec \"$@\"", "sh"};

class RegisterTest : public testing::Test {
 protected:
  RegisterTest() {
    const Outcome installed = installTo(prefix_);
    EXPECT_EQ(installed.status, 0) << installed.err;
    provide("sfcbstage", kStage);
    provide("sfcbunstage", kUnstage);
    provide("sfcbrepos", kRebuild);
    scratch_.write("stage/default.reg", "[Default]\n");
    scratch_.write("stage/mofs/root/cimv2/others.mof", "classes of others\n");
    scratch_.write("stage/regs/others.reg", "[Other_Class]\n   provider: Other\n");
    scratch_.write("registration/providerRegister",
                   "[Default]\n[Other_Class]\n   provider: Other\n");
    scratch_.write("registration/repository/root/cimv2/classSchemas", "the classes before\n");
    scratch_.write("schema/CIM_Schema.mof", "");
    configure("");
  }

  /// A command that notes its arguments and where it runs, and then does this.
  void provide(const std::string& command, const std::string& body) const {
    scratch_.write("fake/" + command,
                   "#!/bin/sh\necho \"$(basename \"$0\") $* in $PWD\" >>" + log_ + "\n" + body,
                   true);
  }

  /// The broker's configuration file, with these further lines.
  void configure(const std::string& lines) const {
    scratch_.write("sfcb.cfg", "httpPort: 5988\nregistrationDir: " + registration_ + "\n" + lines);
  }

  /// `before` is a command that runs the program.
  Outcome registerWith(std::vector<std::string> options, const std::string& path = "",
                       const std::vector<std::string>& before = {}) const {
    options.insert(options.begin(), {"--only", "provider"});
    return registerAsGiven(options, path, before);
  }

  Outcome registerAsGiven(std::vector<std::string> options, const std::string& path = "",
                          const std::vector<std::string>& before = {}) const {
    std::vector<std::string> command = {"/usr/bin/env"};
    command.insert(command.end(), before.begin(), before.end());
    const std::vector<std::string> program = {
        "env",
        "PATH=" + (path.empty() ? scratch_.path() + "/fake:" : path) + "/usr/bin:/bin",
        prefix_ + "/sbin/orvprovider-register",
        "--configuration",
        scratch_.path() + "/sfcb.cfg",
        "--staging",
        stage_,
        "--schema-dir",
        scratch_.path() + "/schema"};
    command.insert(command.end(), program.begin(), program.end());
    command.insert(command.end(), options.begin(), options.end());
    return run(command);
  }

  std::string calls() const { return fileText(log_); }

  /// Every file of the staging area and of the repository, with its text.
  std::map<std::string, std::string> brokerFiles() const {
    std::map<std::string, std::string> files;
    for (const std::string& directory : {stage_, registration_}) {
      for (const std::string& file : filesBelow(directory)) {
        files[directory + "/" + file] = fileText(directory + "/" + file);
      }
    }
    return files;
  }

  ScratchDirectory scratch_;
  const std::string prefix_ = scratch_.path() + "/usr";
  const std::string data_ = prefix_ + "/share/orvprovider/schema";
  const std::string log_ = scratch_.path() + "/calls";
  const std::string stage_ = scratch_.path() + "/stage";
  const std::string registration_ = scratch_.path() + "/registration";
  const std::string classes_ = registration_ + "/repository/root/cimv2/classSchemas";
  const std::string register_ = registration_ + "/providerRegister";
  const std::string handler_ = "registration/repository/root/interop/cim_indicationhandlercimxml";
  const std::string rebuild_ = "sfcbrepos -f -s " + stage_ + " -r " + registration_ +
                               "/orvprovider.next -c " + scratch_.path() + "/schema";
};

TEST_F(RegisterTest, RegistersBothLibrariesOneAfterTheOtherAndTakesThemBack) {
  const Outcome outcome = registerAsGiven({});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("liborvprovider is registered for root/cimv2."));
  EXPECT_THAT(outcome.out, HasSubstr("liborvhost is registered for root/cimv2."));
  for (const char* name : {"[Orvane_EthernetPort]", "[OMC_UnitaryComputerSystem]"}) {
    EXPECT_THAT(fileText(register_), HasSubstr(name));
  }
  // The computer system's class comes with the library: no CIM schema has it.
  EXPECT_THAT(fileText(classes_), HasSubstr("class OMC_UnitaryComputerSystem"));
  EXPECT_THAT(fileText(classes_), HasSubstr("class Orvane_DiskDrive"));

  EXPECT_EQ(registerAsGiven({"--undo"}).status, 0);
  EXPECT_THAT(fileText(register_), Not(HasSubstr("Orvane")));
  EXPECT_THAT(fileText(classes_), Not(HasSubstr("Orvane_DiskDrive")));
}

TEST_F(RegisterTest, LeavesTheComputerSystemToAnotherProviderOfIt) {
  scratch_.write("registration/providerRegister",
                 "[OMC_UnitaryComputerSystem]\n   provider: SomebodyElse\n");
  const Outcome outcome = registerAsGiven({"--only", "host"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("another provider serves OMC_UnitaryComputerSystem"));
  EXPECT_THAT(calls(), Not(HasSubstr("sfcbstage")));
}

TEST_F(RegisterTest, OnlyOneOfTheTwoCanBeNamed) {
  EXPECT_EQ(registerAsGiven({"--only", "both"}).status, 2);
}

TEST_F(RegisterTest, StagesClassesAndRegistrationAndRebuildsTheRepository) {
  const Outcome outcome = registerWith({});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(calls(), "sfcbstage -n root/cimv2 -s " + stage_ +
                         " -r orvprovider.reg orvprovider.mof in " + data_ + "\n" + rebuild_ +
                         " in " + data_ + "\n");
  EXPECT_THAT(outcome.out,
              HasSubstr("is registered for root/cimv2. Restart the broker to load it."));
  EXPECT_THAT(outcome.err, HasSubstr("providerDirs"));
  EXPECT_THAT(fileText(classes_), HasSubstr("Orvane_EthernetPort"));
  EXPECT_THAT(fileText(classes_), HasSubstr("classes of others"));
  EXPECT_THAT(fileText(register_), HasSubstr("[Orvane_EthernetPort]"));
  EXPECT_EQ(fileText(registration_ + "/repository.previous/root/cimv2/classSchemas"),
            "the classes before\n");
}

TEST_F(RegisterTest, UndoTakesTheSameFilesBack) {
  ASSERT_EQ(registerWith({}).status, 0);
  const Outcome outcome = registerWith({"--undo"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(calls(), HasSubstr("sfcbunstage -n root/cimv2 -s " + stage_ +
                                 " -r orvprovider.reg orvprovider.mof in " + data_ + "\n" +
                                 rebuild_ + " in " + data_ + "\n"));
  EXPECT_THAT(outcome.out, HasSubstr("no longer registered"));
  EXPECT_EQ(fileText(classes_), "classes of others\n");
  EXPECT_THAT(fileText(register_), Not(HasSubstr("Orvane")));
}

TEST_F(RegisterTest, UndoOfWhatIsNotRegisteredDoesNothing) {
  const auto before = brokerFiles();
  const Outcome outcome = registerWith({"--undo"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "liborvprovider is not registered; nothing to do.\n");
  EXPECT_EQ(calls(), "");
  EXPECT_EQ(brokerFiles(), before);
}

TEST_F(RegisterTest, AHandlerInTheRepositoryLeavesEverythingAsItWasAndTellsWhatToDo) {
  scratch_.write(handler_, "a handler");
  const auto before = brokerFiles();
  const Outcome outcome = registerWith({});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("./root/interop/cim_indicationhandlercimxml"));
  EXPECT_THAT(outcome.err, HasSubstr("delete the subscriptions"));
  EXPECT_THAT(outcome.err, HasSubstr("--drop-instances"));
  EXPECT_THAT(outcome.err, HasSubstr("nothing was changed"));
  EXPECT_EQ(brokerFiles(), before);
}

TEST_F(RegisterTest, AHandlerLeavesTheRegistrationWhereUndoFails) {
  ASSERT_EQ(registerWith({}).status, 0);
  scratch_.write(handler_, "a handler");
  const auto before = brokerFiles();
  const Outcome outcome = registerWith({"--undo"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("nothing was changed"));
  EXPECT_EQ(brokerFiles(), before);
}

TEST_F(RegisterTest, DroppingTheInstancesMakesTheRepositoryWithoutThem) {
  scratch_.write(handler_, "a handler");
  const Outcome outcome = registerWith({"--drop-instances"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(calls(), HasSubstr(rebuild_ + " -i "));
  EXPECT_THAT(fileText(classes_), HasSubstr("Orvane_EthernetPort"));
}

TEST_F(RegisterTest, TheRegistrationAloneCanBeTakenBack) {
  ASSERT_EQ(registerWith({}).status, 0);
  const std::string classes = fileText(classes_);
  const Outcome outcome = registerWith({"--undo", "--keep-classes"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(fileText(register_), StartsWith("[Default]\n"));
  EXPECT_THAT(fileText(register_), EndsWith("[Other_Class]\n   provider: Other\n"));
  EXPECT_THAT(fileText(register_), Not(HasSubstr("Orvane_")));
  EXPECT_EQ(fileText(classes_), classes);
  EXPECT_EQ(
      filesBelow(stage_),
      (std::vector<std::string>{"default.reg", "mofs/root/cimv2/others.mof", "regs/others.reg"}));
  EXPECT_EQ(registerWith({"--keep-classes"}).status, 2);
}

TEST_F(RegisterTest, ARebuildThatEndsWellWithoutClassesIsAFailure) {
  provide("sfcbrepos", R"(
while getopts fs:r:c: o; do case $o in r) r=$OPTARG ;; *) ;; esac; done
rm -rf "$r/repository"
)");
  const auto before = brokerFiles();
  EXPECT_EQ(registerWith({}).status, 1);
  EXPECT_EQ(brokerFiles(), before);
}

TEST_F(RegisterTest, AnInterruptedRunIsNotWalkedOver) {
  scratch_.write("registration/orvprovider.next/providerRegister", "of another run\n");
  const auto before = brokerFiles();
  const Outcome outcome = registerWith({});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("another run may be under way"));
  EXPECT_EQ(brokerFiles(), before);
}

TEST_F(RegisterTest, TheDefaultsAreThoseOfTheBrokersCommand) {
  provide("sfcbrepos",
          "printf -- '-e \\t-s specify staging directory [" + stage_ +
              "]\\n-e \\t-r specify repository directory [" + registration_ +
              "]\\n-e \\t-c specify directory containing CIM Schema MOFs [/nowhere]\\n'\n");
  scratch_.write("sfcb.cfg", "httpPort: 5988\n");
  const Outcome outcome = run({"/usr/bin/env", "PATH=" + scratch_.path() + "/fake:/usr/bin:/bin",
                               prefix_ + "/sbin/orvprovider-register", "--configuration",
                               scratch_.path() + "/sfcb.cfg"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("/nowhere/CIM_Schema.mof is missing; give the directory"));
  EXPECT_THAT(outcome.err, HasSubstr("--schema-dir"));
}

TEST_F(RegisterTest, AMissingStagingAreaIsTold) {
  const Outcome outcome = registerWith({"--staging", "/nonexistent"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("staging area /nonexistent is missing"));
  EXPECT_EQ(calls(), "");
}

TEST_F(RegisterTest, NamespaceStagingAreaAndDataCanBeChosen) {
  scratch_.write("other stage/default.reg", "");
  scratch_.write("other/default.reg", "");
  provide("sfcbrepos", "");
  registerWith(
      {"--namespace", "root/other", "--staging", scratch_.path() + "/other", "--data", data_});
  EXPECT_THAT(calls(), HasSubstr("sfcbstage -n root/other -s " + scratch_.path() +
                                 "/other -r orvprovider.reg "));
  EXPECT_THAT(calls(), HasSubstr("sfcbrepos -f -s " + scratch_.path() + "/other "));
  const Outcome spaces = registerWith({"--staging", scratch_.path() + "/other stage"});
  EXPECT_EQ(spaces.status, 2);
  EXPECT_THAT(spaces.err, HasSubstr("spaces in its name"));
}

TEST_F(RegisterTest, ARelativeStagingAreaIsThatOfTheCaller) {
  const Outcome outcome = registerWith({"--dry-run", "--staging", "stage"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, Not(HasSubstr("-s stage ")));
  EXPECT_THAT(outcome.out, HasSubstr("/stage -r"));
}

TEST_F(RegisterTest, WithoutRebuildOnlyStages) {
  const Outcome outcome = registerWith({"--no-rebuild"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(calls(), Not(HasSubstr("sfcbrepos")));
  EXPECT_THAT(outcome.out, Not(HasSubstr("is registered")));
  EXPECT_THAT(outcome.out, HasSubstr("is staged for root/cimv2. Run \"sfcbrepos\""));
  EXPECT_EQ(fileText(classes_), "the classes before\n");
}

TEST_F(RegisterTest, ADryRunPrintsWhatItWouldDoAndDoesNothing) {
  const auto before = brokerFiles();
  const Outcome outcome = registerWith({"--dry-run"}, scratch_.path() + "/nothing:");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(calls(), "");
  EXPECT_THAT(outcome.out, HasSubstr("sfcbstage -n root/cimv2 -s " + stage_ +
                                     " -r orvprovider.reg orvprovider.mof\n" + rebuild_ + "\n"));
  EXPECT_THAT(outcome.out, HasSubstr("nothing was done"));
  EXPECT_THAT(outcome.out, Not(HasSubstr("is registered")));
  EXPECT_EQ(brokerFiles(), before);
}

TEST_F(RegisterTest, MissingCommandsAreTold) {
  const std::string places = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
  if (run({"/usr/bin/env", "PATH=" + places, "sh", "-c", "command -v sfcbrepos"}).status == 0) {
    GTEST_SKIP() << "the broker's commands are installed in the system's own directories";
  }
  for (const std::string option : {"--no-rebuild", "--undo"}) {
    const Outcome outcome = registerWith({option}, scratch_.path() + "/nothing:", kWithoutOpt);
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("is neither on the search path nor in one of the usual "
                                       "places; is sfcb installed?"));
  }
}

TEST_F(RegisterTest, TheCommandsAreFoundInTheUsualPlaces) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can put a directory at /opt";
  scratch_.write("opt/sfcb/bin/sfcbstage", fileText(scratch_.path() + "/fake/sfcbstage"), true);
  scratch_.write("opt/sfcb/bin/sfcbrepos", fileText(scratch_.path() + "/fake/sfcbrepos"), true);
  const Outcome outcome =
      registerWith({}, scratch_.path() + "/nothing:",
                   {"unshare", "--mount", "sh", "-c",
                    "mount --bind " + scratch_.path() + "/opt /opt && exec \"$@\"", "sh"});
  if (outcome.err.find("unshare:") == 0) GTEST_SKIP() << outcome.err;
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(fileText(classes_), HasSubstr("Orvane_EthernetPort"));
}

TEST_F(RegisterTest, MissingFilesAreTold) {
  const Outcome outcome = registerWith({"--data", "/nonexistent"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("/nonexistent/orvprovider.mof is missing"));
  EXPECT_EQ(calls(), "");
}

TEST_F(RegisterTest, ACommandThatFailsEndsIt) {
  provide("sfcbstage", "echo broken >" + stage_ + "/regs/orvprovider.reg; exit 4\n");
  const auto before = brokerFiles();
  const Outcome outcome = registerWith({});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("\"sfcbstage\" failed; nothing was changed"));
  EXPECT_THAT(calls(), Not(HasSubstr("sfcbrepos")));
  EXPECT_EQ(brokerFiles(), before);
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
  for (const char* option :
       {"--undo", "--no-rebuild", "--drop-instances", "--keep-classes", "--namespace", "--staging",
        "--schema-dir", "--data", "--configuration", "--dry-run", "--help"}) {
    EXPECT_THAT(outcome.out, HasSubstr(option));
    EXPECT_THAT(manual, HasSubstr(option));
  }
}

TEST_F(RegisterTest, AConfigurationThatDoesNotNameTheLibrarysDirectoryIsNoted) {
  const std::string directory = prefix_ + "/lib/cmpi";
  configure("providerDirs: /usr/lib/sfcb /usr/lib/other\n");
  const Outcome noted = registerWith({});
  EXPECT_EQ(noted.status, 0);
  EXPECT_THAT(noted.err, HasSubstr("providerDirs in " + scratch_.path() +
                                   "/sfcb.cfg does not name " + directory));
  for (const std::string& line :
       {"providerDirs: /usr/lib/sfcb " + directory, "providerDirs: " + directory + " /usr/lib/sfcb",
        "providerDirs:\t" + directory + "/"}) {
    configure(line + "\n");
    EXPECT_THAT(registerWith({}).err, IsEmpty()) << line;
  }
  configure("providerDirs: /usr/lib/sfcb\n");
  EXPECT_THAT(registerWith({"--undo"}).err, IsEmpty());
}

}  // namespace
}  // namespace orv::test
