#include "tool/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace orv::tool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct Parsed {
  std::optional<Options> options;
  int status = -1;
  std::string out, err;
};

Parsed parseAll(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "orvcim");
  Parsed parsed;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  parsed.options =
      parseCommandLine(static_cast<int>(arguments.size()), arguments.data(), parsed.status);
  parsed.out = testing::internal::GetCapturedStdout();
  parsed.err = testing::internal::GetCapturedStderr();
  return parsed;
}

std::optional<Options> parse(const std::vector<const char*>& arguments, int* status = nullptr) {
  const Parsed parsed = parseAll(arguments);
  if (status != nullptr) *status = parsed.status;
  return parsed.options;
}

int statusOf(const std::vector<const char*>& arguments) {
  int status = -1;
  EXPECT_FALSE(parse(arguments, &status).has_value());
  return status;
}

TEST(CommandLine, HasDefaults) {
  const auto options = parse({"list"});
  ASSERT_TRUE(options);
  EXPECT_EQ(options->command, Command::kList);
  EXPECT_EQ(options->print.format, Format::kMof);
  EXPECT_FALSE(options->print.withNulls);
  EXPECT_EQ(options->nameSpace, "root/cimv2");
  EXPECT_THAT(options->session.libraries, ElementsAre());
  EXPECT_THAT(options->session.schemas, ElementsAre());
  EXPECT_EQ(options->session.simulate, "");
}

TEST(CommandLine, GlobalOptionsMayStandBeforeAndBehindTheCommand) {
  for (const auto& arguments : std::vector<std::vector<const char*>>{
           {"--format", "json", "--namespace", "root/x", "--library", "l", "--schema", "s",
            "--simulate", "h", "--nulls", "names", "C"},
           {"names", "C", "--format", "JSON", "-n", "root/x", "--library", "l", "--schema", "s",
            "--simulate", "h", "--nulls"}}) {
    const auto options = parse(arguments);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->command, Command::kNames);
    EXPECT_EQ(options->className, "C");
    EXPECT_EQ(options->print.format, Format::kJson);
    EXPECT_TRUE(options->print.withNulls);
    EXPECT_EQ(options->nameSpace, "root/x");
    EXPECT_THAT(options->session.libraries, ElementsAre("l"));
    EXPECT_THAT(options->session.schemas, ElementsAre("s"));
    EXPECT_EQ(options->session.simulate, "h");
  }
}

TEST(CommandLine, PropertiesMayBeGivenInEveryWay) {
  EXPECT_THAT(parse({"instances", "C", "--property", "A", "B"})->properties, ElementsAre("A", "B"));
  EXPECT_THAT(parse({"instances", "C", "-p", "A", "-p", "B"})->properties, ElementsAre("A", "B"));
  EXPECT_THAT(parse({"instances", "C", "-p", "A,B"})->properties, ElementsAre("A", "B"));
  const auto options = parse({"get", "C.K=1", "--property", "A", "--format", "table"});
  EXPECT_THAT(options->properties, ElementsAre("A"));
  EXPECT_EQ(options->objectPath, "C.K=1");
  EXPECT_EQ(options->print.format, Format::kTable);
}

TEST(CommandLine, SeveralLibrariesAndSchemasAreGivenOneByOne) {
  const auto options =
      parse({"--library", "a", "--schema", "b", "--library", "c", "--schema", "d", "list"});
  ASSERT_TRUE(options);
  EXPECT_THAT(options->session.libraries, ElementsAre("a", "c"));
  EXPECT_THAT(options->session.schemas, ElementsAre("b", "d"));
}

TEST(CommandLine, AssociationCommandsHaveTheirFilters) {
  const auto options = parse({"associators", "C.K=1", "--assoc-class", "A", "--result-class", "B",
                              "--role", "r", "--result-role", "s"});
  ASSERT_TRUE(options);
  EXPECT_EQ(options->command, Command::kAssociators);
  EXPECT_EQ(options->assocClass, "A");
  EXPECT_EQ(options->resultClass, "B");
  EXPECT_EQ(options->role, "r");
  EXPECT_EQ(options->resultRole, "s");
  EXPECT_EQ(parse({"reference-names", "C.K=1", "--role", ""})->role, "");
  EXPECT_FALSE(parse({"references", "C.K=1"})->role.has_value());
}

TEST(CommandLine, EveryCommandIsKnown) {
  EXPECT_EQ(parse({"get", "P"})->command, Command::kGet);
  EXPECT_EQ(parse({"associator-names", "P"})->command, Command::kAssociatorNames);
  EXPECT_EQ(parse({"references", "P"})->command, Command::kReferences);
  EXPECT_EQ(parse({"reference-names", "P"})->command, Command::kReferenceNames);
  EXPECT_EQ(parse({"health"})->command, Command::kHealth);
  const auto watch = parse({"watch", "A", "B"});
  EXPECT_EQ(watch->command, Command::kWatch);
  EXPECT_THAT(watch->classNames, ElementsAre("A", "B"));
}

TEST(CommandLine, HelpAndVersionAreNoErrors) {
  EXPECT_EQ(statusOf({"--help"}), 0);
  EXPECT_EQ(statusOf({"instances", "--help"}), 0);
  EXPECT_EQ(statusOf({"--version"}), 0);
}

TEST(CommandLine, WrongUsageIsTwo) {
  EXPECT_EQ(statusOf({}), 2);
  EXPECT_EQ(statusOf({"frobnicate"}), 2);
  EXPECT_EQ(statusOf({"list", "--colour"}), 2);
  EXPECT_EQ(statusOf({"list", "surplus"}), 2);
  EXPECT_EQ(statusOf({"names"}), 2);
  EXPECT_EQ(statusOf({"names", "A", "B"}), 2);
  EXPECT_EQ(statusOf({"watch"}), 2);
  EXPECT_EQ(statusOf({"list", "names", "C"}), 2);
  EXPECT_EQ(statusOf({"list", "--format", "xml"}), 2);
  EXPECT_EQ(statusOf({"list", "--format"}), 2);
  EXPECT_EQ(statusOf({"references", "P", "--result-role", "x"}), 2);
  EXPECT_EQ(statusOf({"names", "C", "--property", "x"}), 2);
}

constexpr const char* kAllCommands[] = {
    "list",       "names",           "instances", "get",    "associators", "associator-names",
    "references", "reference-names", "watch",     "health", "serve"};

TEST(CommandLine, AnUnknownCommandIsNamedAndTheNearestOneOffered) {
  for (const auto& arguments : std::vector<std::vector<const char*>>{
           {"instancs"}, {"instancs", "--help"}, {"--format", "json", "instancs", "C"}}) {
    const Parsed parsed = parseAll(arguments);
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.status, 2);
    EXPECT_THAT(parsed.err,
                HasSubstr("unknown command \"instancs\"; did you mean \"instances\"?\n"));
    EXPECT_EQ(parsed.out, "");
  }
}

TEST(CommandLine, ACommandLikeNoOtherIsOnlyNamed) {
  EXPECT_THAT(parseAll({"bogus"}).err, HasSubstr("unknown command \"bogus\"\n"));
  EXPECT_THAT(parseAll({"x\ny"}).err, HasSubstr("unknown command \"x\\ny\"\n"));
}

TEST(CommandLine, AWordTooManyIsNotTakenForACommand) {
  const Parsed parsed = parseAll({"list", "names"});
  EXPECT_EQ(parsed.status, 2);
  EXPECT_THAT(parsed.err, Not(HasSubstr("unknown command")));
}

TEST(CommandLine, HelpOfACommandHasItsExamplesAndGlobalOptions) {
  for (const char* command : kAllCommands) {
    const Parsed parsed = parseAll({command, "--help"});
    EXPECT_EQ(parsed.status, 0) << command;
    EXPECT_THAT(parsed.out, HasSubstr("Examples:\n  orvcim " + std::string(command))) << command;
    for (const char* option : {"--namespace", "--simulate", "--verbose", "--library", "--schema"}) {
      EXPECT_THAT(parsed.out, HasSubstr(option)) << command;
    }
  }
}

TEST(CommandLine, HelpOfACommandLeavesOutGlobalOptionsThatItDoesNotTake) {
  const std::map<std::string, std::set<std::string>> without = {
      {"--format ", {"metrics", "check", "serve"}},
      {"--nulls ",
       {"list", "names", "associator-names", "reference-names", "health", "metrics", "check",
        "serve"}},
      {"--url ", {"serve"}},
      {"--hosts ", {"watch", "metrics", "check", "serve"}},
      {"--password-file ", {"serve"}},
      {"--ca ", {"serve"}},
      {"--insecure ", {"serve"}},
      {"--timeout ", {"serve"}},
  };
  for (const char* command : kAllCommands) {
    std::string options = parseAll({command, "--help"}).out;
    options.resize(options.find("Examples:"));
    for (const auto& [option, commands] : without) {
      const bool listed = options.find(option) != std::string::npos;
      EXPECT_NE(listed, commands.count(command) == 1) << command << " " << option;
    }
    const bool interop = options.find("--interop-namespace ") != std::string::npos;
    EXPECT_EQ(interop, command == std::string("watch")) << command;
  }
}

TEST(CommandLine, HelpListsEveryCommand) {
  const std::string help = parseAll({"--help"}).out;
  for (const char* command : kAllCommands) {
    EXPECT_THAT(help, HasSubstr("\n  " + std::string(command) + " ")) << command;
  }
}

}  // namespace
}  // namespace orv::tool
