// Every shell script of the tree, read by shellcheck.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "tests/tool/program.h"

namespace orv::test {
namespace {

namespace fs = std::filesystem;

bool isShellScript(const fs::path& file) {
  std::ifstream in(file);
  std::string line;
  std::getline(in, line);
  return std::regex_match(line, std::regex("#!/bin/(ba)?sh.*"));
}

// Folders that hold what was built or what git keeps are left out.
std::vector<std::string> shellScripts() {
  std::vector<std::string> scripts;
  const auto end = fs::recursive_directory_iterator();
  for (auto entry = fs::recursive_directory_iterator(ORV_SOURCE_DIR); entry != end; ++entry) {
    const std::string name = entry->path().filename().string();
    if (entry.depth() == 0 && (name == ".git" || name.rfind("build", 0) == 0)) {
      entry.disable_recursion_pending();
    } else if (entry->is_regular_file() && isShellScript(entry->path())) {
      scripts.push_back(entry->path().string());
    }
  }
  return scripts;
}

TEST(ShellScripts, HaveNothingThatShellcheckTells) {
  if (run({"/bin/sh", "-c", "command -v shellcheck"}).status != 0) {
    GTEST_SKIP() << "shellcheck is not installed";
  }
  std::vector<std::string> command = {"/usr/bin/env", "shellcheck", "--external-sources"};
  const std::vector<std::string> scripts = shellScripts();
  EXPECT_THAT(scripts, testing::Contains(ORV_SOURCE_DIR "/packaging/orvprovider-register.in"));
  command.insert(command.end(), scripts.begin(), scripts.end());
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

}  // namespace
}  // namespace orv::test
