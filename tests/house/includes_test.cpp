// Reads the include lines of every source file and checks that they point downwards only.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kSourceDirectory = ORV_SOURCE_DIR;

// What a folder may include, besides itself. Folders that are not here are not part of the house.
const std::map<std::string, std::set<std::string>> kArrows = {
    {"cmpi/abi", {}},
    {"cmpi", {"cmpi/abi"}},
    {"platform", {}},
    {"platform/linux", {"platform"}},
    {"platform/linux/hardware", {"platform", "platform/linux"}},
    {"platform/simulated", {"platform"}},
    {"framework", {"cmpi", "cmpi/abi", "platform"}},
    {"ethernet", {"cmpi", "cmpi/abi", "platform", "framework"}},
    {"kernelip", {"cmpi", "cmpi/abi", "platform", "framework"}},
    {"heartbeat", {"cmpi", "cmpi/abi", "platform", "framework"}},
    {"health", {"cmpi", "cmpi/abi", "platform", "framework", "kernelip"}},
    {"software", {"cmpi", "cmpi/abi", "platform", "framework"}},
    {"processor", {"cmpi", "cmpi/abi", "platform", "framework"}},
    {"hardware", {"cmpi", "cmpi/abi", "platform", "framework"}},
    {"broker", {"cmpi/abi"}},
    {"broker/testing", {"broker", "cmpi/abi"}},  // what only tests need
    {"cimxml", {"broker", "cmpi/abi"}},
    {"client", {"cimxml", "broker", "cmpi/abi"}},
    {"metrics", {"cimxml", "broker", "cmpi/abi"}},
    {"notation", {"broker", "cmpi/abi"}},
    {"serve", {"metrics", "cimxml", "broker", "cmpi/abi"}},
    {"web", {"serve", "notation", "broker", "cmpi/abi"}},
    // platform/simulated: the host file's parser
    {"tool", {"client", "metrics", "notation", "broker", "cmpi/abi", "platform/simulated"}},
    {"daemon", {"tool", "web", "serve", "metrics", "broker", "cmpi/abi"}},
};

// These may include anything; nothing above may include them.
const std::set<std::string> kOutside = {"tests", "bench", "fuzz"};

bool isSource(const fs::path& path) {
  const std::string extension = path.extension().string();
  return extension == ".h" || extension == ".cpp" || extension == ".c";
}

// The folder of a path relative to the root: the longest one that the table knows.
std::string folderOf(const fs::path& relative) {
  for (fs::path folder = relative.parent_path(); !folder.empty(); folder = folder.parent_path()) {
    if (kArrows.count(folder.generic_string()) > 0) return folder.generic_string();
  }
  return relative.has_parent_path() ? relative.begin()->string() : "";
}

std::vector<std::string> quotedIncludes(const fs::path& file) {
  std::vector<std::string> includes;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    constexpr char kStart[] = "#include \"";
    if (line.rfind(kStart, 0) != 0) continue;
    const std::size_t begin = sizeof kStart - 1;
    includes.push_back(line.substr(begin, line.find('"', begin) - begin));
  }
  return includes;
}

struct SourceFile {
  std::string path;  // relative to the root
  std::string folder;
  std::vector<std::string> includes;
};

// Every source file in a folder of the project; build trees and hidden directories left out.
std::vector<SourceFile> sourceFiles() {
  std::vector<SourceFile> files;
  for (auto it = fs::recursive_directory_iterator(kSourceDirectory);
       it != fs::recursive_directory_iterator(); ++it) {
    const fs::path relative = it->path().lexically_relative(kSourceDirectory);
    const std::string top = relative.begin()->string();
    if (top.front() == '.' || top.rfind("build", 0) == 0) {
      if (it->is_directory()) it.disable_recursion_pending();
      continue;
    }
    if (!it->is_regular_file() || !isSource(relative)) continue;
    files.push_back({relative.generic_string(), folderOf(relative), quotedIncludes(it->path())});
  }
  return files;
}

TEST(Includes, EverySourceFileIsInAFolderOfTheHouse) {
  const std::vector<SourceFile> files = sourceFiles();
  ASSERT_GT(files.size(), 20u);
  for (const SourceFile& file : files) {
    EXPECT_TRUE(kArrows.count(file.folder) > 0 || kOutside.count(file.folder) > 0) << file.path;
  }
}

TEST(Includes, AreWrittenFromTheRoot) {
  for (const SourceFile& file : sourceFiles()) {
    for (const std::string& include : file.includes) {
      EXPECT_TRUE(fs::is_regular_file(kSourceDirectory / include))
          << file.path << " includes " << include;
    }
  }
}

TEST(Includes, FollowTheArrows) {
  for (const SourceFile& file : sourceFiles()) {
    if (kOutside.count(file.folder) > 0) continue;
    const auto allowed = kArrows.find(file.folder);
    if (allowed == kArrows.end()) continue;  // told by the first test
    for (const std::string& include : file.includes) {
      const std::string target = folderOf(include);
      EXPECT_TRUE(target == file.folder || allowed->second.count(target) > 0)
          << file.path << " includes " << include;
    }
  }
}

TEST(Includes, TheArrowsHaveNoCycle) {
  for (const auto& [folder, targets] : kArrows) {
    std::set<std::string> reached;
    std::vector<std::string> open(targets.begin(), targets.end());
    while (!open.empty()) {
      const std::string next = open.back();
      open.pop_back();
      if (!reached.insert(next).second) continue;
      const auto& further = kArrows.at(next);
      open.insert(open.end(), further.begin(), further.end());
    }
    EXPECT_EQ(reached.count(folder), 0u) << folder;
  }
}

TEST(Headers, AreGuarded) {
  for (const SourceFile& file : sourceFiles()) {
    if (fs::path(file.path).extension() != ".h") continue;
    std::ifstream in(kSourceDirectory / file.path);
    std::string line;
    bool guarded = false;
    while (!guarded && std::getline(in, line)) {
      guarded = line == "#pragma once" || line.rfind("#ifndef ORV_", 0) == 0;
    }
    EXPECT_TRUE(guarded) << file.path;
  }
}

}  // namespace
