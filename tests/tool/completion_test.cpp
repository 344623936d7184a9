// The completion of the tool's command line: asked in a shell, and compared with what the tool's
// own help tells.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/tool/program.h"
#include "tests/tool/tool_files.h"

namespace orv::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;

const std::string kCompletion = ORV_SOURCE_DIR "/packaging/completions/orvcim";

/// What is offered for the last of `words`, which follow the tool's name.
std::vector<std::string> offers(const std::vector<std::string>& words) {
  std::string line = kOrvcim;
  for (const std::string& word : words) line += " '" + word + "'";
  const Outcome outcome = run({"/bin/bash", "-c",
                               ". " + kCompletion + "; COMP_WORDS=(" + line +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _orvcim " + kOrvcim +
                                   R"(; printf '%s\n' "${COMPREPLY[@]}")"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  std::vector<std::string> lines;
  std::istringstream in(outcome.out);
  for (std::string one; std::getline(in, one);) lines.push_back(one);
  return lines;
}

std::set<std::string> matches(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  std::set<std::string> found;
  for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
    found.insert((*at)[1].str());
  }
  return found;
}

std::string help(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), kOrvcim);
  arguments.emplace_back("--help");
  return run(arguments).out;
}

std::set<std::string> commands() {
  const std::string text = help({});
  const std::size_t begin = text.find("Subcommands:");
  return matches(text.substr(begin, text.find("Examples:") - begin), "\n  ([a-z-]+) ");
}

TEST(Completion, OffersEveryCommand) {
  ASSERT_GE(commands().size(), 11u);
  EXPECT_THAT(offers({""}), IsSupersetOf(commands()));
  EXPECT_THAT(offers({"refer"}), ElementsAre("references", "reference-names"));
}

TEST(Completion, OffersEveryOptionOfEveryCommand) {
  for (const std::string& command : commands()) {
    std::set<std::string> options = matches(help({command}), "(--[a-z-]+) ");
    options.erase("--version");
    EXPECT_THAT(offers({command, "--"}), IsSupersetOf(options)) << command;
  }
}

TEST(Completion, OffersClassesAndFormats) {
  EXPECT_THAT(offers({"instances", "Orvane_Ether"}), ElementsAre("Orvane_EthernetPort"));
  EXPECT_THAT(offers({"associators", "X.K=1", "--assoc-class", "Orvane_EPStatistics"}),
              ElementsAre("Orvane_EPStatistics"));
  EXPECT_THAT(offers({"list", "--format", "j"}), ElementsAre("json"));
  EXPECT_THAT(offers({"names", ""}), Not(Contains("serve")));
}

}  // namespace
}  // namespace orv::test
