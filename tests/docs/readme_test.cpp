#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/tool/program.h"

// What the README shows of orvcim is what orvcim prints.
namespace orv::test {
namespace {

const std::string kSources = ORV_SOURCE_DIR;

struct Shown {
  std::string command;  // without the "$ "
  std::string output;
};

/// The commands after "$ " in the README's blocks, each with the lines up to the next or the end.
std::vector<Shown> shownInReadme() {
  std::vector<Shown> shown;
  bool inside = false;
  std::ifstream in(kSources + "/README.md");
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("```", 0) == 0) {
      inside = false;
    } else if (line.rfind("$ ", 0) == 0) {
      shown.push_back({line.substr(2), ""});
      inside = true;
    } else if (inside) {
      shown.back().output += line + "\n";
    }
  }
  return shown;
}

std::vector<std::string> words(const std::string& command) {
  std::istringstream in(command);
  std::vector<std::string> all;
  for (std::string word; in >> word;) {
    all.push_back(word.rfind("tests/", 0) == 0 ? kSources + "/" + word : word);
  }
  return all;
}

TEST(Readme, ShowsWhatIsPrinted) {
  const std::vector<Shown> shown = shownInReadme();
  ASSERT_FALSE(shown.empty());
  for (const Shown& one : shown) {
    std::vector<std::string> arguments = words(one.command);
    ASSERT_EQ(arguments.front(), "orvcim") << one.command;
    arguments.front() = ORV_BINARY_DIR "/bin/orvcim";
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 0) << one.command << ": " << outcome.err;
    EXPECT_EQ(outcome.out, one.output) << one.command;
  }
}

}  // namespace
}  // namespace orv::test
